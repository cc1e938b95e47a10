#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "zqlogging/Export.h"

namespace zqlogging {

/// A fault in a scenario: what is wrong, and the JSON pointer of where.
class ZQ_EXPORT ScenarioError : public std::runtime_error {
 public:
  ScenarioError(std::string pointer, const std::string& message);
  ~ScenarioError() override;
  [[nodiscard]] const std::string& pointer() const { return pointer_; }

 private:
  std::string pointer_;
};

/// A desktop in memory under a virtual clock, and what happens on it, read from JSON (docs/scenario-format.md).
/// Needs no display and no accessibility service: for tests of a host's own integration and for field reports.
class ZQ_EXPORT Scenario {
 public:
  /// Reads and checks the whole scenario; throws ScenarioError for the first fault. Nothing runs yet.
  explicit Scenario(std::string_view json);
  ~Scenario();
  Scenario(const Scenario&) = delete;
  Scenario& operator=(const Scenario&) = delete;

  /// Builds the desktop, runs one service on it through all steps on the calling thread, which counts as the main
  /// thread, and gives each output line (a JSON object, without line feed) to `print`, from this thread or the
  /// service's worker, one at a time. Uses a private temporary folder, removed at the end. Play once.
  void play(const std::function<void(const std::string& line)>& print);

 private:
  struct Player;
  std::unique_ptr<Player> player_;
};

}  // namespace zqlogging
