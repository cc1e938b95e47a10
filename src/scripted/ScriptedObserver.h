#pragma once

#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <utility>

#include "platform/Accessibility.h"
#include "scripted/ScriptedDesktop.h"

namespace zqlogging::port {

/// The notifications of one process of a scripted desktop. Shared with the service that delivers, so that one may be
/// destroyed in its own callback.
class ScriptedObserver {
 public:
  ScriptedObserver(std::int32_t pid, NotificationCallback callback) : pid_(pid), callback_(std::move(callback)) {}

  [[nodiscard]] std::int32_t pid() const { return pid_; }
  ResultCode add(NodeId node, const std::string& notification);
  ResultCode remove(NodeId node, const std::string& notification);
  void setHooked(bool hooked);
  /// Calls the callback when it is hooked and one of the nodes is registered for the notification.
  void deliver(const std::string& notification, std::initializer_list<NodeId> registeredFor, const ElementRef& element);

 private:
  const std::int32_t pid_;
  const NotificationCallback callback_;
  std::mutex mutex_;
  bool hooked_ = false;
  std::set<std::pair<NodeId, std::string>> registrations_;
};

}  // namespace zqlogging::port
