#include "linux/loop/SdBusSource.h"

#include <glib-unix.h>

#include <algorithm>
#include <optional>

#include "linux/system/MonotonicTime.h"

namespace zqlogging {

namespace {

struct Source {
  GSource base;
  sd_bus* bus;
  gpointer descriptor;
  int events;  ///< that the context waits for on the descriptor
  void (*lost)(void* data);
  void* data;

  static Source* of(GSource* source) { return reinterpret_cast<Source*>(source); }

  /// Microseconds until the connection wants to be processed whether or not something arrives.
  static std::optional<std::uint64_t> timeLeft(GSource* source) {
    std::uint64_t due = UINT64_MAX;
    if (sd_bus_get_timeout(of(source)->bus, &due) < 0 || due == UINT64_MAX) {
      return std::nullopt;
    }
    const std::uint64_t now = monotonicMicroseconds();
    return due > now ? due - now : 0;
  }

  static gboolean prepare(GSource* source, gint* timeout) {
    // What poll calls its events, GLib calls its conditions.
    const int events = std::max(sd_bus_get_events(of(source)->bus), 0);
    if (events != of(source)->events) {  // each modification wakes the context up
      of(source)->events = events;
      g_source_modify_unix_fd(source, of(source)->descriptor, static_cast<GIOCondition>(events));
    }
    const auto left = timeLeft(source);
    constexpr std::uint64_t kRoundUp = 999;
    *timeout = left ? static_cast<gint>(std::min<std::uint64_t>((*left + kRoundUp) / 1000, G_MAXINT)) : -1;
    return left == 0U;
  }

  static gboolean check(GSource* source) {
    return g_source_query_unix_fd(source, of(source)->descriptor) != 0 || timeLeft(source) == 0U;
  }

  static gboolean dispatch(GSource* source, GSourceFunc /*callback*/, gpointer /*data*/) {
    // What is left when the slice is over is due at once, see timeLeft: others have their turn in between.
    constexpr std::uint64_t kSlice = 5'000;  // microseconds
    const std::uint64_t end = monotonicMicroseconds() + kSlice;
    int progress = 1;
    while (progress > 0 && !g_source_is_destroyed(source) && monotonicMicroseconds() < end) {
      progress = sd_bus_process(of(source)->bus, nullptr);
    }
    if (progress >= 0 || g_source_is_destroyed(source)) {
      return G_SOURCE_CONTINUE;
    }
    of(source)->lost(of(source)->data);
    return G_SOURCE_REMOVE;
  }

  static void finalize(GSource* source) {
    sd_bus_close(of(source)->bus);
    sd_bus_unref(of(source)->bus);
  }
};

}  // namespace

SdBusSource::SdBusSource(sd_bus* bus, GMainContext* context, void (*lost)(void* data), void* data) : bus_(bus) {
  static GSourceFuncs functions{Source::prepare, Source::check, Source::dispatch, Source::finalize, nullptr, nullptr};
  source_ = g_source_new(&functions, sizeof(Source));
  Source* source = Source::of(source_);
  source->bus = bus;
  source->lost = lost;
  source->data = data;
  source->events = G_IO_IN;
  source->descriptor = g_source_add_unix_fd(source_, sd_bus_get_fd(bus), G_IO_IN);
  g_source_attach(source_, context);
}

SdBusSource::~SdBusSource() {
  g_source_destroy(source_);
  g_source_unref(source_);
}

}  // namespace zqlogging
