#pragma once

#include <systemd/sd-bus.h>

#include <functional>
#include <memory>
#include <string>

#include "linux/loop/SdBusSource.h"

namespace zqlogging {

/// Signals of the system or the session bus, delivered on the main thread for as long as this lives. A connection of
/// its own; nothing waits for the bus, and a bus that is lost falls silent.
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
  void start();

 private:
  explicit BusSignals(sd_bus* bus) : opened_(bus) {}

  sd_bus* opened_;  ///< until `start` hands it over
  std::unique_ptr<SdBusSource> source_;
};

}  // namespace zqlogging
