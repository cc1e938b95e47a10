#include "linux/atspi/AtspiLink.h"

#include "linux/system/MonotonicTime.h"

namespace zqlogging {

namespace {

int keepReply(sd_bus_message* reply, void* into, sd_bus_error* /*error*/) {
  static_cast<SdBusMessagePtr*>(into)->reset(sd_bus_message_ref(reply));
  return 0;
}

}  // namespace

std::unique_ptr<AtspiLink> AtspiLink::open(const std::string& address, std::uint32_t busNumber) {
  sd_bus* bus = nullptr;
  if (sd_bus_new(&bus) < 0) {
    return nullptr;
  }
  std::unique_ptr<AtspiLink> link(new AtspiLink(bus, busNumber));
  const bool opened =
      sd_bus_set_address(bus, address.c_str()) >= 0 && sd_bus_set_bus_client(bus, 1) >= 0 && sd_bus_start(bus) >= 0;
  return opened ? std::move(link) : nullptr;
}

std::unique_ptr<AtspiLink> AtspiLink::openSessionBus() {
  sd_bus* bus = nullptr;
  return sd_bus_open_user(&bus) < 0 ? nullptr : std::unique_ptr<AtspiLink>(new AtspiLink(bus, 0));
}

AtspiLink::~AtspiLink() {
  probe_.reset();
  // Not the closing that waits until all is sent: the peer may not be reading.
  sd_bus_close(bus_);
  sd_bus_unref(bus_);
}

bool AtspiLink::process() {
  while (!lost_) {
    const int processed = sd_bus_process(bus_, nullptr);
    if (processed == 0) {
      break;
    }
    if (processed < 0) {
      lost_ = true;
    }
  }
  return !lost_;
}

void AtspiLink::waitUntil(std::uint64_t deadline) const {
  const std::uint64_t now = monotonicMicroseconds();
  if (now < deadline) {
    sd_bus_wait(bus_, deadline - now);
  }
}

void AtspiLink::suspect() {
  if (probe_) {
    return;
  }
  const sd_bus_message_handler_t note = [](sd_bus_message*, void* answered, sd_bus_error*) {
    *static_cast<bool*>(answered) = true;
    return 0;
  };
  sd_bus_slot* slot = nullptr;
  isProbeAnswered_ = false;
  if (sd_bus_call_method_async(bus_, &slot, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                               "GetId", note, &isProbeAnswered_, nullptr) >= 0) {
    probe_.reset(slot);
  }
}

bool AtspiLink::isStalled() {
  constexpr std::uint64_t kMoment = 20'000;  // microseconds
  const std::uint64_t deadline = monotonicMicroseconds() + kMoment;
  while (probe_ && process() && !isProbeAnswered_ && monotonicMicroseconds() < deadline) {
    waitUntil(deadline);
  }
  if (isProbeAnswered_ || lost_) {
    probe_.reset();
  }
  return probe_ != nullptr;
}

SdBusMessagePtr AtspiLink::call(const SdBusMessagePtr& message, std::uint64_t deadline) {
  SdBusMessagePtr reply;
  sd_bus_slot* slot = nullptr;
  if (!message || sd_bus_call_async(bus_, &slot, message.get(), keepReply, &reply, UINT64_MAX) < 0) {
    return nullptr;
  }
  const SdBusSlotPtr pending(slot);
  while (process() && !reply && monotonicMicroseconds() < deadline) {
    waitUntil(deadline);
  }
  return reply;
}

}  // namespace zqlogging
