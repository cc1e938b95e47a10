#include "linux/x11/XConnection.h"

#include <poll.h>
#include <xcb/randr.h>
#include <xcb/res.h>
#include <xcb/xcbext.h>

#include <array>
#include <cstring>
#include <utility>

#include "linux/system/MonotonicTime.h"

namespace zqlogging {

namespace {

constexpr std::uint64_t kPatience = 250'000;  // microseconds
constexpr std::uint32_t kMaxPropertyWords = 1 << 16;
constexpr std::uint32_t kMaxTextBytes = 8192;  // a record keeps 256 characters

}  // namespace

std::unique_ptr<XConnection> XConnection::adopt(xcb_connection_t* connection, int screenNumber) {
  std::unique_ptr<XConnection> adopted(new XConnection(connection));
  if (adopted->isBroken()) {
    return nullptr;
  }
  xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (; screens.rem > 1 && screenNumber > 0; --screenNumber) {
    xcb_screen_next(&screens);
  }
  adopted->root_ = screens.data->root;
  adopted->startWaiting();
  // xcb itself would wait for an extension without end: when the atoms are there, its answer is there as well.
  xcb_prefetch_extension_data(connection, &xcb_res_id);
  xcb_prefetch_extension_data(connection, &xcb_randr_id);
  if (!adopted->internAtoms()) {
    return nullptr;
  }
  const auto isPresent = [connection](xcb_extension_t& extension) {
    const auto* data = xcb_get_extension_data(connection, &extension);
    return data != nullptr && data->present != 0;
  };
  adopted->knowsProcesses_ = isPresent(xcb_res_id);
  adopted->knowsMonitors_ = isPresent(xcb_randr_id);
  return adopted;
}

bool XConnection::internAtoms() {
  const std::pair<const char*, xcb_atom_t*> names[] = {
      {"_NET_ACTIVE_WINDOW", &atoms_.netActiveWindow},
      {"_NET_CLIENT_LIST", &atoms_.netClientList},
      {"_NET_SUPPORTED", &atoms_.netSupported},
      {"_NET_WM_NAME", &atoms_.netWmName},
      {"_NET_WM_PID", &atoms_.netWmPid},
      {"_NET_WM_WINDOW_TYPE", &atoms_.netWmWindowType},
      {"_NET_WM_WINDOW_TYPE_MENU", &atoms_.typeMenu},
      {"_NET_WM_WINDOW_TYPE_POPUP_MENU", &atoms_.typePopupMenu},
      {"_NET_WM_WINDOW_TYPE_DROPDOWN_MENU", &atoms_.typeDropdownMenu},
      {"_NET_WM_WINDOW_TYPE_COMBO", &atoms_.typeCombo},
      {"_NET_WM_WINDOW_TYPE_TOOLTIP", &atoms_.typeToolTip},
      {"_GTK_APPLICATION_ID", &atoms_.gtkApplicationId},
      {"UTF8_STRING", &atoms_.utf8String},
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

XConnection::ProcessRequest XConnection::requestProcess(xcb_window_t window) const {
  const xcb_res_client_id_spec_t spec{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
  return {knowsProcesses_ ? xcb_res_query_client_ids(connection_, 1, &spec).sequence : 0,
          requestProperty(window, atoms_.netWmPid, XCB_ATOM_CARDINAL)};
}

std::optional<std::int32_t> XConnection::process(const ProcessRequest& request) {
  const auto claimed = numbers(request.claimed);
  const auto clients = knowsProcesses_
                           ? reply<xcb_res_query_client_ids_reply_t>(xcb_res_query_client_ids_cookie_t{request.client})
                           : nullptr;
  if (clients) {
    auto id = xcb_res_query_client_ids_ids_iterator(clients.get());
    for (; id.rem != 0; xcb_res_client_id_value_next(&id)) {
      const bool isPid = (id.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0;
      if (isPid && xcb_res_client_id_value_value_length(id.data) > 0) {
        return static_cast<std::int32_t>(*xcb_res_client_id_value_value(id.data));
      }
    }
  }
  return claimed.empty() ? std::nullopt : std::optional(static_cast<std::int32_t>(claimed.front()));
}

std::string XConnection::className(xcb_get_property_cookie_t request) {
  const std::string names = text(request);  // instance and class, each with a final NUL
  const std::size_t end = names.find('\0');
  return end == std::string::npos ? "" : names.substr(end + 1, names.find('\0', end + 1) - end - 1);
}

void XConnection::startWaiting() { deadline_ = monotonicMicroseconds() + kPatience; }

void* XConnection::await(unsigned sequence) {
  if (isBehind_) {
    xcb_discard_reply(connection_, sequence);
    return nullptr;
  }
  xcb_flush(connection_);
  for (;;) {
    void* answer = nullptr;
    xcb_generic_error_t* error = nullptr;
    if (xcb_poll_for_reply(connection_, sequence, &answer, &error) != 0) {
      std::free(error);  // NOLINT: what xcb allocates
      return answer;
    }
    if (isBroken()) {
      return nullptr;
    }
    const std::uint64_t now = monotonicMicroseconds();
    if (now >= deadline_) {
      xcb_discard_reply(connection_, sequence);
      fallBehind();
      return nullptr;
    }
    pollfd descriptor{xcb_get_file_descriptor(connection_), POLLIN, 0};
    constexpr std::uint64_t kRoundUp = 999;
    poll(&descriptor, 1, static_cast<int>((deadline_ - now + kRoundUp) / 1000));
  }
}

void XConnection::fallBehind() {
  isBehind_ = true;
  probe_ = xcb_get_input_focus(connection_).sequence;
  xcb_flush(connection_);
}

bool XConnection::catchUp() {
  if (!isBehind_) {
    return true;
  }
  void* answer = nullptr;
  xcb_generic_error_t* error = nullptr;
  if (xcb_poll_for_reply(connection_, probe_, &answer, &error) != 0) {
    isBehind_ = false;
  }
  std::free(answer);  // NOLINT: what xcb allocates
  std::free(error);   // NOLINT
  return !isBehind_;
}

xcb_get_property_cookie_t XConnection::requestProperty(xcb_window_t window, xcb_atom_t property,
                                                       xcb_atom_t type) const {
  const bool isText = type == XCB_ATOM_STRING || type == atoms_.utf8String;
  return xcb_get_property(connection_, 0, window, property, type, 0, isText ? kMaxTextBytes / 4 : kMaxPropertyWords);
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

xcb_window_t XConnection::windowInRootProperty(xcb_atom_t property) {
  const auto windows = numbers(requestProperty(root_, property, XCB_ATOM_WINDOW));
  return windows.empty() ? XCB_NONE : windows.front();
}

}  // namespace zqlogging
