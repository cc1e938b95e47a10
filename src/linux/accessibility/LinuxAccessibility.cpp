#include "linux/accessibility/LinuxAccessibility.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

#include "linux/accessibility/ApplicationElement.h"
#include "linux/accessibility/AtspiElement.h"
#include "linux/accessibility/AtspiObserver.h"
#include "linux/atspi/AtspiEvents.h"
#include "linux/atspi/AtspiProcesses.h"

namespace zqlogging {

namespace {

/// Its state belongs to the desktop thread but for the flag.
class ActivationSubscription : public port::Subscription {
 public:
  struct State {
    std::function<void(std::int32_t pid)> handler;
    std::atomic<bool> active = true;
    std::unique_ptr<AtspiEvents::Subscription> subscription = nullptr;
  };
  ActivationSubscription(DesktopThread& thread, std::shared_ptr<State> state)
      : thread_(thread), state_(std::move(state)) {}
  ActivationSubscription(const ActivationSubscription&) = delete;
  ActivationSubscription& operator=(const ActivationSubscription&) = delete;
  ~ActivationSubscription() override {
    state_->active = false;
    thread_.run([state = state_] { state->subscription.reset(); });
  }

 private:
  DesktopThread& thread_;
  const std::shared_ptr<State> state_;
};

/// The event of a window's activation.
const EventRow* windowActivated() {
  const auto rows = eventRows();
  return &*std::find_if(rows.begin(), rows.end(), [](const EventRow& row) { return row.member == "Activate"; });
}

}  // namespace

/// What is known of it, shared with the question that may be under way.
struct LinuxAccessibility::Trust {
  std::mutex mutex;
  std::condition_variable answered;
  bool isAsked = false;
  std::uint64_t answers = 0;
  std::optional<bool> last;
};

LinuxAccessibility::LinuxAccessibility(port::Platform& platform, DesktopThread& thread)
    : services_(platform, thread), elements_(services_), trust_(std::make_shared<Trust>()) {}
LinuxAccessibility::~LinuxAccessibility() = default;

bool LinuxAccessibility::isProcessTrusted(bool prompt) {
  constexpr std::chrono::milliseconds kPatience{40};
  if (prompt) {
    services_.thread().run(AtspiBus::announceAssistiveTechnology);
  }
  std::unique_lock lock(trust_->mutex);
  if (!std::exchange(trust_->isAsked, true)) {
    services_.thread().run([this, trust = trust_] {
      const bool answer = services_.bus().answers();
      const std::lock_guard answerLock(trust->mutex);
      trust->last = answer;
      trust->isAsked = false;
      ++trust->answers;
      trust->answered.notify_all();
    });
  }
  const std::uint64_t before = trust_->answers;
  trust_->answered.wait_for(lock, kPatience, [&] { return trust_->answers != before; });
  return trust_->last.value_or(true);
}

port::Result<std::unique_ptr<port::NotificationObserver>> LinuxAccessibility::createObserver(
    std::int32_t pid, port::NotificationCallback callback) {
  if (pid < 0 || !callback) {
    return port::ResultCode::illegalArgument;
  }
  if (!processExists(pid)) {
    return port::ResultCode::invalidUIElement;
  }
  return std::unique_ptr<port::NotificationObserver>(
      std::make_unique<AtspiObserver>(elements_, pid, std::move(callback)));
}

std::unique_ptr<port::Subscription> LinuxAccessibility::subscribeActivation(
    std::function<void(std::int32_t pid)> handler) {
  auto activation = std::make_shared<ActivationSubscription::State>();
  activation->handler = std::move(handler);
  services_.thread().run([this, activation] {
    if (!activation->active) {
      return;
    }
    activation->subscription = services_.events()->subscribe(
        std::nullopt, {}, *windowActivated(), [this, weak = std::weak_ptr(activation)](const AtspiObject& source) {
          const auto current = weak.lock();
          if (!current || !current->active) {
            return;
          }
          const auto pid = services_.withBatch(
              [&](AtspiBatch& batch) { return readProcess(source, batch, services_.messagingTimeout()); });
          if (pid) {
            current->handler(*pid);
          }
        });
  });
  return std::make_unique<ActivationSubscription>(services_.thread(), std::move(activation));
}

void LinuxAccessibility::expectReads(std::span<const port::ElementRef> elements) {
  AtspiBatch* batch = services_.openBatch();
  if (!batch) {
    return;
  }
  for (const port::ElementRef& element : elements) {
    const auto* object = dynamic_cast<const AtspiElement*>(element.get());
    if (object) {
      batch->prefetchFor(object->object(), needName);
    }
  }
}

}  // namespace zqlogging
