#include "linux/x11/ActiveWindowWatch.h"

#include <algorithm>

#include "linux/x11/XConnection.h"

namespace zqlogging {
namespace {

xcb_atom_t atomNamed(XConnection& x, std::string_view name) {
  const auto atom = x.reply<xcb_intern_atom_reply_t>(
      xcb_intern_atom(x.get(), 0, static_cast<std::uint16_t>(name.size()), name.data()));
  return atom ? atom->atom : XCB_NONE;
}

bool isActiveWindowTold(XConnection& x) {
  const xcb_atom_t supported = atomNamed(x, "_NET_SUPPORTED");
  const auto names = x.numbers(x.askProperty(x.root(), supported, XCB_ATOM_ATOM));
  return std::find(names.begin(), names.end(), x.atoms().netActiveWindow) != names.end();
}

/// Whether one of the events that have arrived is a change of the active window.
bool takeEvents(XConnection& x) {
  bool changed = false;
  while (const XReply<xcb_generic_event_t> event{xcb_poll_for_event(x.get())}) {
    constexpr std::uint8_t kSentByClient = 0x80;
    changed |= (event->response_type & ~kSentByClient) == XCB_PROPERTY_NOTIFY &&
               reinterpret_cast<const xcb_property_notify_event_t*>(event.get())->atom == x.atoms().netActiveWindow;
  }
  return changed;
}

}  // namespace

std::unique_ptr<ActiveWindowWatch> ActiveWindowWatch::start(Changed changed) {
  const std::shared_ptr<XConnection> x = XConnection::open();
  if (!x || !isActiveWindowTold(*x)) {
    return nullptr;
  }
  const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
  xcb_change_window_attributes(x->get(), x->root(), XCB_CW_EVENT_MASK, &mask);
  xcb_flush(x->get());
  const auto ready = [x, changed = std::move(changed)] {
    // Waiting for the reply may bring in further events, which the descriptor does not announce any more.
    while (takeEvents(*x)) {
      x->startWaiting();
      const auto active = x->numbers(x->askProperty(x->root(), x->atoms().netActiveWindow, XCB_ATOM_WINDOW));
      if (!active.empty() && active.front() != XCB_NONE) {
        changed(active.front());
      }
    }
    return x->isUsable();
  };
  return std::unique_ptr<ActiveWindowWatch>(new ActiveWindowWatch(xcb_get_file_descriptor(x->get()), ready));
}

}  // namespace zqlogging
