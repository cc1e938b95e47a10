#pragma once

#include <pthread.h>
#include <signal.h>

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace zqlogging {

/// Runs tasks one after the other beside all other threads, on one that is there only while there are any. Nobody waits
/// for it, so a task must hold what it uses.
class TaskThread {
 public:
  using Task = std::function<void()>;

  /// Any thread. Throws std::system_error when no thread can be had; the task is then kept for the next one.
  void run(Task task) {
    {
      const std::lock_guard lock(shared_->mutex);
      shared_->tasks.push_back(std::move(task));
      if (std::exchange(shared_->isRunning, true)) {
        return;
      }
    }
    // The host's signal handlers have no business on this thread.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
      std::thread([shared = shared_] { work(*shared); }).detach();
    } catch (...) {
      pthread_sigmask(SIG_SETMASK, &before, nullptr);
      const std::lock_guard lock(shared_->mutex);
      shared_->isRunning = false;
      throw;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
  }

 private:
  struct Shared {
    std::mutex mutex;
    std::deque<Task> tasks;
    bool isRunning = false;
  };

  static void work(Shared& shared) {
    for (;;) {
      Task task;
      {
        const std::lock_guard lock(shared.mutex);
        if (shared.tasks.empty()) {
          shared.isRunning = false;
          return;
        }
        task = std::move(shared.tasks.front());
        shared.tasks.pop_front();
      }
      task();
    }
  }

  const std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
};

}  // namespace zqlogging
