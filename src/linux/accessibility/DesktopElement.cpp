#include "linux/accessibility/DesktopElement.h"

#include "linux/accessibility/AtspiHitTest.h"

namespace zqlogging {

using port::Result;
using port::ResultCode;
using port::Value;

bool DesktopElement::isEqual(const Element& other) const {
  return dynamic_cast<const DesktopElement*>(&other) != nullptr;
}

Result<std::vector<std::string>> DesktopElement::copyAttributeNames() const {
  return std::vector<std::string>{"AXRole", "AXFocusedApplication", "AXFocusedUIElement"};
}

Result<Value> DesktopElement::copyAttributeValue(const std::string& attribute) const {
  if (attribute == "AXRole") {
    return Value(std::string("AXSystemWide"));
  }
  if (attribute != "AXFocusedApplication" && attribute != "AXFocusedUIElement") {
    return ResultCode::attributeUnsupported;
  }
  const auto active = services().windows().activeWindow();
  if (!active || !active->pid) {
    return active ? ResultCode::noValue : active.code;
  }
  const port::ElementRef application = elements().application(*active->pid);
  if (attribute == "AXFocusedApplication") {
    return Value(application);
  }
  return application->copyAttributeValue(attribute);
}

Result<std::int32_t> DesktopElement::getPid() const { return ResultCode::illegalArgument; }

ResultCode DesktopElement::setMessagingTimeout(float seconds) const {
  if (!(seconds >= 0)) {
    return ResultCode::illegalArgument;
  }
  services().setMessagingTimeout(seconds);
  return ResultCode::success;
}

Result<port::ElementRef> DesktopElement::copyElementAtPosition(float x, float y) const {
  return elementAtPoint(elements(), x, y, std::nullopt, timeout());
}

}  // namespace zqlogging
