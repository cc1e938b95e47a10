#include "platform/linux/BusSignals.h"

#include <glib-unix.h>

#include <algorithm>
#include <cstdint>
#include <list>
#include <new>
#include <optional>

#include "platform/linux/AtspiLink.h"

namespace zqlogging {

struct BusSignals::Connection {
  explicit Connection(sd_bus* opened) : bus(opened) {}
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() { sd_bus_close_unref(bus); }

  sd_bus* const bus;
  std::list<Handler> handlers;  ///< at addresses that stay
};

/// The bus as a source of the main context: its descriptor, what it wants of it, and its own time-outs.
struct BusSignals::Source {
  GSource base;
  std::shared_ptr<Connection>* connection;
  gpointer descriptor;

  static Source* of(GSource* source) { return reinterpret_cast<Source*>(source); }
  static sd_bus* busOf(GSource* source) { return (*of(source)->connection)->bus; }

  /// Microseconds until the bus wants to be processed whether or not something arrives.
  static std::optional<std::uint64_t> timeLeft(GSource* source) {
    std::uint64_t due = UINT64_MAX;
    if (sd_bus_get_timeout(busOf(source), &due) < 0 || due == UINT64_MAX) {
      return std::nullopt;
    }
    const std::uint64_t now = monotonicMicroseconds();
    return due > now ? due - now : 0;
  }

  static gboolean prepare(GSource* source, gint* timeout) {
    const int events = sd_bus_get_events(busOf(source));
    // What poll calls its events, GLib calls its conditions.
    g_source_modify_unix_fd(source, of(source)->descriptor, static_cast<GIOCondition>(std::max(events, 0)));
    const auto left = timeLeft(source);
    constexpr std::uint64_t kRoundUp = 999;
    *timeout = left ? static_cast<gint>(std::min<std::uint64_t>((*left + kRoundUp) / 1000, G_MAXINT)) : -1;
    return left == 0U;
  }

  static gboolean check(GSource* source) {
    return g_source_query_unix_fd(source, of(source)->descriptor) != 0 || timeLeft(source) == 0U;
  }

  static gboolean dispatch(GSource* source, GSourceFunc, gpointer) {
    int progress = 0;
    while ((progress = sd_bus_process(busOf(source), nullptr)) > 0 && !g_source_is_destroyed(source)) {
    }
    return progress >= 0 ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
  }

  static void finalize(GSource* source) { delete of(source)->connection; }
};

std::unique_ptr<BusSignals> BusSignals::open(Bus bus) {
  sd_bus* opened = nullptr;
  const int failed = bus == Bus::system ? sd_bus_open_system(&opened) : sd_bus_open_user(&opened);
  return failed < 0 ? nullptr : std::unique_ptr<BusSignals>(new BusSignals(std::make_shared<Connection>(opened)));
}

BusSignals::BusSignals(std::shared_ptr<Connection> connection) : connection_(std::move(connection)) {}

BusSignals::~BusSignals() {
  if (source_ != nullptr) {
    g_source_destroy(source_);
    g_source_unref(source_);
  }
}

void BusSignals::add(const std::string& rule, Handler handler) {
  connection_->handlers.push_back(std::move(handler));
  const sd_bus_message_handler_t call = [](sd_bus_message* signal, void* data, sd_bus_error*) {
    (*static_cast<Handler*>(data))(signal);
    return 0;
  };
  sd_bus_add_match_async(connection_->bus, nullptr, rule.c_str(), call, nullptr, &connection_->handlers.back());
}

void BusSignals::start() {
  static GSourceFuncs functions{Source::prepare, Source::check, Source::dispatch, Source::finalize, nullptr, nullptr};
  source_ = g_source_new(&functions, sizeof(Source));
  Source::of(source_)->connection = new std::shared_ptr<Connection>(connection_);
  Source::of(source_)->descriptor = g_source_add_unix_fd(source_, sd_bus_get_fd(connection_->bus), G_IO_IN);
  g_source_attach(source_, nullptr);
}

}  // namespace zqlogging
