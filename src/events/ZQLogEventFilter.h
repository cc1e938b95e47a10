#pragma once

#include <vector>

#include "events/ZQLogEventProtocol.h"

namespace zqlogging {

/// Builds a reduced list from the records scanned, in order. A filter is used for one list.
class ZQLogEventFilter {
 public:
  ZQLogEventFilter() = default;
  virtual ~ZQLogEventFilter() = default;

  /// Takes the next record. `position` is its place in the input; no filter depends on it.
  virtual void scan(const LogEvent& record, int position) = 0;
  [[nodiscard]] virtual const std::vector<LogEvent>& filtered() const { return result; }

  std::vector<LogEvent> result;
};

}  // namespace zqlogging
