#pragma once

#include <xcb/xcb.h>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "linux/loop/DesktopThread.h"
#include "linux/loop/Handover.h"
#include "linux/x11/ScreenLayout.h"
#include "platform/Workspace.h"

namespace zqlogging {

class ActiveWindowWatch;
class LinuxAccessibility;
class SystemNotifications;

/// The applications, screens and notifications of an X session. Applications are asked for when they are needed, which
/// waits; notifications are gathered on the desktop thread and handed to the main thread finished. There is nothing to
/// be found without an X server but the applications on the accessibility bus.
class LinuxWorkspace final : public port::Workspace {
 public:
  LinuxWorkspace(LinuxAccessibility& accessibility, DesktopThread& thread);
  ~LinuxWorkspace() override;

  /// Those with windows, in the order in which the windows were mapped, then those known to accessibility alone.
  std::vector<port::RunningApplication> runningApplications() override;
  std::optional<port::RunningApplication> runningApplication(std::int32_t pid) override;
  /// The process of the active window, as the X server has it now.
  std::optional<std::int32_t> frontmostProcess() override;
  port::Result<std::vector<CGRect>> screens() override { return screens_.frames(); }
  std::unique_ptr<port::Subscription> subscribe(port::NotificationName name,
                                                std::function<void(const port::Notification&)> handler) override;
  void announceFrontmost() override;

 private:
  /// What a client window tells about its application; it says so before it is mapped and keeps to it.
  struct ClientWindow {
    std::optional<std::int32_t> pid;
    std::optional<std::uint64_t> startedAt;
    std::string applicationId;  ///< of a GTK application
    std::string className;
  };
  struct Identity {
    std::uint64_t startTime = 0;
    std::string identifier;
  };
  struct Subscribers;
  class SubscriptionHandle;

  std::optional<std::vector<ClientWindow>> clientWindows();
  std::vector<std::int32_t> processesOnAccessibilityBus();
  std::optional<std::string> identifierOf(std::int32_t pid, std::uint64_t startedAt);

  // On the desktop thread.
  void adjustSources();
  bool windowActivated(xcb_window_t window);
  bool applicationActivated(std::int32_t pid);
  void deliver(const port::Notification& notification);

  LinuxAccessibility& accessibility_;
  XServer& server_;
  DesktopThread& thread_;
  ScreenLayout screens_;
  const std::shared_ptr<Subscribers> subscribers_;

  std::mutex mutex_;  ///< of the next two; never held while anybody is waited for
  std::map<xcb_window_t, ClientWindow> clients_;
  std::map<std::int32_t, Identity> identities_;

  // On the desktop thread.
  std::shared_ptr<ActiveWindowWatch> activeWindow_;
  std::unique_ptr<port::Subscription> activatedWindows_;  ///< where no window manager tells the active one
  std::shared_ptr<SystemNotifications> system_;
  std::uint64_t notificationsDelivered_ = 0;
  const std::shared_ptr<Handover> handover_;

  std::atomic<std::int32_t> activePid_ = 0;  ///< of the application activated last; 0 when there is none
};

}  // namespace zqlogging
