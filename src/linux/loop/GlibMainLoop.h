#pragma once

#include "platform/Platform.h"

namespace zqlogging {

/// GLib's default main context: the loop of GTK hosts, of Qt hosts on Linux, and of hosts that pump it.
/// The main thread is the one that runs the context, and the process's first thread as long as none has run it.
class GlibMainLoop final : public port::MainLoop {
 public:
  [[nodiscard]] bool isMainThread() const override;
  void runSoon(port::Task task) override;
  void runAfter(std::chrono::milliseconds delay, port::Task task) override;
  /// Intervals of whole seconds are kept to the second, so that the process wakes up together with others.
  std::unique_ptr<port::Timer> startRepeatingTimer(std::chrono::milliseconds interval,
                                                   std::function<void(const port::Timer&)> fire) override;

  /// Runs what is due on the calling thread; see zqlogging::pumpMainLoop.
  static void pump(std::chrono::milliseconds wait);
  /// Ends a waiting `pump`, or the next one when none waits.
  static void wake();
};

}  // namespace zqlogging
