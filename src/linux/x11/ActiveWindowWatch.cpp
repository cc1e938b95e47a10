#include "linux/x11/ActiveWindowWatch.h"

#include <algorithm>
#include <utility>

namespace zqlogging {
namespace {

constexpr unsigned kFirstRetry = 100;  // milliseconds
constexpr unsigned kLastRetry = 10'000;

bool isActiveWindowTold(XConnection& x) {
  const auto names = x.numbers(x.requestProperty(x.root(), x.atoms().netSupported, XCB_ATOM_ATOM));
  return std::find(names.begin(), names.end(), x.atoms().netActiveWindow) != names.end();
}

/// Whether one of the events that have arrived is a change of the active window.
bool takeEvents(const XConnection& x) {
  bool changed = false;
  while (const XReply<xcb_generic_event_t> event{xcb_poll_for_event(x.get())}) {
    constexpr std::uint8_t kSentByClient = 0x80;
    changed |= (event->response_type & ~kSentByClient) == XCB_PROPERTY_NOTIFY &&
               reinterpret_cast<const xcb_property_notify_event_t*>(event.get())->atom == x.atoms().netActiveWindow;
  }
  return changed;
}

}  // namespace

ActiveWindowWatch::ActiveWindowWatch(XServer& server, std::shared_ptr<DesktopThread::Loop> loop, Changed changed,
                                     Following following)
    : server_(server), loop_(std::move(loop)), changed_(std::move(changed)), following_(std::move(following)) {}

ActiveWindowWatch::~ActiveWindowWatch() { source_.reset(); }

void ActiveWindowWatch::start() {
  x_ = server_.connect();
  if (!x_) {
    lose();
    return;
  }
  const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
  xcb_change_window_attributes(x_->get(), x_->root(), XCB_CW_EVENT_MASK, &mask);
  xcb_flush(x_->get());
  const auto ready = [weak = weak_from_this()] {
    const auto self = weak.lock();
    return self && self->handleArrivedEvents();
  };
  source_ = std::make_unique<GlibSource>(xcb_get_file_descriptor(x_->get()), loop_->context(), ready);
  retryDelay_ = 0;
  x_->startWaiting();
  const bool isTold = isActiveWindowTold(*x_);
  if (x_->isUsable()) {
    setFollowing(isTold);
  }
  if (std::exchange(wasConnected_, true)) {
    look();
  } else {
    active_ = x_->windowInRootProperty(x_->atoms().netActiveWindow);  // has not become it
  }
  handleArrivedEvents();
}

/// False when the connection is gone.
bool ActiveWindowWatch::handleArrivedEvents() {
  bool isDue = !x_->isUsable();
  // Waiting for a reply may bring in further events, which the descriptor doesn't announce any more.
  while (x_->catchUp()) {
    const bool isTold = takeEvents(*x_);
    if (isTold) {
      setFollowing(true);
    }
    if (!isTold && !std::exchange(isDue, false)) {
      break;
    }
    look();
  }
  if (x_->isBroken()) {
    lose();
    return false;
  }
  return true;
}

void ActiveWindowWatch::look() {
  if (!x_ || !x_->isUsable()) {
    return;
  }
  x_->startWaiting();
  const xcb_window_t active = x_->windowInRootProperty(x_->atoms().netActiveWindow);
  if (active == XCB_NONE || active == active_) {
    return;
  }
  if (changed_(active)) {
    active_ = active;
  } else {
    later(kFirstRetry, &ActiveWindowWatch::lookAgain);
  }
}

void ActiveWindowWatch::lookAgain() {
  look();
  if (x_) {
    handleArrivedEvents();
  }
}

void ActiveWindowWatch::lose() {
  source_.reset();
  x_.reset();
  active_ = XCB_NONE;
  setFollowing(false);
  if (XServer::isNamed()) {
    retryDelay_ = std::clamp(retryDelay_ * 2, kFirstRetry, kLastRetry);
    later(retryDelay_, &ActiveWindowWatch::start);
  }
}

void ActiveWindowWatch::later(unsigned milliseconds, void (ActiveWindowWatch::*act)()) {
  loop_->runAfter(milliseconds, [weak = weak_from_this(), act] {
    if (const auto self = weak.lock()) {
      ((*self).*act)();
    }
  });
}

void ActiveWindowWatch::setFollowing(bool following) {
  if (std::exchange(isFollowing_, following) != following) {
    following_(following);
  }
}

}  // namespace zqlogging
