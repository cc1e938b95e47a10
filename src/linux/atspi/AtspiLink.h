#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zqlogging {

struct SdBusMessageUnref {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using SdBusMessagePtr = std::unique_ptr<sd_bus_message, SdBusMessageUnref>;

struct SdBusSlotUnref {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using SdBusSlotPtr = std::unique_ptr<sd_bus_slot, SdBusSlotUnref>;

/// One connection to a message bus, used by one thread at a time. Opening does not wait: connecting and authenticating
/// go on while `process` is called.
class AtspiLink {
 public:
  /// Null when there is nothing at the address. `busNumber` is whatever tells the bus from others.
  static std::unique_ptr<AtspiLink> open(const std::string& address, std::uint32_t busNumber);
  /// A connection to the session bus, or null.
  static std::unique_ptr<AtspiLink> openSessionBus();

  AtspiLink(const AtspiLink&) = delete;
  AtspiLink& operator=(const AtspiLink&) = delete;
  ~AtspiLink();

  [[nodiscard]] sd_bus* bus() const { return bus_; }
  [[nodiscard]] std::uint32_t busNumber() const { return busNumber_; }
  /// Sends what waits to be sent and handles what has arrived. False once the connection is lost.
  bool process();
  /// Waits until there is something to process, at most until the monotonic time `deadline` (microseconds).
  void waitUntil(std::uint64_t deadline) const;

  /// Nothing was answered in time: asks the bus itself for a sign of life.
  void suspect();
  /// Whether the bus, having been suspected, has not given one yet. Waits for it a moment at most.
  bool isStalled();

  /// Sends one call and waits for its reply until the monotonic time `deadline`; null without one. The reply may be an
  /// error.
  SdBusMessagePtr call(const SdBusMessagePtr& message, std::uint64_t deadline);

 private:
  AtspiLink(sd_bus* bus, std::uint32_t busNumber) : bus_(bus), busNumber_(busNumber) {}

  sd_bus* bus_;
  std::uint32_t busNumber_;
  bool lost_ = false;
  SdBusSlotPtr probe_;
  bool isProbeAnswered_ = false;
};

}  // namespace zqlogging
