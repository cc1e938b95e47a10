#include "linux/x11/XServer.h"

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <system_error>
#include <utility>

#include "linux/loop/QuietThread.h"

namespace zqlogging {

namespace {

constexpr std::chrono::milliseconds kPatience{250};
constexpr std::size_t kMaxIdleConnections = 2;

}  // namespace

/// One attempt to connect, on a thread of its own: xcb waits for a server that accepts and does not answer without
/// end. An attempt that nobody waits for any more ends when the server goes on or goes away.
class XServer::Attempt {
 public:
  static std::shared_ptr<Attempt> start() {
    auto attempt = std::make_shared<Attempt>();
    try {
      startQuietThread("XConnect", [attempt] { attempt->connect(); }).detach();
    } catch (const std::system_error&) {
      attempt->isDone_ = true;
    }
    return attempt;
  }
  Attempt() = default;
  Attempt(const Attempt&) = delete;
  Attempt& operator=(const Attempt&) = delete;
  ~Attempt() {
    if (connection_ != nullptr) {
      xcb_disconnect(connection_);
    }
  }

  bool waitFor(std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    return done_.wait_for(lock, patience, [this] { return isDone_; });
  }
  /// What has come of it, once.
  std::unique_ptr<XConnection> take() {
    xcb_connection_t* connection = std::exchange(connection_, nullptr);
    return connection == nullptr ? nullptr : XConnection::adopt(connection, screenNumber_);
  }

 private:
  void connect() {
    int screenNumber = 0;
    xcb_connection_t* connection = xcb_connect(nullptr, &screenNumber);
    const std::lock_guard lock(mutex_);
    connection_ = connection;
    screenNumber_ = screenNumber;
    isDone_ = true;
    done_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable done_;
  bool isDone_ = false;
  xcb_connection_t* connection_ = nullptr;
  int screenNumber_ = 0;
};

XServer::XServer() = default;
XServer::~XServer() = default;

bool XServer::isNamed() {
  const char* display = std::getenv("DISPLAY");
  return display != nullptr && *display != '\0';
}

std::unique_ptr<XConnection> XServer::connect() {
  if (!isNamed()) {
    return nullptr;
  }
  std::shared_ptr<Attempt> attempt;
  {
    const std::lock_guard lock(mutex_);
    attempt = std::exchange(lateAttempt_, nullptr);
  }
  const auto patience = attempt ? std::chrono::milliseconds::zero() : kPatience;
  if (!attempt) {
    attempt = Attempt::start();
  }
  if (!attempt->waitFor(patience)) {
    const std::lock_guard lock(mutex_);
    lateAttempt_ = std::move(attempt);
    return nullptr;
  }
  return attempt->take();
}

XServer::Lease::Lease(XServer& server) : server_(server) {
  {
    const std::lock_guard lock(server.mutex_);
    if (!server.idle_.empty()) {
      connection_ = std::move(server.idle_.back());
      server.idle_.pop_back();
    }
  }
  if (connection_) {
    connection_->catchUp();
  }
  if (!connection_ || connection_->isBroken()) {
    connection_ = server.connect();
  }
  if (connection_ && connection_->isUsable()) {
    connection_->startWaiting();
    canAsk_ = true;
  }
}

XServer::Lease::~Lease() {
  if (!connection_ || connection_->isBroken()) {
    return;
  }
  const std::lock_guard lock(server_.mutex_);
  if (server_.idle_.size() < kMaxIdleConnections) {
    server_.idle_.push_back(std::move(connection_));
  }
}

}  // namespace zqlogging
