#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/Platform.h"

namespace zqlogging::port {

/// A line that went to one of the log sinks.
struct ScriptedLogLine {
  enum class Sink { system, general, standardOutput };
  Sink sink;
  std::string subsystem;  ///< of the system log alone, as is the category
  std::string category;
  std::string message;
};

/// Hands every log line to a listener, on the thread that writes it; without one the lines are dropped.
class ScriptedLogs final : public LogSinks {
 public:
  using Listener = std::function<void(const ScriptedLogLine&)>;

  void listen(Listener listener) {
    const std::lock_guard lock(mutex_);
    listener_ = std::move(listener);
  }

  void systemLog(std::string_view subsystem, std::string_view category, std::string_view message) override {
    give({ScriptedLogLine::Sink::system, std::string(subsystem), std::string(category), std::string(message)});
  }
  void generalLog(std::string_view message) override {
    give({ScriptedLogLine::Sink::general, {}, {}, std::string(message)});
  }
  void standardOutput(std::string_view line) override {
    give({ScriptedLogLine::Sink::standardOutput, {}, {}, std::string(line)});
  }

 private:
  void give(const ScriptedLogLine& line) {
    Listener listener;
    {
      const std::lock_guard lock(mutex_);
      listener = listener_;
    }
    if (listener) {
      listener(line);
    }
  }

  std::mutex mutex_;
  Listener listener_;
};

}  // namespace zqlogging::port
