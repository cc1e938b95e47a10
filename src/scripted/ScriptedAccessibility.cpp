#include "scripted/ScriptedAccessibility.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "scripted/ScriptedElement.h"
#include "scripted/ScriptedObserver.h"
#include "scripted/VirtualTime.h"

namespace zqlogging::port {

namespace {

/// What the caller of createObserver owns.
class ObserverHandle final : public NotificationObserver {
 public:
  explicit ObserverHandle(std::shared_ptr<ScriptedObserver> observer) : observer_(std::move(observer)) {}
  ObserverHandle(const ObserverHandle&) = delete;
  ObserverHandle& operator=(const ObserverHandle&) = delete;
  ~ObserverHandle() override { observer_->setHooked(false); }

  ResultCode addNotification(const Element& element, const std::string& notification) override {
    const auto* scripted = dynamic_cast<const ScriptedElement*>(&element);
    if (!scripted) {
      return ResultCode::illegalArgument;
    }
    if (const auto code = scripted->request(); code != ResultCode::success) {
      return code;
    }
    return observer_->add(scripted->node(), notification);
  }
  ResultCode removeNotification(const Element& element, const std::string& notification) override {
    const auto* scripted = dynamic_cast<const ScriptedElement*>(&element);
    if (!scripted) {
      return ResultCode::illegalArgument;
    }
    const auto code = scripted->request();
    // The registrations of an application end with it.
    if (code == ResultCode::invalidUIElement) {
      return ResultCode::notificationNotRegistered;
    }
    if (code != ResultCode::success) {
      return code;
    }
    return observer_->remove(scripted->node(), notification);
  }
  void hookIntoCurrentLoop() override { observer_->setHooked(true); }
  void unhookFromCurrentLoop() override { observer_->setHooked(false); }

 private:
  std::shared_ptr<ScriptedObserver> observer_;
};

std::chrono::nanoseconds toDuration(float seconds) {
  constexpr float kLongest = 1e6F;
  // Whole microseconds, so that the float nearest 0.1 s counts as 0.1 s.
  return std::chrono::microseconds(std::llround(static_cast<double>(std::min(seconds, kLongest)) * 1e6));
}

}  // namespace

class ScriptedAccessibility::Scope final : public ReadScope {
 public:
  explicit Scope(ScriptedAccessibility& accessibility) : accessibility_(accessibility) {
    const std::lock_guard lock(accessibility_.mutex_);
    accessibility_.scopes_.push_back(this);
  }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;
  ~Scope() override {
    const std::lock_guard lock(accessibility_.mutex_);
    std::erase(accessibility_.scopes_, this);
  }

  const std::thread::id thread = std::this_thread::get_id();
  std::set<std::int32_t> timedOut;

 private:
  ScriptedAccessibility& accessibility_;
};

ScriptedAccessibility::ScriptedAccessibility(ScriptedDesktop& desktop, VirtualTime& time)
    : desktop_(desktop), time_(time) {}

void ScriptedAccessibility::setTrusted(bool trusted) {
  const std::lock_guard lock(mutex_);
  trusted_ = trusted;
}

int ScriptedAccessibility::prompts() const {
  const std::lock_guard lock(mutex_);
  return prompts_;
}

ResultCode ScriptedAccessibility::request(NodeId node, float ownTimeout) {
  switch (desktop_.reach(node)) {
    case ScriptedDesktop::Reach::answers:
      return ResultCode::success;
    case ScriptedDesktop::Reach::gone:
      return ResultCode::invalidUIElement;
    case ScriptedDesktop::Reach::hangs:
      break;
  }
  const auto pid = desktop_.pidOf(node);
  float timeout = ownTimeout;
  {
    const std::lock_guard lock(mutex_);
    bool knownToHang = false;
    for (auto* scope : scopes_) {
      if (scope->thread == std::this_thread::get_id()) {
        knownToHang |= !scope->timedOut.insert(pid).second;
      }
    }
    if (knownToHang) {
      return ResultCode::cannotComplete;
    }
    if (timeout <= 0) {
      timeout = globalTimeout_ > 0 ? globalTimeout_ : kDefaultTimeout;
    }
  }
  time_.pass(toDuration(timeout));
  return ResultCode::cannotComplete;
}

void ScriptedAccessibility::setGlobalTimeout(float seconds) {
  const std::lock_guard lock(mutex_);
  globalTimeout_ = seconds;
}

void ScriptedAccessibility::notify(const std::string& notification, NodeId node, std::int32_t pid) {
  const NodeId application = desktop_.applicationElement(pid);
  std::vector<std::shared_ptr<ScriptedObserver>> observers;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& known : observers_) {
      if (auto observer = known.lock(); observer && observer->pid() == pid) {
        observers.push_back(std::move(observer));
      }
    }
  }
  for (const auto& observer : observers) {
    observer->deliver(notification, {node, application}, desktop_.element(node));
  }
}

void ScriptedAccessibility::waitForFocusNews(std::chrono::milliseconds duration) {
  time_.pass(duration);
  if (whileWaiting_) {
    whileWaiting_();
  }
}

bool ScriptedAccessibility::isProcessTrusted(bool prompt) {
  const std::lock_guard lock(mutex_);
  if (prompt) {
    ++prompts_;
  }
  return trusted_;
}

ElementRef ScriptedAccessibility::createSystemWideElement() { return desktop_.element(ScriptedDesktop::kSystemWide); }

ElementRef ScriptedAccessibility::createApplicationElement(std::int32_t pid) {
  return desktop_.element(desktop_.applicationElement(pid));
}

Result<std::unique_ptr<NotificationObserver>> ScriptedAccessibility::createObserver(std::int32_t pid,
                                                                                    NotificationCallback callback) {
  if (desktop_.reach(desktop_.applicationElement(pid)) == ScriptedDesktop::Reach::gone) {
    return ResultCode::invalidUIElement;
  }
  auto observer = std::make_shared<ScriptedObserver>(pid, std::move(callback));
  const std::lock_guard lock(mutex_);
  std::erase_if(observers_, [](const auto& known) { return known.expired(); });
  observers_.push_back(observer);
  return std::unique_ptr<NotificationObserver>(std::make_unique<ObserverHandle>(std::move(observer)));
}

std::unique_ptr<ReadScope> ScriptedAccessibility::openReadScope() { return std::make_unique<Scope>(*this); }

}  // namespace zqlogging::port
