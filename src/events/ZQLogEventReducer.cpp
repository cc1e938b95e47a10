#include "events/ZQLogEventReducer.h"

#include "events/TurnAllMouseEventsToClicksFilter.h"
#include "events/ZQLogEventAggregateIntoClickFilter.h"
#include "events/ZQLogEventsMaxPerSecondFilter.h"

namespace zqlogging {
namespace {

template <class Filter>
std::vector<LogEvent> scanned(const std::vector<LogEvent>& records) {
  Filter filter;
  int position = 0;
  for (const LogEvent& record : records) {
    filter.scan(record, position++);
  }
  return std::move(filter.result);
}

}  // namespace

std::vector<LogEvent> ZQLogEventReducer::filter(const std::vector<LogEvent>& records) {
  return scanned<TurnAllMouseEventsToClicksFilter>(
      scanned<ZQLogEventAggregateIntoClickFilter>(scanned<ZQLogEventsMaxPerSecondFilter>(records)));
}

}  // namespace zqlogging
