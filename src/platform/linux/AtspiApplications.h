#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/linux/AtspiFact.h"

namespace zqlogging {

class AtspiReader;

/// What stays true of an application for as long as its bus name exists, kept over all reads. Any thread.
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

 private:
  struct Known {
    std::optional<std::int32_t> pid;
    std::uint64_t lacking = 0;
    AtspiObject root;
  };
  Known& knownLocked(const AtspiObject& object);
  std::vector<AtspiObject> knownRoots(std::int32_t pid);
  bool isMet(const AtspiObject& root);

  std::mutex mutex_;
  std::uint32_t bus_ = 0;
  std::unordered_map<std::string, Known> known_;  ///< by bus name
};

}  // namespace zqlogging
