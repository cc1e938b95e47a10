#pragma once

#include <xcb/xcb.h>
#include <zqlogging/Pixels.h>

#include <memory>

/// Takes pictures of the X session's screen, through memory that is shared with the server. One thread at a time.
class ScreenGrabber {
 public:
  /// Throws std::runtime_error when there is no X server, or none whose pictures can be had.
  ScreenGrabber();

  /// The screen's top rows, `height` of them at most; no frame when none can be had.
  [[nodiscard]] zqlogging::PixelBuffer grab(int height);

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  xcb_window_t root_ = XCB_NONE;
};
