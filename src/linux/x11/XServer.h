#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "linux/x11/XConnection.h"

namespace zqlogging {

/// The X server of the environment: connections to it for the threads that ask it. They are opened when needed and
/// again after the server has gone away. Any thread.
class XServer {
 public:
  XServer();
  XServer(const XServer&) = delete;
  XServer& operator=(const XServer&) = delete;
  ~XServer();

  /// Whether the environment names an X server at all.
  static bool isNamed();

  /// A new connection, waited for up to a quarter of a second; null without one. While the server is known not to
  /// answer, nothing is waited for.
  std::unique_ptr<XConnection> connect();

  /// A connection for the calling thread; false when the server cannot be asked now. Handed back at the end.
  class Lease {
   public:
    explicit Lease(XServer& server);
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;
    ~Lease();

    explicit operator bool() const { return canAsk_; }
    XConnection& operator*() const { return *connection_; }
    XConnection* operator->() const { return connection_.get(); }

   private:
    XServer& server_;
    std::unique_ptr<XConnection> connection_;
    bool canAsk_ = false;
  };

 private:
  class Attempt;

  std::mutex mutex_;
  std::vector<std::unique_ptr<XConnection>> idle_;
  std::shared_ptr<Attempt> lateAttempt_;
};

}  // namespace zqlogging
