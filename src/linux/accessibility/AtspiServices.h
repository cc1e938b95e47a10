#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "linux/atspi/AtspiApplications.h"
#include "linux/atspi/AtspiBatch.h"
#include "linux/atspi/AtspiBus.h"
#include "linux/loop/DesktopThread.h"
#include "linux/x11/WindowStack.h"
#include "platform/Accessibility.h"

namespace zqlogging {

class AtspiEvents;

/// What it takes to read from the accessibility bus and the X server. Knows no elements. Any thread.
class AtspiServices {
 public:
  AtspiServices(port::Platform& platform, DesktopThread& thread);

  port::Platform& platform() { return platform_; }
  AtspiBus& bus() { return bus_; }
  WindowStack& windows() { return windows_; }
  DesktopThread& thread() { return thread_; }

  /// Runs reads with the batch that the calling thread has open, or else with one of their own.
  template <class Reads>
  auto withBatch(Reads reads) {
    if (AtspiBatch* open = openBatch()) {
      return reads(*open);
    }
    AtspiBatch own(bus_, applications_);
    return reads(own);
  }
  /// The batch that the calling thread has open, or null.
  AtspiBatch* openBatch();
  /// Opens one for as long as the scope lives, unless there is one.
  std::unique_ptr<port::ReadScope> openReadScope();

  /// Seconds to wait for an answer about an element that has no time-out of its own.
  double messagingTimeout() const { return messagingTimeout_; }
  void setMessagingTimeout(float seconds);

  /// The root objects that a process has on the accessibility bus. Waits for the answers.
  std::vector<AtspiObject> readRootsOf(std::int32_t pid, AtspiBatch& batch, double seconds);

  /// The events of the bus. On the desktop thread.
  std::shared_ptr<AtspiEvents> events();

 private:
  void reconnectEvents();

  port::Platform& platform_;
  DesktopThread& thread_;
  AtspiBus bus_;
  AtspiApplications applications_;
  WindowStack windows_;
  std::atomic<float> messagingTimeout_;

  std::weak_ptr<AtspiEvents> events_;  ///< the desktop thread's
};

}  // namespace zqlogging
