#include "linux/loop/Handover.h"

#include <algorithm>

#include "linux/loop/DesktopThread.h"
#include "linux/system/MonotonicTime.h"

namespace zqlogging {
namespace {

constexpr std::size_t kMaxWaiting = 64;
constexpr std::uint64_t kSlice = 5'000;  // microseconds

}  // namespace

void Handover::post(Key key, Task task) {
  bool schedule = false;
  {
    const std::lock_guard lock(mutex_);
    dropped += std::erase_if(waiting_, [key](const auto& each) { return each.first == key; });
    if (waiting_.size() == kMaxWaiting) {
      waiting_.pop_front();
      ++dropped;
    }
    waiting_.emplace_back(key, std::move(task));
    schedule = !std::exchange(isScheduled_, true);
  }
  if (schedule) {
    runOn(context_, [self = shared_from_this()] { self->runSlice(); });
  }
}

void Handover::clear() {
  const std::lock_guard lock(mutex_);
  waiting_.clear();
}

void Handover::runSlice() {
  const std::uint64_t end = monotonicMicroseconds() + kSlice;
  do {
    Task task;
    {
      const std::lock_guard lock(mutex_);
      if (waiting_.empty()) {
        isScheduled_ = false;
        return;
      }
      task = std::move(waiting_.front().second);
      waiting_.pop_front();
    }
    task();
  } while (monotonicMicroseconds() < end);
  runOn(context_, [self = shared_from_this()] { self->runSlice(); });
}

}  // namespace zqlogging
