#include "events/ZQLogEventAggregateIntoClickFilter.h"

#include "events/TurnAllMouseEventsToClicksFilter.h"
#include "events/ZQUILogMouseEvent.h"

namespace zqlogging {
namespace {

constexpr std::int64_t kMaxClickMs = 399;

}  // namespace

void ZQLogEventAggregateIntoClickFilter::scan(const LogEvent& record, int /*position*/) {
  auto nextEvent = std::dynamic_pointer_cast<const ZQUILogMouseEvent>(record);
  if (nextEvent == nullptr) {
    result.push_back(record);
    return;
  }
  if (firstEvent == nullptr || !folds(*firstEvent, *nextEvent)) {
    result.push_back(record);
  } else if (std::dynamic_pointer_cast<const ZQUILogMouseEvent>(result.back()) != nullptr) {
    result.back() = asClick(*firstEvent);
  }  // with other records in between the press keeps its kind, but the release goes all the same
  firstEvent = std::move(nextEvent);
}

bool ZQLogEventAggregateIntoClickFilter::folds(const ZQUILogMouseEvent& first, const ZQUILogMouseEvent& next) {
  const auto elapsed = static_cast<std::int64_t>(static_cast<std::uint64_t>(next.timestamp) -
                                                 static_cast<std::uint64_t>(first.timestamp));
  const bool sameButton = (first.mouseEventType == "LeftDown" && next.mouseEventType == "LeftUp") ||
                          (first.mouseEventType == "RightDown" && next.mouseEventType == "RightUp");
  return sameButton && elapsed <= kMaxClickMs && first.location() == next.location();
}

}  // namespace zqlogging
