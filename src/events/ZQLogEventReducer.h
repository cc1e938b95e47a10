#pragma once

#include <vector>

#include "events/ZQLogEventProtocol.h"

namespace zqlogging {

/// Reduces a list of records for delivery: bursts thinned, presses and releases folded, the rest labelled clicks.
class ZQLogEventReducer {
 public:
  static std::vector<LogEvent> filter(const std::vector<LogEvent>& records);
};

}  // namespace zqlogging
