#pragma once

#include <xcb/xcb.h>

#include <functional>
#include <memory>

#include "linux/loop/DesktopThread.h"
#include "linux/loop/GlibSource.h"
#include "linux/x11/XServer.h"

namespace zqlogging {

/// Follows which window the window manager has made the active one. When the server is late it goes on as soon as the
/// server has caught up; when the server has gone away it connects again, less and less often. Belongs on the desktop
/// thread, which it keeps running.
class ActiveWindowWatch : public std::enable_shared_from_this<ActiveWindowWatch> {
 public:
  /// Called when another window has become the active one; false when that could not be made use of now, and the same
  /// window is to be told of again.
  using Changed = std::function<bool(xcb_window_t active)>;
  /// Called when there has come to be a window manager that tells its active window, or there is none any more.
  using Following = std::function<void(bool)>;

  ActiveWindowWatch(XServer& server, std::shared_ptr<DesktopThread::Loop> loop, Changed changed, Following following);
  ActiveWindowWatch(const ActiveWindowWatch&) = delete;
  ActiveWindowWatch& operator=(const ActiveWindowWatch&) = delete;
  ~ActiveWindowWatch();

  void start();

 private:
  bool handleArrivedEvents();
  void look();
  void lookAgain();
  void lose();
  void later(unsigned milliseconds, void (ActiveWindowWatch::*act)());
  void setFollowing(bool following);

  XServer& server_;
  const std::shared_ptr<DesktopThread::Loop> loop_;
  const Changed changed_;
  const Following following_;
  std::unique_ptr<XConnection> x_;
  std::unique_ptr<GlibSource> source_;  ///< before its connection goes
  xcb_window_t active_ = XCB_NONE;
  bool wasConnected_ = false;
  bool isFollowing_ = true;
  unsigned retryDelay_ = 0;  ///< milliseconds
};

}  // namespace zqlogging
