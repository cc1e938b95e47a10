#include "linux/accessibility/LinuxAccessibility.h"

#include <algorithm>

#include "linux/accessibility/ApplicationElement.h"
#include "linux/accessibility/AtspiElement.h"
#include "linux/accessibility/AtspiObserver.h"
#include "linux/accessibility/DesktopElement.h"
#include "linux/atspi/AtspiEvents.h"

namespace zqlogging {

namespace {

constexpr float kDefaultMessagingTimeout = 1;  // second

/// The burst of reads that this thread has open, and whose it is.
thread_local struct {
  const LinuxAccessibility* owner = nullptr;
  AtspiReader* reader = nullptr;
} openBurst;

class AtspiReadScope : public port::ReadScope {
 public:
  explicit AtspiReadScope(LinuxAccessibility& accessibility)
      : reader_(accessibility.bus(), accessibility.applications()) {
    openBurst = {&accessibility, &reader_};
  }
  AtspiReadScope(const AtspiReadScope&) = delete;
  AtspiReadScope& operator=(const AtspiReadScope&) = delete;
  ~AtspiReadScope() override { openBurst = {}; }

 private:
  AtspiReader reader_;
};

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

LinuxAccessibility::LinuxAccessibility(port::Platform& platform)
    : platform_(platform), bus_([this] { reconnectEvents(); }), messagingTimeout_(kDefaultMessagingTimeout) {}

LinuxAccessibility::~LinuxAccessibility() = default;

bool LinuxAccessibility::isProcessTrusted(bool prompt) {
  if (prompt) {
    AtspiBus::announceAssistiveTechnology();
  }
  return bus_.answers();
}

port::ElementRef LinuxAccessibility::createSystemWideElement() { return std::make_shared<DesktopElement>(*this); }

port::ElementRef LinuxAccessibility::createApplicationElement(std::int32_t pid) {
  return std::make_shared<ApplicationElement>(*this, pid);
}

port::Result<std::unique_ptr<port::NotificationObserver>> LinuxAccessibility::createObserver(
    std::int32_t pid, port::NotificationCallback callback) {
  if (pid < 0 || !callback) {
    return port::ResultCode::illegalArgument;
  }
  if (!processExists(pid)) {
    return port::ResultCode::invalidUIElement;
  }
  return std::unique_ptr<port::NotificationObserver>(std::make_unique<AtspiObserver>(*this, pid, std::move(callback)));
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
    activation->subscription = eventsOf(main)->subscribe(
        std::nullopt, {}, *windowActivated(), [this, weak = std::weak_ptr(activation)](const AtspiObject& source) {
          const auto current = weak.lock();
          if (!current || !current->active) {
            return;
          }
          const auto pid = withReader(
              [&](AtspiReader& reader) { return applications_.processOf(source, reader, messagingTimeout_); });
          if (pid) {
            current->handler(*pid);
          }
        });
  });
  return std::make_unique<ActivationSubscription>(std::move(activation));
}

std::vector<AtspiObject> LinuxAccessibility::rootsOf(std::int32_t pid, AtspiReader& reader, double seconds) {
  auto roots = applications_.rootsOf(pid, reader, seconds);
  if (roots.empty()) {
    bus_.lookForAnotherBus(false);  // for the next reader
  }
  return roots;
}

std::shared_ptr<AtspiEvents> LinuxAccessibility::eventsOfCurrentLoop() {
  GMainContext* own = g_main_context_get_thread_default();
  return eventsOf(own ? own : g_main_context_default());
}

std::shared_ptr<AtspiEvents> LinuxAccessibility::eventsOf(GMainContext* context) {
  const std::lock_guard lock(eventsMutex_);
  std::erase_if(events_, [](const auto& entry) { return entry.second.expired(); });
  auto events = events_[context].lock();
  if (!events) {
    events_[context] = events = std::make_shared<AtspiEvents>(bus_, context);
  }
  return events;
}

/// Another bus has been found: the handlers want to hear from it too.
void LinuxAccessibility::reconnectEvents() {
  const std::lock_guard lock(eventsMutex_);
  for (const auto& [context, events] : events_) {
    runOn(context, [weak = events] {
      if (const auto current = weak.lock()) {
        current->connect();
      }
    });
  }
}

std::unique_ptr<port::ReadScope> LinuxAccessibility::openReadScope() {
  if (openReader()) {
    return std::make_unique<port::ReadScope>();  // the outer scope serves
  }
  return std::make_unique<AtspiReadScope>(*this);
}

AtspiReader* LinuxAccessibility::openReader() { return openBurst.owner == this ? openBurst.reader : nullptr; }

void LinuxAccessibility::expectReads(std::span<const port::ElementRef> elements) {
  AtspiReader* reader = openReader();
  if (!reader) {
    return;
  }
  for (const port::ElementRef& element : elements) {
    const auto* object = dynamic_cast<const AtspiElement*>(element.get());
    if (object) {
      reader->want(object->object(), AtspiReader::wantsName);
    }
  }
}

void LinuxAccessibility::setMessagingTimeout(float seconds) {
  messagingTimeout_ = seconds > 0 ? seconds : kDefaultMessagingTimeout;
}

port::ElementRef LinuxAccessibility::elementFor(const AtspiObject& object, AtspiReader& reader) {
  if (object.path == AtspiObject::kRootPath) {
    if (const auto pid = applications_.processOf(object, reader, messagingTimeout_)) {
      return createApplicationElement(*pid);
    }
  }
  return std::make_shared<AtspiElement>(*this, object);
}

}  // namespace zqlogging
