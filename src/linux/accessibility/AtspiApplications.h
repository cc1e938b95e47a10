#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "linux/atspi/AtspiFact.h"

namespace zqlogging {

class AtspiReader;

/// What is kept of applications over all reads: what stays true for as long as the bus name exists, and guesses. Any
/// thread.
class AtspiApplications {
 public:
  /// The root objects of a process; empty when it has none on the bus. Asks the registry about processes not met yet.
  std::vector<AtspiObject> rootsOf(std::int32_t pid, AtspiReader& reader, double seconds);
  /// The root objects of all applications.
  std::vector<AtspiObject> all(AtspiReader& reader, double seconds);
  /// The process behind a bus name.
  std::optional<std::int32_t> processOf(const AtspiObject& object, AtspiReader& reader, double seconds);

  /// The application is gone from the bus.
  void forget(const AtspiObject& object);

  /// Some facts are newer than some toolkits: what an application has not understood once is not asked again.
  bool lacks(const AtspiObject& object, Fact fact);
  void setLacks(const AtspiObject& object, Fact fact);

  /// What was answered last when the object was asked for another one, or for several. It may be true no longer.
  std::vector<AtspiObject> lastAnswer(const AtspiObject& object, Fact fact);
  void setLastAnswer(const AtspiObject& object, Fact fact, const AtspiAnswer& answer);

 private:
  struct Known {
    std::optional<std::int32_t> pid;
    std::uint64_t lacking = 0;
    AtspiObject root;
    std::map<std::pair<Fact, std::string>, std::vector<AtspiObject>> lastAnswers;  ///< by fact and path
  };
  Known& knownLocked(const AtspiObject& object);
  std::vector<AtspiObject> knownRoots(std::int32_t pid);
  bool isMet(const AtspiObject& root);

  std::mutex mutex_;
  std::uint32_t bus_ = 0;
  std::unordered_map<std::string, Known> known_;  ///< by bus name
};

}  // namespace zqlogging
