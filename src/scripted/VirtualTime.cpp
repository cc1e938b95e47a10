#include "scripted/VirtualTime.h"

#include <algorithm>
#include <atomic>

namespace zqlogging::port {

using std::chrono::nanoseconds;

namespace {

/// Where the clock stops, some hundred years on, so that it cannot overflow.
nanoseconds after(nanoseconds now, nanoseconds duration) {
  constexpr nanoseconds kEnd = nanoseconds::max() / 2;
  return duration < kEnd - now ? now + duration : kEnd;
}

}  // namespace

/// Shared by the handle that the caller owns and by the loop, so that it survives being ended while it fires.
class VirtualTime::RepeatingTimer final : public Timer {
 public:
  RepeatingTimer(nanoseconds every, std::function<void(const Timer&)> handler)
      : interval(every), fire(std::move(handler)) {}
  void invalidate() override { valid = false; }

  const nanoseconds interval;
  const std::function<void(const Timer&)> fire;
  std::atomic<bool> valid = true;
};

class VirtualTime::TimerHandle final : public Timer {
 public:
  explicit TimerHandle(std::shared_ptr<RepeatingTimer> timer) : timer_(std::move(timer)) {}
  void invalidate() override { timer_->invalidate(); }

 private:
  std::shared_ptr<RepeatingTimer> timer_;
};

VirtualTime::VirtualTime() : mainThread_(std::this_thread::get_id()) {}

void VirtualTime::setWallTime(double secondsSince1970) {
  const std::lock_guard lock(mutex_);
  wallStart_ = secondsSince1970 - std::chrono::duration<double>(now_).count();
}

void VirtualTime::adoptMainThread() {
  const std::lock_guard lock(mutex_);
  mainThread_ = std::this_thread::get_id();
}

bool VirtualTime::runQueued() {
  bool any = false;
  for (;;) {
    Task task;
    {
      const std::lock_guard lock(mutex_);
      if (queued_.empty()) {
        return any;
      }
      task = std::move(queued_.front());
      queued_.pop_front();
    }
    task();
    any = true;
  }
}

void VirtualTime::advance(nanoseconds duration, const std::function<void()>& settle) {
  std::unique_lock lock(mutex_);
  const nanoseconds target = after(now_, duration);
  while (!due_.empty() && due_.begin()->first.first <= target) {
    auto next = due_.extract(due_.begin());
    now_ = std::max(now_, next.key().first);
    lock.unlock();
    next.mapped()();
    settle();
    lock.lock();
  }
  now_ = std::max(now_, target);
}

void VirtualTime::pass(nanoseconds duration) {
  const std::lock_guard lock(mutex_);
  now_ = after(now_, duration);
}

bool VirtualTime::isMainThread() const {
  const std::lock_guard lock(mutex_);
  return std::this_thread::get_id() == mainThread_;
}

void VirtualTime::runSoon(Task task) {
  const std::lock_guard lock(mutex_);
  queued_.push_back(std::move(task));
}

void VirtualTime::runAfter(std::chrono::milliseconds delay, Task task) {
  const std::lock_guard lock(mutex_);
  schedule(now_ + delay, std::move(task));
}

std::unique_ptr<Timer> VirtualTime::startRepeatingTimer(std::chrono::milliseconds interval,
                                                        std::function<void(const Timer&)> fire) {
  // A timer without an interval would fire for ever and keep every other task waiting.
  const auto timer =
      std::make_shared<RepeatingTimer>(std::max(interval, std::chrono::milliseconds(1)), std::move(fire));
  const std::lock_guard lock(mutex_);
  schedule(now_ + timer->interval, timer);
  return std::make_unique<TimerHandle>(timer);
}

void VirtualTime::schedule(nanoseconds due, Task task) { due_.emplace(Due(due, asked_++), std::move(task)); }

void VirtualTime::schedule(nanoseconds due, const std::shared_ptr<RepeatingTimer>& timer) {
  schedule(due, [this, timer = std::weak_ptr(timer), due] {
    if (const auto alive = timer.lock()) {
      fire(alive, due);
    }
  });
}

void VirtualTime::fire(const std::shared_ptr<RepeatingTimer>& timer, nanoseconds due) {
  if (!timer->valid) {
    return;
  }
  {
    // The timer keeps its rhythm; turns that were missed while someone waited are left out.
    const std::lock_guard lock(mutex_);
    const auto turns = (now_ - due) / timer->interval + 1;
    schedule(due + turns * timer->interval, timer);
  }
  timer->fire(*timer);
}

double VirtualTime::wallTime() const {
  const std::lock_guard lock(mutex_);
  return wallStart_ + std::chrono::duration<double>(now_).count();
}

double VirtualTime::steadyTime() const {
  const std::lock_guard lock(mutex_);
  return std::chrono::duration<double>(now_).count();
}

}  // namespace zqlogging::port
