#pragma once

#include <chrono>

#include "scripted/ScriptedPlatform.h"
#include "service/ServiceInspector.h"

namespace zqlogging {

/// Runs everything that is queued, on the service's worker and on the main queue, until both have nothing left to
/// do. The clock stands still. On the main thread.
inline void settle(ZQLoggingervice& service, port::ScriptedPlatform& platform) {
  do {
    ServiceInspector(service).waitForWorker();
  } while (platform.time().runQueued());
}

/// Moves the clock, running what falls due in order and settling after each.
inline void advance(ZQLoggingervice& service, port::ScriptedPlatform& platform, std::chrono::nanoseconds duration) {
  platform.time().advance(duration, [&] { settle(service, platform); });
}

}  // namespace zqlogging
