#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "linux/atspi/AtspiBatch.h"

namespace zqlogging {

// Which process is which on the bus. These wait for an answer, `seconds` at most, unless it is known.

/// The root objects of all applications.
std::vector<AtspiObject> readAllRoots(AtspiBatch& batch, double seconds);

/// The root objects of a process; empty when it has none on the bus. Asks the registry about processes not met yet.
std::vector<AtspiObject> readRootsOf(std::int32_t pid, AtspiBatch& batch, double seconds);

/// The process that an object lives in.
std::optional<std::int32_t> readProcess(const AtspiObject& object, AtspiBatch& batch, double seconds);

}  // namespace zqlogging
