#pragma once

#include <cstddef>
#include <vector>

#include "events/ZQLogEventAggregateIntoClickFilter.h"
#include "events/ZQLogEventsMaxPerSecondFilter.h"

namespace zqlogging {

/// What ZQLogEventReducer makes of a list that grows, kept up to date with each record: the newest records of the
/// result, as many as a chunk can carry. Takes no more memory than those.
class RunningReduction {
 public:
  explicit RunningReduction(std::size_t newest) : newest_(newest) {}

  void add(const LogEvent& record);
  /// The result's newest records, in order.
  [[nodiscard]] std::vector<LogEvent> result() const;

 private:
  std::size_t newest_;
  ZQLogEventsMaxPerSecondFilter perSecond_;
  ZQLogEventAggregateIntoClickFilter clicks_;
};

}  // namespace zqlogging
