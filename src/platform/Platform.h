#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/Accessibility.h"
#include "platform/Session.h"
#include "platform/TextRecognition.h"
#include "platform/Workspace.h"

namespace zqlogging {
class SystemWideElement;
}

namespace zqlogging::port {

/// The one exception type that port implementations throw.
class PlatformException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A repeating timer of the main loop. Destroying it, or `invalidate`, ends it; any thread.
class Timer {
 public:
  virtual ~Timer() = default;
  virtual void invalidate() = 0;
};

using Task = std::function<void()>;

/// The loop of the main thread. All operations may be called from any thread; tasks run on the main thread.
class MainLoop {
 public:
  virtual ~MainLoop() = default;
  [[nodiscard]] virtual bool isMainThread() const = 0;
  virtual void runSoon(Task task) = 0;
  virtual void runAfter(std::chrono::milliseconds delay, Task task) = 0;
  virtual std::unique_ptr<Timer> startRepeatingTimer(std::chrono::milliseconds interval,
                                                     std::function<void(const Timer&)> fire) = 0;
};

/// Texts kept under keys across launches of the host.
class Defaults {
 public:
  virtual ~Defaults() = default;
  virtual void setString(const std::string& key, const std::string& value) = 0;
  virtual std::optional<std::string> string(const std::string& key) = 0;
};

class Clock {
 public:
  virtual ~Clock() = default;
  /// Seconds since 1970-01-01 00:00 UTC.
  [[nodiscard]] virtual double wallTime() const = 0;
  /// Seconds since some fixed moment; never steps back.
  [[nodiscard]] virtual double steadyTime() const = 0;
};

/// Where lines for people go: the system log with subsystem and category, the general log, standard output.
class LogSinks {
 public:
  virtual ~LogSinks() = default;
  virtual void systemLog(std::string_view subsystem, std::string_view category, std::string_view message) = 0;
  virtual void generalLog(std::string_view message) = 0;
  virtual void standardOutput(std::string_view line) = 0;
};

/// What the system needs from a desktop. Lives longer than every object that it hands out.
class Platform {
 public:
  Platform() = default;
  Platform(const Platform&) = delete;
  Platform& operator=(const Platform&) = delete;
  virtual ~Platform() = default;

  virtual Accessibility& accessibility() = 0;
  virtual Workspace& workspace() = 0;
  virtual MainLoop& mainLoop() = 0;
  virtual Defaults& defaults() = 0;
  virtual Clock& clock() = 0;
  virtual LogSinks& logs() = 0;
  /// A text recognizer of its own for each service, created without loading an engine. Never null.
  virtual std::unique_ptr<TextRecognition> createTextRecognition() = 0;
  /// The folder of the session log file; created when it is missing.
  virtual std::string cachesFolder() = 0;
  /// Whether all work, long reads and changes of files included, is done on the thread that gives rise to it, so that
  /// everything happens in one order.
  [[nodiscard]] virtual bool worksInline() const { return false; }
  /// The host application's identifier, e.g. its desktop entry id.
  virtual std::optional<std::string> hostIdentifier() = 0;
  /// The care for the session; null on a desktop that needs none.
  virtual Session* session() { return nullptr; }

  /// Runs a task that waits for the desktop, in the order of the calls, where it holds nobody: not on the main thread
  /// where there is another one for it. A desktop that nobody waits for runs it at once. Any thread.
  virtual void runAside(Task task) { task(); }
  /// For a task that runs aside: goes on, on the main thread, in the order of the calls.
  virtual void returnToMain(Task task) { task(); }

  /// The accessibility layer's one wrapper of this desktop's system-wide element, kept here so that it lives as long
  /// as the desktop does.
  struct {
    std::mutex mutex;
    std::shared_ptr<SystemWideElement> element;
  } sharedSystemWide;
};

/// The desktop that this build was made for; one per process.
std::shared_ptr<Platform> systemPlatform();

}  // namespace zqlogging::port
