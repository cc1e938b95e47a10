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
  /// \param pointer  where the fault is; empty for the whole text
  /// \param message  what is wrong, in one line
  ScenarioError(std::string pointer, const std::string& message);
  ~ScenarioError() override;
  /// Where the fault is.
  /// \return  a JSON pointer, e.g. "/steps/0/do"; owned by this object
  [[nodiscard]] const std::string& pointer() const { return pointer_; }

 private:
  std::string pointer_;
};

/// A desktop in memory under a virtual clock, and what happens on it, read from JSON (docs/scenario-format.md).
/// Needs no display and no accessibility service: for tests of a host's own integration and for field reports.
/// One thread at a time.
class ZQ_EXPORT Scenario {
 public:
  /// Reads and checks the whole scenario. Nothing runs yet. Throws ScenarioError for the first fault.
  /// \param json  the scenario; not needed any more after the return
  explicit Scenario(std::string_view json);
  ~Scenario();
  Scenario(const Scenario&) = delete;
  Scenario& operator=(const Scenario&) = delete;

  /// Builds the desktop, runs one service on it through all steps on the calling thread, which counts as the main
  /// thread. Blocks until the last step is done; the virtual clock waits for nothing. Uses a private temporary folder,
  /// removed at the end. Throws std::logic_error when it was played before, and what the file system says when the
  /// folder cannot be had.
  /// \param print  gets each output line (a JSON object, without line feed), from this thread or the service's worker,
  ///               one at a time; must not throw
  void play(const std::function<void(const std::string& line)>& print);

 private:
  struct Player;
  std::unique_ptr<Player> player_;
};

}  // namespace zqlogging
