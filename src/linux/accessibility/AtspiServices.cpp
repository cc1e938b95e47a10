#include "linux/accessibility/AtspiServices.h"

#include "linux/atspi/AtspiEvents.h"
#include "linux/atspi/AtspiProcesses.h"

namespace zqlogging {

namespace {

constexpr float kDefaultMessagingTimeout = 1;  // second

/// The batch that this thread has open, and whose it is.
thread_local struct {
  const AtspiServices* owner = nullptr;
  AtspiBatch* batch = nullptr;
} openHere;

class BatchScope : public port::ReadScope {
 public:
  BatchScope(const AtspiServices& owner, AtspiBus& bus, AtspiApplications& applications) : batch_(bus, applications) {
    openHere = {&owner, &batch_};
  }
  BatchScope(const BatchScope&) = delete;
  BatchScope& operator=(const BatchScope&) = delete;
  ~BatchScope() override { openHere = {}; }

 private:
  AtspiBatch batch_;
};

}  // namespace

AtspiServices::AtspiServices(port::Platform& platform)
    : platform_(platform), bus_([this] { reconnectEvents(); }), messagingTimeout_(kDefaultMessagingTimeout) {}

AtspiBatch* AtspiServices::openBatch() { return openHere.owner == this ? openHere.batch : nullptr; }

std::unique_ptr<port::ReadScope> AtspiServices::openReadScope() {
  if (openBatch()) {
    return std::make_unique<port::ReadScope>();  // the outer scope serves
  }
  return std::make_unique<BatchScope>(*this, bus_, applications_);
}

void AtspiServices::setMessagingTimeout(float seconds) {
  messagingTimeout_ = seconds > 0 ? seconds : kDefaultMessagingTimeout;
}

std::vector<AtspiObject> AtspiServices::readRootsOf(std::int32_t pid, AtspiBatch& batch, double seconds) {
  auto roots = zqlogging::readRootsOf(pid, batch, seconds);
  if (roots.empty()) {
    bus_.lookForAnotherBus(false);  // for the next batch
  }
  return roots;
}

std::shared_ptr<AtspiEvents> AtspiServices::eventsOfCurrentLoop() {
  GMainContext* own = g_main_context_get_thread_default();
  return eventsOf(own ? own : g_main_context_default());
}

std::shared_ptr<AtspiEvents> AtspiServices::eventsOf(GMainContext* context) {
  const std::lock_guard lock(eventsMutex_);
  std::erase_if(events_, [](const auto& entry) { return entry.second.expired(); });
  auto events = events_[context].lock();
  if (!events) {
    events_[context] = events = std::make_shared<AtspiEvents>(bus_, context);
  }
  return events;
}

/// Another bus has been found: the handlers want to hear from it too.
void AtspiServices::reconnectEvents() {
  const std::lock_guard lock(eventsMutex_);
  for (const auto& [context, events] : events_) {
    runOn(context, [weak = events] {
      if (const auto current = weak.lock()) {
        current->connect();
      }
    });
  }
}

}  // namespace zqlogging
