#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "zqlogging/Geometry.h"

namespace zqlogging {

class XConnection;

/// The windows of the X server as they lie above each other, the override-redirect ones that no window manager knows
/// (menus, popups, tooltips) included. Every answer is asked of the server, which gets a quarter of a second at most;
/// without a server there are no windows. Connects when needed, again when the server has gone away. Any thread.
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

  WindowStack();
  ~WindowStack();

  [[nodiscard]] bool isAvailable();
  /// Viewable windows, top to bottom.
  std::vector<Window> windows();
  /// The topmost window at a point that takes pointer input there.
  std::optional<Window> windowAt(int x, int y);
  /// The window that has the user's attention, according to the window manager.
  std::optional<Window> activeWindow();
  /// The window with that client window or frame.
  std::optional<Window> window(xcb_window_t window);
  std::optional<std::int32_t> pidOfWindow(xcb_window_t window);

 private:
  class Lease;
  std::mutex mutex_;
  std::vector<std::unique_ptr<XConnection>> idle_;
};

}  // namespace zqlogging
