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

/// One D-Bus connection, used by one thread at a time. Opening does not wait: connecting and authenticating go on while
/// `process` is called.
class AtspiLink {
 public:
  enum class Peer { bus, application };
  /// A connection to a message bus, or straight to an application; null when there is nothing at the address.
  static std::unique_ptr<AtspiLink> open(const std::string& address, Peer peer);
  /// A connection to the session bus, or null.
  static std::unique_ptr<AtspiLink> openSessionBus();

  AtspiLink(const AtspiLink&) = delete;
  AtspiLink& operator=(const AtspiLink&) = delete;
  ~AtspiLink();

  [[nodiscard]] sd_bus* bus() const { return bus_; }
  /// Sends what waits to be sent and handles what has arrived. False once the connection is lost.
  bool process();

  /// Sends one call and waits for its reply until the monotonic time `deadline` (microseconds); null without one. The
  /// reply may be an error.
  SdBusMessagePtr call(const SdBusMessagePtr& message, std::uint64_t deadline);

 private:
  explicit AtspiLink(sd_bus* bus) : bus_(bus) {}

  sd_bus* bus_;
  bool lost_ = false;
};

/// Waits until one of the links has something to do, at most until the monotonic time `deadline` (microseconds).
void waitForLinks(const std::vector<AtspiLink*>& links, std::uint64_t deadline);

/// The monotonic time in microseconds.
std::uint64_t monotonicMicroseconds();

}  // namespace zqlogging
