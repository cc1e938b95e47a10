#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "linux/atspi/AtspiRequest.h"

namespace zqlogging {

/// What stays true of an application for as long as its bus name exists, kept over all batches. Asks nothing. Any
/// thread.
class AtspiApplications {
 public:
  /// The process behind the object's bus name, when it is known.
  std::optional<std::int32_t> process(const AtspiObject& object);
  void setProcess(const AtspiObject& object, std::int32_t pid);

  /// The root objects that are known to belong to a process.
  std::vector<AtspiObject> rootsOf(std::int32_t pid);
  /// The root objects of all applications that are on the bus; the other applications are gone.
  void setRoots(const std::vector<AtspiObject>& roots);

  /// Some requests are newer than some toolkits: one that an application has not understood is not sent to it again.
  bool lacks(const AtspiObject& object, AtspiRequest request);
  void setLacks(const AtspiObject& object, AtspiRequest request);

  /// The application is gone from the bus.
  void forget(const AtspiObject& object);

 private:
  struct Known {
    std::optional<std::int32_t> pid;
    std::uint64_t lacking = 0;  ///< a bit for each request
    AtspiObject root;
  };
  static_assert(kRequestCount <= 64);
  Known& knownLocked(const AtspiObject& object);

  std::mutex mutex_;
  std::uint32_t bus_ = 0;
  std::unordered_map<std::string, Known> known_;  ///< by bus name
};

}  // namespace zqlogging
