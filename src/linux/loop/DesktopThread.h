#pragma once

#include <functional>
#include <memory>
#include <mutex>

typedef struct _GMainContext GMainContext;

namespace zqlogging {

/// The library's own thread, which speaks to the X server and the buses so that the host's main thread never waits for
/// them. It runs as long as somebody holds its loop or a task waits, and starts again when needed. Any thread.
class DesktopThread {
 public:
  class Loop;
  using Task = std::function<void()>;

  DesktopThread();
  DesktopThread(const DesktopThread&) = delete;
  DesktopThread& operator=(const DesktopThread&) = delete;
  /// Waits for the task being run; drops the others.
  ~DesktopThread();

  /// The running loop, started if there is none. Throws std::system_error when there is no thread to be had.
  std::shared_ptr<Loop> loop();
  /// Runs the task on the thread, in the order of the calls. Without a thread it is dropped, with a line in the log.
  void run(Task task);
  /// As the destructor does; no loop starts any more.
  void stop();

 private:
  struct Running;

  std::mutex mutex_;
  std::weak_ptr<Loop> loop_;
  const std::shared_ptr<Running> running_;
};

/// Keeps the thread running.
class DesktopThread::Loop : public std::enable_shared_from_this<Loop> {
 public:
  explicit Loop(std::shared_ptr<Running> running);
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;
  ~Loop();

  [[nodiscard]] GMainContext* context() const;
  void run(Task task);
  /// Runs the task after the delay, unless the loop has ended before: the task doesn't keep it running.
  void runAfter(unsigned milliseconds, Task task);

 private:
  friend struct DesktopThread::Running;
  struct Turns;
  std::shared_ptr<Turns> turns_;
};

/// Runs the task on the thread that runs the context, in the order of the calls.
void runOn(GMainContext* context, std::function<void()> task);

}  // namespace zqlogging
