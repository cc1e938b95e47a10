#include "linux/x11/ScreenLayout.h"

#include <xcb/randr.h>

#include <utility>

namespace zqlogging {
namespace {

CGRect flippedFrame(double left, double top, double width, double height) { return {{left, -top}, {width, height}}; }

/// Every change of monitors comes with one of the root window, also where only their names or borders change.
void watchForChanges(const XConnection& x) {
  const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(x.get(), x.root(), XCB_CW_EVENT_MASK, &mask);
  if (x.knowsMonitors()) {
    xcb_randr_select_input(x.get(), x.root(), XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE);
  }
  xcb_flush(x.get());
}

bool hasHeardOfChange(const XConnection& x) {
  bool changed = false;
  while (const XReply<xcb_generic_event_t> event{xcb_poll_for_event(x.get())}) {
    changed = true;
  }
  return changed;
}

std::optional<std::vector<CGRect>> ask(XConnection& x) {
  x.startWaiting();
  std::vector<CGRect> frames;
  if (x.knowsMonitors()) {
    // The server answers by the version that a client has said it knows.
    const auto version = xcb_randr_query_version(x.get(), XCB_RANDR_MAJOR_VERSION, XCB_RANDR_MINOR_VERSION);
    const auto request = xcb_randr_get_monitors(x.get(), x.root(), 1);
    x.reply<xcb_randr_query_version_reply_t>(version);
    if (const auto monitors = x.reply<xcb_randr_get_monitors_reply_t>(request)) {
      for (auto each = xcb_randr_get_monitors_monitors_iterator(monitors.get()); each.rem != 0;
           xcb_randr_monitor_info_next(&each)) {
        frames.push_back(flippedFrame(each.data->x, each.data->y, each.data->width, each.data->height));
      }
    }
  }
  if (frames.empty()) {
    if (const auto root = x.reply<xcb_get_geometry_reply_t>(xcb_get_geometry(x.get(), x.root()))) {
      frames.push_back(flippedFrame(0, 0, root->width, root->height));
    }
  }
  return x.isUsable() ? std::optional(std::move(frames)) : std::nullopt;
}

}  // namespace

port::Result<std::vector<CGRect>> ScreenLayout::frames() {
  std::unique_ptr<XConnection> watch;
  std::optional<std::vector<CGRect>> known;
  {
    const std::lock_guard lock(mutex_);
    watch = std::move(watch_);
    known = known_;
  }
  if (!watch || watch->isBroken()) {
    watch = server_.connect();
    if (watch) {
      watchForChanges(*watch);
      known.reset();
    }
  }
  if (watch && watch->catchUp()) {
    if (hasHeardOfChange(*watch)) {
      known.reset();
    }
    if (!known) {
      known = ask(*watch);
    }
  }
  const std::lock_guard lock(mutex_);
  known_ = known;
  if (watch && !watch_) {
    watch_ = std::move(watch);
  }
  return known ? port::Result<std::vector<CGRect>>(std::move(*known)) : port::ResultCode::cannotComplete;
}

}  // namespace zqlogging
