#pragma once

#include <cstdint>

#include "events/ZQLogEventFilter.h"

namespace zqlogging {

/// Thins bursts: of each window of a second it passes the record that opened it and the next ten.
class ZQLogEventsMaxPerSecondFilter final : public ZQLogEventFilter {
 public:
  void scan(const LogEvent& record, int position) override;

 private:
  LogEvent currentEvent;
  std::int64_t reducedByMaxEventsInSecond = 0;
};

}  // namespace zqlogging
