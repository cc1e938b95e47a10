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

AtspiServices::AtspiServices(port::Platform& platform, DesktopThread& thread)
    : platform_(platform),
      thread_(thread),
      bus_([this] { reconnectEvents(); }),
      messagingTimeout_(kDefaultMessagingTimeout) {}

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

std::shared_ptr<AtspiEvents> AtspiServices::events() {
  auto events = events_.lock();
  if (!events) {
    events_ = events = std::make_shared<AtspiEvents>(bus_, thread_.loop());
  }
  return events;
}

/// Another bus has been found: the handlers want to hear from it too.
void AtspiServices::reconnectEvents() {
  thread_.run([this] {
    if (const auto events = events_.lock()) {
      events->connect();
    }
  });
}

}  // namespace zqlogging
