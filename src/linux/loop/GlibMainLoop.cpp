#include "linux/loop/GlibMainLoop.h"

#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <thread>
#include <utility>

#include "linux/system/LinuxLogs.h"

namespace zqlogging {
namespace {

/// The thread that was last seen running the default context; 0 when none was.
std::atomic<pid_t> contextThread = 0;
std::atomic<bool> wakeRequested = false;

/// True when the source is to stay.
using SourceCall = std::function<bool()>;

gboolean dispatch(gpointer data) {
  contextThread.store(gettid(), std::memory_order_relaxed);
  try {
    return (*static_cast<SourceCall*>(data))() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
  } catch (const std::exception& error) {
    LinuxLogs().generalLog(std::string("ZQLogging: a task of the main loop failed: ") + error.what());
  } catch (...) {
    LinuxLogs().generalLog("ZQLogging: a task of the main loop failed");
  }
  return G_SOURCE_CONTINUE;
}

void attach(GSource* source, SourceCall call) {
  // Sources of one priority run in the order in which they became due.
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  g_source_set_callback(source, dispatch, new SourceCall(std::move(call)),
                        [](gpointer data) { delete static_cast<SourceCall*>(data); });
  g_source_attach(source, nullptr);
}

void attachOnce(GSource* source, port::Task task) {
  attach(source, [task = std::move(task), done = false]() mutable {
    if (!std::exchange(done, true)) {
      task();
    }
    return false;
  });
  g_source_unref(source);
}

guint clampedMilliseconds(std::chrono::milliseconds time) {
  return static_cast<guint>(std::clamp<std::int64_t>(time.count(), 0, std::numeric_limits<gint>::max()));
}

GSource* createTimeoutSource(std::chrono::milliseconds interval) {
  const guint milliseconds = clampedMilliseconds(interval);
  constexpr guint kSecond = 1000;
  return milliseconds >= kSecond && milliseconds % kSecond == 0 ? g_timeout_source_new_seconds(milliseconds / kSecond)
                                                                : g_timeout_source_new(milliseconds);
}

/// What the source of a repeating timer refers to: the source may outlive the handle by one firing.
class TimerState final : public port::Timer {
 public:
  explicit TimerState(GSource* source) : source_(source) {}
  TimerState(const TimerState&) = delete;
  TimerState& operator=(const TimerState&) = delete;
  ~TimerState() override { g_source_unref(source_); }

  void invalidate() override {
    valid_ = false;
    g_source_destroy(source_);
  }
  [[nodiscard]] bool valid() const { return valid_; }

 private:
  GSource* const source_;
  std::atomic<bool> valid_ = true;
};

class TimerHandle final : public port::Timer {
 public:
  explicit TimerHandle(std::shared_ptr<TimerState> state) : state_(std::move(state)) {}
  TimerHandle(const TimerHandle&) = delete;
  TimerHandle& operator=(const TimerHandle&) = delete;
  ~TimerHandle() override { state_->invalidate(); }
  void invalidate() override { state_->invalidate(); }

 private:
  const std::shared_ptr<TimerState> state_;
};

}  // namespace

bool GlibMainLoop::isMainThread() const {
  if (g_main_context_is_owner(nullptr)) {
    return true;
  }
  const pid_t known = contextThread.load(std::memory_order_relaxed);
  return gettid() == (known != 0 ? known : getpid());
}

void GlibMainLoop::runSoon(port::Task task) { attachOnce(g_idle_source_new(), std::move(task)); }

void GlibMainLoop::runAfter(std::chrono::milliseconds delay, port::Task task) {
  attachOnce(g_timeout_source_new(clampedMilliseconds(delay)), std::move(task));
}

std::unique_ptr<port::Timer> GlibMainLoop::startRepeatingTimer(std::chrono::milliseconds interval,
                                                               std::function<void(const port::Timer&)> fire) {
  GSource* source = createTimeoutSource(interval);
  auto state = std::make_shared<TimerState>(source);
  attach(source, [weak = std::weak_ptr(state), fire = std::move(fire)] {
    const auto timer = weak.lock();
    if (timer && timer->valid()) {
      fire(*timer);
    }
    return timer && timer->valid();
  });
  return std::make_unique<TimerHandle>(std::move(state));
}

void GlibMainLoop::pump(std::chrono::milliseconds wait) {
  GMainContext* context = g_main_context_default();
  if (!g_main_context_acquire(context)) {  // another thread runs the loop: then there is nothing to do here
    std::this_thread::sleep_for(wait);
    return;
  }
  contextThread.store(gettid(), std::memory_order_relaxed);
  if (wait <= std::chrono::milliseconds::zero()) {
    g_main_context_iteration(context, FALSE);
  } else {
    GSource* timeOver = g_timeout_source_new(clampedMilliseconds(wait));
    g_source_set_callback(
        timeOver, [](gpointer) { return G_SOURCE_REMOVE; }, nullptr, nullptr);
    g_source_attach(timeOver, context);
    bool woken = false;
    do {
      woken = wakeRequested.exchange(false);
    } while (!g_main_context_iteration(context, !woken) && !woken);
    g_source_destroy(timeOver);
    g_source_unref(timeOver);
  }
  g_main_context_release(context);
}

void GlibMainLoop::wake() {
  wakeRequested = true;
  g_main_context_wakeup(nullptr);
}

}  // namespace zqlogging
