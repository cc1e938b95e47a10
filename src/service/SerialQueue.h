#pragma once

#include <pthread.h>
#include <signal.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace zqlogging {

/// Handles items one at a time, in order, on one worker thread that the first item starts.
/// Destroying it drops what has not begun. On another thread it then waits for the item being handled, so the handler
/// must own nothing that is destroyed together with the queue; on the worker itself it waits for nothing.
template <class Item>
class SerialQueue {
 public:
  using Handler = std::function<void(Item&)>;

  SerialQueue() = default;
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  ~SerialQueue() {
    {
      const std::lock_guard lock(shared_->mutex);
      shared_->stopping = true;
    }
    shared_->wake.notify_one();
    if (worker_.get_id() == std::this_thread::get_id()) {
      worker_.detach();  // it returns as soon as the item that ended the queue has
    } else if (worker_.joinable()) {
      worker_.join();
    }
  }

  /// Any thread. `makeHandler` gives the handler when there is no worker yet. Throws std::system_error when no thread
  /// can be had; the item is then kept for the worker that a later call starts.
  template <class MakeHandler>
  void push(Item item, const MakeHandler& makeHandler) {
    bool wake = false;
    {
      const std::lock_guard lock(shared_->mutex);
      shared_->pending.push_back(std::move(item));
      wake = std::exchange(shared_->sleeping, false);
      if (!worker_.joinable()) {
        start(makeHandler());
      }
    }
    if (wake) {
      shared_->wake.notify_one();
    }
  }

  /// Waits until everything pushed so far has been handled. Not on the worker.
  void waitUntilIdle() {
    std::unique_lock lock(shared_->mutex);
    shared_->idle.wait(lock, [&] { return shared_->pending.empty() && !shared_->busy; });
  }

 private:
  struct Shared {
    std::mutex mutex;
    std::condition_variable wake;
    std::condition_variable idle;
    std::vector<Item> pending;
    bool sleeping = false;  // the worker waits for `wake`
    bool busy = false;
    bool stopping = false;
  };

  void start(Handler handler) {
    // The host's signal handlers have no business on this thread.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
      worker_ = std::thread([shared = shared_, handle = std::move(handler)] { work(*shared, handle); });
    } catch (...) {
      pthread_sigmask(SIG_SETMASK, &before, nullptr);
      throw;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_setname_np(worker_.native_handle(), "Serial");
  }

  static void work(Shared& shared, const Handler& handle) {
    std::vector<Item> batch;
    std::unique_lock lock(shared.mutex);
    while (!shared.stopping) {
      if (shared.pending.empty()) {
        shared.idle.notify_all();
        shared.sleeping = true;
        shared.wake.wait(lock, [&] { return !shared.pending.empty() || shared.stopping; });
        shared.sleeping = false;
        continue;
      }
      batch.swap(shared.pending);
      shared.busy = true;
      for (Item& item : batch) {
        lock.unlock();
        handle(item);
        lock.lock();
        if (shared.stopping) {
          break;
        }
      }
      batch.clear();
      shared.busy = false;
    }
    shared.busy = false;
    shared.pending.clear();
    shared.idle.notify_all();
  }

  std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
  std::thread worker_;
};

}  // namespace zqlogging
