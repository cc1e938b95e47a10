#include "linux/loop/DesktopThread.h"

#include <glib.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "linux/loop/QuietThread.h"
#include "linux/system/LinuxLogs.h"

namespace zqlogging {
namespace {

using Task = DesktopThread::Task;

gboolean runTask(gpointer data) {
  try {
    (*static_cast<Task*>(data))();
  } catch (const std::exception& error) {
    LinuxLogs().generalLog(std::string("ZQLogging: a task failed: ") + error.what());
  } catch (...) {
    LinuxLogs().generalLog("ZQLogging: a task failed");
  }
  return G_SOURCE_REMOVE;
}

void attach(GSource* source, GMainContext* context, Task task) {
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  g_source_set_callback(source, runTask, new Task(std::move(task)),
                        [](gpointer data) { delete static_cast<Task*>(data); });
  g_source_attach(source, context);
  g_source_unref(source);
}

}  // namespace

void runOn(GMainContext* context, std::function<void()> task) { attach(g_idle_source_new(), context, std::move(task)); }

/// What the thread itself needs.
struct DesktopThread::Loop::Turns {
  GMainContext* const context = g_main_context_new();
  std::atomic<bool> isOver = false;

  Turns() = default;
  Turns(const Turns&) = delete;
  Turns& operator=(const Turns&) = delete;
  ~Turns() { g_main_context_unref(context); }

  void end() {
    isOver = true;
    g_main_context_wakeup(context);
  }
  void take() {
    g_main_context_push_thread_default(context);
    while (!isOver) {
      g_main_context_iteration(context, TRUE);
    }
    // What was still to be run is dropped, and with it what it holds.
    constexpr int kTurns = 3;
    for (int i = 0; i < kTurns; ++i) {
      g_main_context_iteration(context, FALSE);
    }
    g_main_context_pop_thread_default(context);
  }
};

/// The threads that have not ended yet.
struct DesktopThread::Running {
  std::mutex mutex;
  std::condition_variable ended;
  bool stopped = false;
  std::vector<std::shared_ptr<Loop::Turns>> turns;
};

DesktopThread::Loop::Loop(std::shared_ptr<Running> running) : turns_(std::make_shared<Turns>()) {
  const std::lock_guard lock(running->mutex);
  if (running->stopped) {
    turns_->isOver = true;
    return;
  }
  startQuietThread("Desktop", [running, turns = turns_] {
    turns->take();
    const std::lock_guard endLock(running->mutex);
    std::erase(running->turns, turns);
    running->ended.notify_all();
  }).detach();
  running->turns.push_back(turns_);
}

DesktopThread::Loop::~Loop() { turns_->end(); }

GMainContext* DesktopThread::Loop::context() const { return turns_->context; }

void DesktopThread::Loop::run(Task task) {
  if (turns_->isOver) {
    return;
  }
  runOn(turns_->context, [self = shared_from_this(), task = std::move(task)] {
    if (!self->turns_->isOver) {
      task();
    }
  });
}

void DesktopThread::Loop::runAfter(unsigned milliseconds, Task task) {
  attach(g_timeout_source_new(milliseconds), turns_->context, std::move(task));
}

DesktopThread::DesktopThread() : running_(std::make_shared<Running>()) {}
DesktopThread::~DesktopThread() { stop(); }

std::shared_ptr<DesktopThread::Loop> DesktopThread::loop() {
  const std::lock_guard lock(mutex_);
  auto loop = loop_.lock();
  if (!loop) {
    loop_ = loop = std::make_shared<Loop>(running_);
  }
  return loop;
}

void DesktopThread::run(Task task) {
  try {
    loop()->run(std::move(task));
  } catch (const std::system_error& error) {
    LinuxLogs().generalLog(std::string("ZQLogging: no thread for the desktop: ") + error.what());
  }
}

void DesktopThread::stop() {
  std::unique_lock lock(running_->mutex);
  running_->stopped = true;
  for (const auto& turns : running_->turns) {
    turns->end();
  }
  running_->ended.wait(lock, [this] { return running_->turns.empty(); });
}

}  // namespace zqlogging
