#pragma once

#include <memory>

#include "events/ZQLogEventFilter.h"

namespace zqlogging {

class ZQUILogMouseEvent;

/// A copy of the record that is labelled a click.
std::shared_ptr<const ZQUILogMouseEvent> asClick(const ZQUILogMouseEvent& record);

/// Labels every mouse record a click.
class TurnAllMouseEventsToClicksFilter final : public ZQLogEventFilter {
 public:
  void scan(const LogEvent& record, int position) override;
};

}  // namespace zqlogging
