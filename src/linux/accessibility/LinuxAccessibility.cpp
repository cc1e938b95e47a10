#include "linux/accessibility/LinuxAccessibility.h"

#include <algorithm>

#include "linux/accessibility/ApplicationElement.h"
#include "linux/accessibility/AtspiElement.h"
#include "linux/accessibility/AtspiObserver.h"
#include "linux/atspi/AtspiEvents.h"
#include "linux/atspi/AtspiProcesses.h"

namespace zqlogging {

namespace {

/// Its state belongs to the main thread but for the flag.
class ActivationSubscription : public port::Subscription {
 public:
  struct State {
    std::function<void(std::int32_t pid)> handler;
    std::atomic<bool> active = true;
    std::unique_ptr<AtspiEvents::Subscription> subscription = nullptr;
  };
  explicit ActivationSubscription(std::shared_ptr<State> state) : state_(std::move(state)) {}
  ActivationSubscription(const ActivationSubscription&) = delete;
  ActivationSubscription& operator=(const ActivationSubscription&) = delete;
  ~ActivationSubscription() override {
    state_->active = false;
    runOn(g_main_context_default(), [state = state_] { state->subscription.reset(); });
  }

 private:
  const std::shared_ptr<State> state_;
};

/// The event of a window's activation.
const EventRow* windowActivated() {
  const auto rows = eventRows();
  return &*std::find_if(rows.begin(), rows.end(), [](const EventRow& row) { return row.member == "Activate"; });
}

}  // namespace

bool LinuxAccessibility::isProcessTrusted(bool prompt) {
  if (prompt) {
    AtspiBus::announceAssistiveTechnology();
  }
  return services_.bus().answers();
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
  GMainContext* main = g_main_context_default();
  runOn(main, [this, activation, main] {
    if (!activation->active) {
      return;
    }
    activation->subscription = services_.eventsOf(main)->subscribe(
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
  return std::make_unique<ActivationSubscription>(std::move(activation));
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
