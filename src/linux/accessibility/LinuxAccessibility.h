#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "linux/accessibility/AtspiApplications.h"
#include "linux/atspi/AtspiBus.h"
#include "linux/atspi/AtspiReader.h"
#include "linux/x11/WindowStack.h"
#include "platform/Accessibility.h"
#include "platform/Platform.h"
#include "platform/Workspace.h"

typedef struct _GMainContext GMainContext;

namespace zqlogging {

class AtspiEvents;

/// The accessibility service of the Linux desktop: AT-SPI over D-Bus, and the X server for what lies on top of what.
class LinuxAccessibility : public port::Accessibility {
 public:
  explicit LinuxAccessibility(port::Platform& platform);
  ~LinuxAccessibility() override;

  bool isProcessTrusted(bool prompt) override;
  port::ElementRef createSystemWideElement() override;
  port::ElementRef createApplicationElement(std::int32_t pid) override;
  port::Result<std::unique_ptr<port::NotificationObserver>> createObserver(
      std::int32_t pid, port::NotificationCallback callback) override;
  std::unique_ptr<port::ReadScope> openReadScope() override;
  void expectReads(std::span<const port::ElementRef> elements) override;

  /// Tells on the main thread of each application whose window is activated, where the window manager doesn't tell.
  std::unique_ptr<port::Subscription> subscribeActivation(std::function<void(std::int32_t pid)> handler);

  port::Platform& platform() { return platform_; }
  AtspiBus& bus() { return bus_; }
  AtspiApplications& applications() { return applications_; }
  WindowStack& windows() { return windows_; }

  /// Runs reads with the burst that the calling thread has open, or else with one of their own.
  template <class Reads>
  auto withReader(Reads reads) {
    if (AtspiReader* open = openReader()) {
      return reads(*open);
    }
    AtspiReader own(bus_, applications_);
    return reads(own);
  }
  /// The burst that the calling thread has open, or null.
  AtspiReader* openReader();

  /// Seconds to wait for an answer about an element that has no time-out of its own.
  double messagingTimeout() const { return messagingTimeout_; }
  void setMessagingTimeout(float seconds);

  /// The root objects that a process has on the accessibility bus.
  std::vector<AtspiObject> rootsOf(std::int32_t pid, AtspiReader& reader, double seconds);

  /// The events for the handlers of the calling thread's main context.
  std::shared_ptr<AtspiEvents> eventsOfCurrentLoop();

  /// The element of an object of the bus.
  port::ElementRef elementFor(const AtspiObject& object, AtspiReader& reader);

 private:
  std::shared_ptr<AtspiEvents> eventsOf(GMainContext* context);
  void reconnectEvents();

  port::Platform& platform_;
  AtspiBus bus_;
  AtspiApplications applications_;
  WindowStack windows_;
  std::atomic<float> messagingTimeout_;

  std::mutex eventsMutex_;
  std::map<GMainContext*, std::weak_ptr<AtspiEvents>> events_;
};

}  // namespace zqlogging
