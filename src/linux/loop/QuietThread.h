#pragma once

#include <pthread.h>
#include <signal.h>

#include <functional>
#include <thread>
#include <utility>

namespace zqlogging {

/// Starts a thread that takes no signals: the host's handlers have no business on it. Throws std::system_error when
/// there is no thread to be had.
inline std::thread startQuietThread(const char* name, std::function<void()> work) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  std::thread thread;
  try {
    thread = std::thread(std::move(work));
  } catch (...) {
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    throw;
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  pthread_setname_np(thread.native_handle(), name);
  return thread;
}

}  // namespace zqlogging
