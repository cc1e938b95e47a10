#include "scripted/ScriptedWorkspace.h"

namespace zqlogging::port {

namespace {

class Owned final : public Subscription {
 public:
  explicit Owned(std::shared_ptr<const void> handler) : handler_(std::move(handler)) {}

 private:
  std::shared_ptr<const void> handler_;
};

}  // namespace

void ScriptedWorkspace::post(const Notification& notification) {
  std::vector<std::weak_ptr<const Handler>> called;
  {
    const std::lock_guard lock(mutex_);
    if (notification.name == NotificationName::didActivateApplication) {
      frontmost_ = notification.application ? std::optional(notification.application->pid) : std::nullopt;
    }
    for (const auto& [name, handler] : handlers_) {
      if (name == notification.name) {
        called.push_back(handler);
      }
    }
  }
  // A handler may end any subscription, its own included: each is looked up only when its turn comes.
  for (const auto& handler : called) {
    if (const auto alive = handler.lock()) {
      (*alive)(notification);
    }
  }
}

std::optional<std::int32_t> ScriptedWorkspace::frontmostProcess() {
  const std::lock_guard lock(mutex_);
  return frontmost_;
}

std::unique_ptr<Subscription> ScriptedWorkspace::subscribe(NotificationName name, Handler handler) {
  const auto shared = std::make_shared<const Handler>(std::move(handler));
  const std::lock_guard lock(mutex_);
  std::erase_if(handlers_, [](const auto& known) { return known.second.expired(); });
  handlers_.emplace_back(name, shared);
  return std::make_unique<Owned>(shared);
}

void ScriptedWorkspace::announceFrontmost() {
  if (const auto pid = frontmostProcess()) {
    mainLoop_.runSoon([this, pid] { post({NotificationName::didActivateApplication, desktop_.application(*pid)}); });
  }
}

}  // namespace zqlogging::port
