#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "platform/Platform.h"
#include "scripted/ScriptedDesktop.h"

namespace zqlogging::port {

/// The workspace of a scripted desktop: what runs on it, and notifications when they are posted.
class ScriptedWorkspace final : public Workspace {
 public:
  ScriptedWorkspace(const ScriptedDesktop& desktop, MainLoop& mainLoop) : desktop_(desktop), mainLoop_(mainLoop) {}

  /// Calls the handlers of that name on this thread, in the order of their subscription.
  void post(const Notification& notification);

  std::vector<RunningApplication> runningApplications() override { return desktop_.runningApplications(); }
  std::optional<RunningApplication> runningApplication(std::int32_t pid) override { return desktop_.application(pid); }
  /// The application whose activation was posted last.
  std::optional<std::int32_t> frontmostProcess() override;
  Result<std::vector<CGRect>> screens() override { return desktop_.screens(); }
  std::unique_ptr<Subscription> subscribe(NotificationName name,
                                          std::function<void(const Notification&)> handler) override;
  void announceFrontmost() override;

 private:
  using Handler = std::function<void(const Notification&)>;

  const ScriptedDesktop& desktop_;
  MainLoop& mainLoop_;
  std::mutex mutex_;
  std::optional<std::int32_t> frontmost_;
  std::vector<std::pair<NotificationName, std::weak_ptr<const Handler>>> handlers_;
};

}  // namespace zqlogging::port
