#include "linux/x11/XConnection.h"

#include <poll.h>
#include <xcb/xcbext.h>

#include <array>
#include <cstring>
#include <utility>

#include "linux/system/MonotonicTime.h"

namespace zqlogging {

namespace {

constexpr std::uint64_t kPatience = 250'000;  // microseconds
constexpr std::uint32_t kMostPropertyWords = 4096;

}  // namespace

std::unique_ptr<XConnection> XConnection::open() {
  int screenNumber = 0;
  xcb_connection_t* connection = xcb_connect(nullptr, &screenNumber);
  std::unique_ptr<XConnection> opened(new XConnection(connection));
  if (xcb_connection_has_error(connection)) {
    return nullptr;
  }
  xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (; screens.rem > 1 && screenNumber > 0; --screenNumber) {
    xcb_screen_next(&screens);
  }
  opened->root_ = screens.data->root;
  opened->startWaiting();
  return opened->internAtoms() ? std::move(opened) : nullptr;
}

bool XConnection::internAtoms() {
  const std::pair<const char*, xcb_atom_t*> names[] = {
      {"_NET_ACTIVE_WINDOW", &atoms_.netActiveWindow},
      {"_NET_CLIENT_LIST", &atoms_.netClientList},
      {"_NET_WM_NAME", &atoms_.netWmName},
      {"_NET_WM_PID", &atoms_.netWmPid},
      {"_NET_WM_WINDOW_TYPE", &atoms_.netWmWindowType},
      {"_NET_WM_WINDOW_TYPE_MENU", &atoms_.typeMenu},
      {"_NET_WM_WINDOW_TYPE_POPUP_MENU", &atoms_.typePopupMenu},
      {"_NET_WM_WINDOW_TYPE_DROPDOWN_MENU", &atoms_.typeDropdownMenu},
      {"_NET_WM_WINDOW_TYPE_COMBO", &atoms_.typeCombo},
      {"_NET_WM_WINDOW_TYPE_TOOLTIP", &atoms_.typeToolTip},
      {"UTF8_STRING", &atoms_.utf8String},
      {"WM_STATE", &atoms_.wmState},
  };
  std::array<xcb_intern_atom_cookie_t, std::size(names)> cookies{};
  for (std::size_t i = 0; i < cookies.size(); ++i) {
    cookies[i] =
        xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(std::strlen(names[i].first)), names[i].first);
  }
  for (std::size_t i = 0; i < cookies.size(); ++i) {
    const auto atom = reply<xcb_intern_atom_reply_t>(cookies[i]);
    if (!atom) {
      return false;
    }
    *names[i].second = atom->atom;
  }
  return true;
}

void XConnection::startWaiting() { deadline_ = monotonicMicroseconds() + kPatience; }

void* XConnection::await(unsigned sequence) {
  xcb_flush(connection_);
  for (;;) {
    void* answer = nullptr;
    xcb_generic_error_t* error = nullptr;
    if (xcb_poll_for_reply(connection_, sequence, &answer, &error)) {
      std::free(error);  // NOLINT: what xcb allocates
      return answer;
    }
    const std::uint64_t now = monotonicMicroseconds();
    if (xcb_connection_has_error(connection_)) {
      return nullptr;
    }
    if (now >= deadline_) {
      late_ = true;
      xcb_discard_reply(connection_, sequence);
      return nullptr;
    }
    pollfd descriptor{xcb_get_file_descriptor(connection_), POLLIN, 0};
    constexpr std::uint64_t kRoundUp = 999;
    poll(&descriptor, 1, static_cast<int>((deadline_ - now + kRoundUp) / 1000));
  }
}

xcb_get_property_cookie_t XConnection::askProperty(xcb_window_t window, xcb_atom_t property, xcb_atom_t type) const {
  return xcb_get_property(connection_, 0, window, property, type, 0, kMostPropertyWords);
}

std::vector<std::uint32_t> XConnection::numbers(xcb_get_property_cookie_t cookie) {
  const auto property = reply<xcb_get_property_reply_t>(cookie);
  if (!property || property->format != 32) {
    return {};
  }
  const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(property.get()));
  return {first, first + property->value_len};
}

std::string XConnection::text(xcb_get_property_cookie_t cookie) {
  const auto property = reply<xcb_get_property_reply_t>(cookie);
  if (!property || property->format != 8) {
    return {};
  }
  return {static_cast<const char*>(xcb_get_property_value(property.get())), property->value_len};
}

}  // namespace zqlogging
