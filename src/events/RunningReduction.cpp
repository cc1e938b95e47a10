#include "events/RunningReduction.h"

#include "events/TurnAllMouseEventsToClicksFilter.h"

namespace zqlogging {

void RunningReduction::add(const LogEvent& record) {
  perSecond_.scan(record, 0);
  for (const LogEvent& passed : perSecond_.result) {
    clicks_.scan(passed, 0);
  }
  perSecond_.result.clear();
  // The filters look back at the last record alone.
  if (clicks_.result.size() > 2 * newest_) {
    clicks_.result.erase(clicks_.result.begin(), clicks_.result.end() - static_cast<std::ptrdiff_t>(newest_));
  }
}

std::vector<LogEvent> RunningReduction::result() const {
  TurnAllMouseEventsToClicksFilter labels;
  const std::vector<LogEvent>& all = clicks_.result;
  for (std::size_t i = all.size() > newest_ ? all.size() - newest_ : 0; i < all.size(); ++i) {
    labels.scan(all[i], 0);
  }
  return std::move(labels.result);
}

}  // namespace zqlogging
