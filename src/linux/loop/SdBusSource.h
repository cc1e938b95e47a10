#pragma once

#include <systemd/sd-bus.h>

#include <memory>

typedef struct _GMainContext GMainContext;
typedef struct _GSource GSource;

namespace zqlogging {

/// Lets a main context process a D-Bus connection for as long as this lives. To be made and destroyed on the thread
/// that runs the context; handlers of the connection may destroy it.
class SdBusSource {
 public:
  /// Takes the connection over. `lost` is called once when the connection breaks.
  SdBusSource(sd_bus* bus, GMainContext* context, void (*lost)(void* data), void* data);
  SdBusSource(const SdBusSource&) = delete;
  SdBusSource& operator=(const SdBusSource&) = delete;
  ~SdBusSource();

  [[nodiscard]] sd_bus* bus() const { return bus_; }

 private:
  sd_bus* bus_;
  GSource* source_;
};

}  // namespace zqlogging
