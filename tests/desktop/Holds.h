#pragma once

#include <glib.h>
#include <signal.h>
#include <sys/socket.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "PrivateDesktop.h"
#include "zqlogging/zqlogging.h"

namespace zqlogging::testing {

using std::chrono::milliseconds;

/// A heartbeat of the main loop, a thousand times a second: the longest time between two beats is the longest time
/// that something has held the main thread.
class Heartbeat {
 public:
  Heartbeat() : beat_(std::chrono::steady_clock::now()), source_(g_timeout_source_new(1)) {
    const GSourceFunc beat = [](gpointer self) -> gboolean {
      static_cast<Heartbeat*>(self)->note();
      return G_SOURCE_CONTINUE;
    };
    g_source_set_callback(source_, beat, this, nullptr);
    g_source_attach(source_, nullptr);
  }
  Heartbeat(const Heartbeat&) = delete;
  Heartbeat& operator=(const Heartbeat&) = delete;
  ~Heartbeat() {
    g_source_destroy(source_);
    g_source_unref(source_);
  }

  void runFor(milliseconds time) {
    beat_ = std::chrono::steady_clock::now();
    const auto end = beat_ + time;
    while (std::chrono::steady_clock::now() < end) {
      g_main_context_iteration(nullptr, TRUE);
    }
  }
  /// Notes how long a call takes that a host makes on its main thread.
  void during(const std::function<void()>& call) {
    beat_ = std::chrono::steady_clock::now();
    call();
    note();
  }
  [[nodiscard]] milliseconds longest() const { return std::chrono::duration_cast<milliseconds>(longest_); }

 private:
  void note() {
    const auto now = std::chrono::steady_clock::now();
    longest_ = std::max(longest_, now - beat_);
    beat_ = now;
  }

  std::chrono::steady_clock::time_point beat_;
  std::chrono::steady_clock::duration longest_{0};
  GSource* const source_;
};

/// Holds a process still for as long as it lives.
class Stopped {
 public:
  /// Throws for what is no single process.
  explicit Stopped(pid_t pid) : pid_(pid) {
    if (pid <= 1) {
      throw std::invalid_argument("no process to be stopped");
    }
    kill(pid_, SIGSTOP);
  }
  Stopped(const Stopped&) = delete;
  Stopped& operator=(const Stopped&) = delete;
  ~Stopped() { kill(pid_, SIGCONT); }

 private:
  const pid_t pid_;
};

/// The process of this desktop's X server.
inline pid_t xServerPid() {
  const std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)> x(xcb_connect(nullptr, nullptr), xcb_disconnect);
  ucred server{};
  socklen_t length = sizeof server;
  getsockopt(xcb_get_file_descriptor(x.get()), SOL_SOCKET, SO_PEERCRED, &server, &length);
  return server.pid;
}

/// A session on this desktop while something around it is broken.
struct SickDesktop {
  struct Host final : ZQLoggerDelegate {
    int clicks = 0;
    int records = 0;
    std::string last;
    std::string text;  ///< of all chunks
    void onClick(const std::string&, const std::string& path, const std::string&, const std::vector<ZQTextDetection>&,
                 const std::vector<ZQRectangleDetection>&, CGPoint, bool) override {
      last = path;
      ++clicks;
    }
    void onLogChunkAvailable(const std::vector<EventDictionary>& events, const std::string& json, bool,
                             std::function<void(bool)> answer) override {
      text += json;
      records += static_cast<int>(events.size());
      answer(true);
    }
    void onBlackListed(const std::string&, const std::string&, const std::string&, bool) override {}
  };

  SickDesktop() { service->setDelegate(host); }

  /// The longest hold of the main thread from before `start` until after `stop`, in the sickness.
  milliseconds longestHold(milliseconds time, const std::function<std::shared_ptr<void>()>& fallSick) {
    Heartbeat heart;
    heart.during([&] { service->start("sick", {}, {}); });
    heart.runFor(milliseconds(500));
    {
      const auto sickness = fallSick();
      for (int i = 0; i < 8; ++i) {
        heart.during([&] { service->processExternalEvent(1 + i % 2, 100, 1023 - 66, 1, ""); });
      }
      heart.runFor(time);
      heart.during([&] { service->checkAccessibilityPermission(false); });
      heart.during([&] { service->stop(nullptr); });
      heart.during([&] { service->start("sick", {}, {}); });
      heart.runFor(milliseconds(500));
    }
    heart.runFor(milliseconds(500));
    heart.during([&] { service->stop(nullptr); });
    return heart.longest();
  }

  const std::shared_ptr<Host> host = std::make_shared<Host>();
  const std::shared_ptr<ZQLoggingervice> service = std::make_shared<ZQLoggingervice>(systemDesktop());
};

}  // namespace zqlogging::testing
