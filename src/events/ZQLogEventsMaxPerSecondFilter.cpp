#include "events/ZQLogEventsMaxPerSecondFilter.h"

namespace zqlogging {
namespace {

constexpr std::int64_t kWindowMs = 1000;
constexpr std::int64_t kMaxFollowers = 10;

}  // namespace

void ZQLogEventsMaxPerSecondFilter::scan(const LogEvent& record, int /*position*/) {
  // Unsigned: times read back from a file may be anything, and wrapping is not undefined.
  const auto distance = [&] {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(record->date()) -
                                     static_cast<std::uint64_t>(currentEvent->date()));
  };
  if (currentEvent == nullptr || distance() >= kWindowMs) {
    currentEvent = record;
    reducedByMaxEventsInSecond = 0;
  } else if (++reducedByMaxEventsInSecond > kMaxFollowers) {
    return;
  }
  result.push_back(record);
}

}  // namespace zqlogging
