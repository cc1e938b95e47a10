#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/ResultCode.h"
#include "zqlogging/Geometry.h"

namespace zqlogging::port {

/// An application with a process of its own.
struct RunningApplication {
  std::int32_t pid = -1;
  std::optional<std::string> bundleIdentifier;  ///< a stable name: the same each time the application runs
  std::string description;                      ///< its text form, for diagnostics
  int activationPolicy = 0;                     ///< 0 regular, 1 accessory, 2 prohibited (background only)
  bool terminated = false;
  std::string executable = {};  ///< file name of its program; empty where the desktop knows none
};

enum class NotificationName {
  didActivateApplication,
  willPowerOff,
  willSleep,
  screensDidWake,
  screenLocked,
  screenUnlocked,
};

struct Notification {
  NotificationName name;
  std::optional<RunningApplication> application;  ///< the activated application, where the desktop knows it
};

/// A registration; destroying it ends it. After that no call begins, on any thread.
class Subscription {
 public:
  virtual ~Subscription() = default;
};

class Workspace {
 public:
  virtual ~Workspace() = default;
  /// In the desktop's order.
  virtual std::vector<RunningApplication> runningApplications() = 0;
  virtual std::optional<RunningApplication> runningApplication(std::int32_t pid) = 0;
  /// The process of the application in front, to which key presses go; nothing when that cannot be told.
  virtual std::optional<std::int32_t> frontmostProcess() = 0;
  /// Screen frames, origin bottom-left, in the desktop's order. cannotComplete when they can't be told now.
  virtual Result<std::vector<CGRect>> screens() = 0;
  /// Delivers the notification on the main thread for as long as the result lives.
  virtual std::unique_ptr<Subscription> subscribe(NotificationName name,
                                                  std::function<void(const Notification&)> handler) = 0;
  /// Delivers didActivateApplication, later and on the main thread, about the application that is in front already.
  virtual void announceFrontmost() = 0;
};

}  // namespace zqlogging::port
