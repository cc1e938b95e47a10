#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/Platform.h"

namespace zqlogging::port {

/// The clock and the main loop of a scripted desktop. Nothing sleeps: time moves when it is told to, and tasks run
/// when the owner of the main thread asks for them. Kept in whole nanoseconds, so that steps of 0.1 s add up.
class VirtualTime final : public MainLoop, public Clock {
 public:
  /// The constructing thread is the main thread until `adoptMainThread` names another.
  VirtualTime();

  void setWallTime(double secondsSince1970);
  /// The calling thread is the main thread from now on.
  void adoptMainThread();

  /// Runs what is queued with `runSoon`, and what that queues in turn. True when there was anything.
  bool runQueued();
  /// Moves the clock to `duration` from now and runs what falls due on the way, in the order of the due times and
  /// among equals in the order of asking; `settle` is called after each. While a task runs the clock shows its due
  /// time, or later if something let time pass beyond it.
  void advance(std::chrono::nanoseconds duration, const std::function<void()>& settle);
  /// Moves the clock and runs nothing: someone has waited.
  void pass(std::chrono::nanoseconds duration);

  [[nodiscard]] bool isMainThread() const override;
  void runSoon(Task task) override;
  void runAfter(std::chrono::milliseconds delay, Task task) override;
  std::unique_ptr<Timer> startRepeatingTimer(std::chrono::milliseconds interval,
                                             std::function<void(const Timer&)> fire) override;
  [[nodiscard]] double wallTime() const override;
  [[nodiscard]] double steadyTime() const override;

 private:
  class RepeatingTimer;
  class TimerHandle;
  using Due = std::pair<std::chrono::nanoseconds, std::uint64_t>;  // when, and which was asked for first

  void schedule(std::chrono::nanoseconds due, Task task);
  void schedule(std::chrono::nanoseconds due, const std::shared_ptr<RepeatingTimer>& timer);
  void fire(const std::shared_ptr<RepeatingTimer>& timer, std::chrono::nanoseconds due);

  mutable std::mutex mutex_;
  std::thread::id mainThread_;
  double wallStart_ = 1700000000.0;
  std::chrono::nanoseconds now_{0};
  std::uint64_t asked_ = 0;
  std::deque<Task> queued_;
  std::map<Due, Task> due_;
};

}  // namespace zqlogging::port
