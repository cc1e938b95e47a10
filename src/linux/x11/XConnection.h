#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zqlogging {

struct Free {
  void operator()(void* memory) const { std::free(memory); }  // NOLINT: what xcb allocates
};
template <class T>
using XReply = std::unique_ptr<T, Free>;

/// A connection to the X server that waits for replies only up to a deadline. One thread at a time.
///
/// A connection whose deadline has passed is behind: nothing is asked through it until the server has caught up.
class XConnection {
 public:
  struct Atoms {
    xcb_atom_t netActiveWindow, netClientList, netSupported, netWmName, netWmPid, netWmWindowType, typeMenu,
        typePopupMenu, typeDropdownMenu, typeCombo, typeToolTip, gtkApplicationId, utf8String;
  };

  /// Takes a connection over that xcb has made; null when it has failed, or when the server is late to answer.
  static std::unique_ptr<XConnection> adopt(xcb_connection_t* connection, int screenNumber);
  XConnection(const XConnection&) = delete;
  XConnection& operator=(const XConnection&) = delete;
  ~XConnection() { xcb_disconnect(connection_); }

  [[nodiscard]] xcb_connection_t* get() const { return connection_; }
  [[nodiscard]] xcb_window_t root() const { return root_; }
  [[nodiscard]] const Atoms& atoms() const { return atoms_; }
  [[nodiscard]] bool knowsMonitors() const { return knowsMonitors_; }
  /// Whether the server has closed it.
  [[nodiscard]] bool isBroken() const { return xcb_connection_has_error(connection_) != 0; }
  /// Whether every reply asked for so far has come in time: a missing one then means that there is nothing to tell.
  [[nodiscard]] bool isUsable() const { return !isBehind_ && !isBroken(); }
  /// Looks, without waiting, whether the server has answered what it was late with.
  bool catchUp();

  /// Gives the requests that follow a quarter of a second to be answered.
  void startWaiting();
  /// Waits for the reply to a request; null on an error, or when it has not come in time.
  template <class Reply, class Cookie>
  XReply<Reply> reply(Cookie cookie) {
    return XReply<Reply>(static_cast<Reply*>(await(cookie.sequence)));
  }

  [[nodiscard]] xcb_get_property_cookie_t requestProperty(xcb_window_t window, xcb_atom_t property,
                                                          xcb_atom_t type) const;
  /// Asks whose window it is. The server knows whose connection it is; what the window itself claims may be a number of
  /// another process namespace.
  struct ProcessRequest {
    unsigned client;  ///< 0 where the server can't tell
    xcb_get_property_cookie_t claimed;
  };
  [[nodiscard]] ProcessRequest requestProcess(xcb_window_t window) const;
  /// Waits for the process id; nothing for a window of nobody known.
  std::optional<std::int32_t> process(const ProcessRequest& request);

  /// Waits for a property of numbers; empty without one.
  std::vector<std::uint32_t> numbers(xcb_get_property_cookie_t cookie);
  /// Waits for a property of text, cut where it is too long to be of use; empty without one.
  std::string text(xcb_get_property_cookie_t cookie);
  /// Waits for a WM_CLASS property; the class of it.
  std::string className(xcb_get_property_cookie_t request);
  /// Waits for the number of the first window in a property of the root window; XCB_NONE without one.
  xcb_window_t windowInRootProperty(xcb_atom_t property);

 private:
  explicit XConnection(xcb_connection_t* connection) : connection_(connection) {}
  void* await(unsigned sequence);
  void fallBehind();
  bool internAtoms();

  xcb_connection_t* connection_;
  xcb_window_t root_ = XCB_NONE;
  Atoms atoms_{};
  bool knowsProcesses_ = false;
  bool knowsMonitors_ = false;
  std::uint64_t deadline_ = 0;
  bool isBehind_ = false;
  unsigned probe_ = 0;  ///< the request whose reply shows that the server has caught up
};

}  // namespace zqlogging
