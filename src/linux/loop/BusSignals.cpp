#include "linux/loop/BusSignals.h"

#include <utility>

namespace zqlogging {

std::unique_ptr<BusSignals> BusSignals::open(Bus bus) {
  sd_bus* opened = nullptr;
  const int failed = bus == Bus::system ? sd_bus_open_system(&opened) : sd_bus_open_user(&opened);
  return failed < 0 ? nullptr : std::unique_ptr<BusSignals>(new BusSignals(opened));
}

BusSignals::~BusSignals() { sd_bus_close_unref(opened_); }

void BusSignals::add(const std::string& rule, Handler handler) {
  const sd_bus_message_handler_t call = [](sd_bus_message* signal, void* data, sd_bus_error*) {
    (*static_cast<Handler*>(data))(signal);
    return 0;
  };
  auto owned = std::make_unique<Handler>(std::move(handler));
  sd_bus_slot* slot = nullptr;
  if (sd_bus_add_match_async(opened_, &slot, rule.c_str(), call, nullptr, owned.get()) >= 0) {
    // The connection keeps both: it may still be handling a signal when this object has gone.
    sd_bus_slot_set_destroy_callback(slot, [](void* data) { delete static_cast<Handler*>(data); });
    sd_bus_slot_set_floating(slot, 1);
    sd_bus_slot_unref(slot);
    owned.release();  // NOLINT: the slot deletes it
  }
}

void BusSignals::start(GMainContext* context, std::function<void()> lost) {
  lost_ = std::move(lost);
  const auto callLost = [](void* signals) {
    const auto own = static_cast<BusSignals*>(signals)->lost_;
    own();
  };
  source_ = std::make_unique<SdBusSource>(std::exchange(opened_, nullptr), context, callLost, this);
}

}  // namespace zqlogging
