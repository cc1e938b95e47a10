#pragma once

#include <exception>
#include <functional>
#include <mutex>
#include <string>

#include "json/JsonValue.h"

namespace zqlogging {

/// Prints the lines of a scenario, one at a time. Any thread.
class ScenarioOutput {
 public:
  using Print = std::function<void(const std::string&)>;

  explicit ScenarioOutput(Print print) : print_(std::move(print)) {}

  /// Prints one object. What `print` throws is kept for the main thread, and nothing is printed after it.
  void line(JsonValue::Object object) {
    const std::string text = JsonValue(std::move(object)).text();
    const std::lock_guard lock(mutex_);
    if (failure_) {
      return;
    }
    try {
      print_(text);
    } catch (...) {
      failure_ = std::current_exception();
    }
  }
  void rethrowFailure() {
    const std::lock_guard lock(mutex_);
    if (failure_) {
      std::rethrow_exception(failure_);
    }
  }

 private:
  const Print print_;
  std::mutex mutex_;
  std::exception_ptr failure_;
};

}  // namespace zqlogging
