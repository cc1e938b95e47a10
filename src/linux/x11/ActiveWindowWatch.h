#pragma once

#include <xcb/xcb.h>

#include <functional>
#include <memory>

#include "linux/loop/GlibSource.h"

namespace zqlogging {

/// Tells on the main thread which window the window manager has made the active one, whenever that changes.
class ActiveWindowWatch {
 public:
  using Changed = std::function<void(xcb_window_t active)>;

  /// Null where there is no X server, or no window manager that tells its active window.
  static std::unique_ptr<ActiveWindowWatch> start(Changed changed);

 private:
  ActiveWindowWatch(int descriptor, std::function<bool()> ready) : source_(descriptor, std::move(ready)) {}
  GlibSource source_;
};

}  // namespace zqlogging
