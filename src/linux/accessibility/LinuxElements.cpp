#include "linux/accessibility/LinuxElements.h"

#include "linux/accessibility/ApplicationElement.h"
#include "linux/accessibility/AtspiElement.h"
#include "linux/accessibility/DesktopElement.h"
#include "linux/accessibility/WindowElement.h"
#include "linux/atspi/AtspiProcesses.h"

namespace zqlogging {

port::ElementRef LinuxElements::desktop() const { return std::make_shared<DesktopElement>(*this); }

port::ElementRef LinuxElements::application(std::int32_t pid) const {
  return std::make_shared<ApplicationElement>(*this, pid);
}

port::ElementRef LinuxElements::object(const AtspiObject& object, AtspiBatch& batch) const {
  if (object.isRoot()) {
    if (const auto pid = readProcess(object, batch, services().messagingTimeout())) {
      return application(*pid);
    }
  }
  return std::make_shared<AtspiElement>(*this, object);
}

port::ElementRef LinuxElements::window(const WindowStack::Window& window) const {
  return std::make_shared<WindowElement>(*this, window);
}

port::ElementRef LinuxElements::partOfWindow(const WindowStack::Window& window, const CGPoint& point) const {
  const bool isInside = window.type == WindowStack::Type::other && window.clientFrame.contains(point);
  return std::make_shared<WindowElement>(*this, window,
                                         isInside ? WindowElement::Part::contents : WindowElement::Part::window);
}

}  // namespace zqlogging
