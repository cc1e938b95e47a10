#pragma once

#include <xcb/xcb.h>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/Workspace.h"

namespace zqlogging {

class ActiveWindowWatch;
class LinuxAccessibility;
class SystemNotifications;
class XConnection;

/// The applications, screens and notifications of an X session. Everything is asked for when it is needed; there is
/// nothing to be found without an X server but the applications on the accessibility bus.
class LinuxWorkspace final : public port::Workspace {
 public:
  explicit LinuxWorkspace(LinuxAccessibility& accessibility);
  ~LinuxWorkspace() override;

  /// Those with windows, in the order in which the windows were mapped, then those known to accessibility alone.
  std::vector<port::RunningApplication> runningApplications() override;
  std::optional<port::RunningApplication> runningApplication(std::int32_t pid) override;
  /// The process of the active window, as the X server has it now.
  std::optional<std::int32_t> frontmostProcess() override;
  /// Monitors at (left, -top): so the point flipped by a screen's height is exact however screens stand side by side.
  std::vector<CGRect> screens() override;
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
  struct Subscriber;
  class SubscriptionHandle;

  class XLease;

  std::vector<ClientWindow> clientWindows();
  std::vector<std::int32_t> processesOnAccessibilityBus();
  std::string identifierOf(std::int32_t pid, std::uint64_t startedAt);
  void applicationActivated(std::int32_t pid);
  void deliver(const port::Notification& notification);
  void adjustSources();

  LinuxAccessibility& accessibility_;

  std::mutex mutex_;                ///< of what follows; never held while anybody is waited for
  std::unique_ptr<XConnection> x_;  ///< null while a thread uses it
  std::map<xcb_window_t, ClientWindow> clients_;
  std::map<std::int32_t, Identity> identities_;
  std::vector<std::shared_ptr<Subscriber>> subscribers_;

  std::mutex sourcesMutex_;
  std::unique_ptr<ActiveWindowWatch> activeWindow_;
  std::unique_ptr<port::Subscription> activatedWindows_;  ///< where no window manager tells the active one
  std::unique_ptr<SystemNotifications> system_;

  std::atomic<std::int32_t> activePid_ = 0;  ///< of the application activated last; 0 when there is none
};

}  // namespace zqlogging
