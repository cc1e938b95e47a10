#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace zqlogging {

struct Free {
  void operator()(void* memory) const { std::free(memory); }  // NOLINT: what xcb allocates
};
template <class T>
using XReply = std::unique_ptr<T, Free>;

/// A connection to the X server whose replies are waited for up to a deadline, for one thread at a time.
class XConnection {
 public:
  struct Atoms {
    xcb_atom_t netActiveWindow, netClientList, netWmName, netWmPid, netWmWindowType, typeMenu, typePopupMenu,
        typeDropdownMenu, typeCombo, typeToolTip, utf8String, wmState;
  };

  /// Connects to the display of the environment; null when there is none.
  static std::unique_ptr<XConnection> open();
  XConnection(const XConnection&) = delete;
  XConnection& operator=(const XConnection&) = delete;
  ~XConnection() { xcb_disconnect(connection_); }

  [[nodiscard]] xcb_connection_t* get() const { return connection_; }
  [[nodiscard]] xcb_window_t root() const { return root_; }
  [[nodiscard]] const Atoms& atoms() const { return atoms_; }
  [[nodiscard]] bool isUsable() const { return !late_ && !xcb_connection_has_error(connection_); }

  /// Gives the requests that follow a quarter of a second to be answered.
  void startWaiting();
  /// The reply to a request; null on an error, or when it came too late.
  template <class Reply, class Cookie>
  XReply<Reply> reply(Cookie cookie) {
    return XReply<Reply>(static_cast<Reply*>(await(cookie.sequence)));
  }

  xcb_get_property_cookie_t askProperty(xcb_window_t window, xcb_atom_t property, xcb_atom_t type) const;
  std::vector<std::uint32_t> numbers(xcb_get_property_cookie_t cookie);
  std::string text(xcb_get_property_cookie_t cookie);

 private:
  explicit XConnection(xcb_connection_t* connection) : connection_(connection) {}
  void* await(unsigned sequence);
  bool internAtoms();

  xcb_connection_t* connection_;
  xcb_window_t root_ = XCB_NONE;
  Atoms atoms_{};
  std::uint64_t deadline_ = 0;
  bool late_ = false;
};

}  // namespace zqlogging
