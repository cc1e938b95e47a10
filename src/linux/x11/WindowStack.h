#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "linux/x11/XServer.h"
#include "platform/ResultCode.h"
#include "zqlogging/Geometry.h"

namespace zqlogging {

/// The windows of the X server as they lie above each other, the override-redirect ones that no window manager knows
/// (menus, popups, tooltips) included. Every answer is asked of the server, which gets a quarter of a second. Where it
/// doesn't answer in that time, or there is none, the result is cannotComplete: what is there is not known. noValue
/// says that there is nothing. Any thread.
class WindowStack {
 public:
  enum class Type { other, menu, toolTip };

  struct Window {
    xcb_window_t id = XCB_NONE;      ///< child of the root window: the window manager's frame, where there is one
    xcb_window_t client = XCB_NONE;  ///< the application's own window; the same as `id` where there is no frame
    CGRect frame;                    ///< of `id`, origin top-left of the screen
    CGRect clientFrame;
    std::optional<std::int32_t> pid;  ///< of the application
    bool overrideRedirect = false;
    bool viewable = false;
    Type type = Type::other;
    std::string title;
    std::string className;
  };

  XServer& server() { return server_; }

  /// Viewable windows, top to bottom.
  port::Result<std::vector<Window>> windows();
  /// The topmost window at a point that takes pointer input there. On a Wayland session the X server knows its own
  /// windows alone: the answer is cannotComplete unless the pointer is at the point and over one of them.
  port::Result<Window> windowAt(int x, int y);
  /// The window that has the user's attention, according to the window manager.
  port::Result<Window> activeWindow();
  /// The window with that client window or frame.
  port::Result<Window> window(xcb_window_t window);
  port::Result<std::int32_t> pidOfWindow(xcb_window_t window);

 private:
  XServer server_;
};

}  // namespace zqlogging
