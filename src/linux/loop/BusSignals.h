#pragma once

#include <systemd/sd-bus.h>

#include <functional>
#include <memory>
#include <string>

#include "linux/loop/SdBusSource.h"

namespace zqlogging {

/// Signals of the system or the session bus, delivered on the thread of a main context for as long as this lives. A
/// connection of its own; nothing waits for the bus.
class BusSignals {
 public:
  enum class Bus { system, session };
  using Handler = std::function<void(sd_bus_message* signal)>;

  /// Null where there is no such bus.
  static std::unique_ptr<BusSignals> open(Bus bus);
  BusSignals(const BusSignals&) = delete;
  BusSignals& operator=(const BusSignals&) = delete;
  ~BusSignals();

  /// Hands the signals that match the rule to the handler. To be called before `start`.
  void add(const std::string& rule, Handler handler);
  /// `lost` is called once when the bus has gone away; it may destroy this.
  void start(GMainContext* context, std::function<void()> lost);

 private:
  explicit BusSignals(sd_bus* bus) : opened_(bus) {}

  sd_bus* opened_;  ///< until `start` hands it over
  std::function<void()> lost_;
  std::unique_ptr<SdBusSource> source_;
};

}  // namespace zqlogging
