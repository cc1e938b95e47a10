#include "platform/linux/AtspiLink.h"

#include <poll.h>

#include <algorithm>
#include <chrono>

namespace zqlogging {

namespace {

int keepReply(sd_bus_message* reply, void* into, sd_bus_error* /*error*/) {
  static_cast<SdBusMessagePtr*>(into)->reset(sd_bus_message_ref(reply));
  return 0;
}

}  // namespace

std::uint64_t monotonicMicroseconds() {
  return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

std::unique_ptr<AtspiLink> AtspiLink::open(const std::string& address, Peer peer) {
  sd_bus* bus = nullptr;
  if (sd_bus_new(&bus) < 0) return nullptr;
  std::unique_ptr<AtspiLink> link(new AtspiLink(bus));
  const bool opened = sd_bus_set_address(bus, address.c_str()) >= 0 &&
                      sd_bus_set_bus_client(bus, peer == Peer::bus) >= 0 && sd_bus_start(bus) >= 0;
  return opened ? std::move(link) : nullptr;
}

std::unique_ptr<AtspiLink> AtspiLink::openSessionBus() {
  sd_bus* bus = nullptr;
  return sd_bus_open_user(&bus) < 0 ? nullptr : std::unique_ptr<AtspiLink>(new AtspiLink(bus));
}

AtspiLink::~AtspiLink() {
  // Not the closing that waits until all is sent: the peer may not be reading.
  sd_bus_close(bus_);
  sd_bus_unref(bus_);
}

bool AtspiLink::process() {
  while (!lost_) {
    const int processed = sd_bus_process(bus_, nullptr);
    if (processed == 0) break;
    if (processed < 0) lost_ = true;
  }
  return !lost_;
}

SdBusMessagePtr AtspiLink::call(const SdBusMessagePtr& message, std::uint64_t deadline) {
  SdBusMessagePtr reply;
  sd_bus_slot* slot = nullptr;
  if (!message || sd_bus_call_async(bus_, &slot, message.get(), keepReply, &reply, UINT64_MAX) < 0) return nullptr;
  const SdBusSlotPtr pending(slot);
  while (process() && !reply && monotonicMicroseconds() < deadline) waitForLinks({this}, deadline);
  return reply;
}

void waitForLinks(const std::vector<AtspiLink*>& links, std::uint64_t deadline) {
  std::vector<pollfd> descriptors;
  for (const AtspiLink* link : links) {
    const int descriptor = sd_bus_get_fd(link->bus());
    const int events = sd_bus_get_events(link->bus());
    if (descriptor >= 0 && events >= 0) descriptors.push_back({descriptor, static_cast<short>(events), 0});
    std::uint64_t due = UINT64_MAX;
    if (sd_bus_get_timeout(link->bus(), &due) > 0) deadline = std::min(deadline, due);
  }
  const std::uint64_t now = monotonicMicroseconds();
  if (now >= deadline) return;
  const std::uint64_t left = deadline - now;
  const timespec timeout{static_cast<time_t>(left / 1'000'000), static_cast<long>(left % 1'000'000 * 1000)};
  ppoll(descriptors.data(), descriptors.size(), &timeout, nullptr);
}

}  // namespace zqlogging
