#include "scripted/ScriptedObserver.h"

#include <algorithm>

namespace zqlogging::port {

ResultCode ScriptedObserver::add(NodeId node, const std::string& notification) {
  const std::lock_guard lock(mutex_);
  return registrations_.emplace(node, notification).second ? ResultCode::success
                                                           : ResultCode::notificationAlreadyRegistered;
}

ResultCode ScriptedObserver::remove(NodeId node, const std::string& notification) {
  const std::lock_guard lock(mutex_);
  return registrations_.erase({node, notification}) ? ResultCode::success : ResultCode::notificationNotRegistered;
}

void ScriptedObserver::setHooked(bool hooked) {
  const std::lock_guard lock(mutex_);
  hooked_ = hooked;
}

void ScriptedObserver::deliver(const std::string& notification, std::initializer_list<NodeId> registeredFor,
                               const ElementRef& element) {
  {
    const std::lock_guard lock(mutex_);
    const bool wanted = std::ranges::any_of(registeredFor, [&](NodeId node) {
      return registrations_.contains({node, notification});
    });
    if (!hooked_ || !wanted) {
      return;
    }
  }
  callback_(element, notification, {});
}

}  // namespace zqlogging::port
