#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

typedef struct _GMainContext GMainContext;

namespace zqlogging {

/// Hands notifications over to the thread of a main context, so that however many there are they never hold it for
/// long: of those with one key only the newest waits, no more than a fixed number wait in all, and they are run in
/// slices of a few milliseconds. Any thread.
class Handover : public std::enable_shared_from_this<Handover> {
 public:
  using Key = std::uint64_t;
  using Task = std::function<void()>;

  /// Counts, over all of them, what has made room for something newer.
  static inline std::atomic<std::uint64_t> dropped = 0;

  explicit Handover(GMainContext* context) : context_(context) {}

  void post(Key key, Task task);
  /// Drops what waits.
  void clear();

 private:
  void runSlice();

  GMainContext* const context_;
  std::mutex mutex_;
  std::deque<std::pair<Key, Task>> waiting_;
  bool isScheduled_ = false;
};

}  // namespace zqlogging
