#include "accessibility/SystemWideElement.h"

#include <mutex>
#include <utility>

#include "platform/Platform.h"

namespace zqlogging {

std::shared_ptr<SystemWideElement> SystemWideElement::shared(port::Platform& platform) {
  auto& slot = platform.sharedSystemWide;
  {
    const std::lock_guard lock(slot.mutex);
    if (slot.element) {
      return slot.element;
    }
  }
  // Made outside the lock, which no platform call may hold up; of several made at the same time the first one stays.
  auto made = std::make_shared<SystemWideElement>(platform.accessibility().createSystemWideElement());
  const std::lock_guard lock(slot.mutex);
  if (!slot.element) {
    slot.element = std::move(made);
  }
  return slot.element;
}

void SystemWideElement::setShared(port::Platform& platform, std::shared_ptr<SystemWideElement> element) {
  auto& slot = platform.sharedSystemWide;
  const std::lock_guard lock(slot.mutex);
  slot.element.swap(element);
}

}  // namespace zqlogging
