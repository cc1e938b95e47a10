#pragma once

#include <memory>

#include "events/ZQLogEventFilter.h"

namespace zqlogging {

class ZQUILogMouseEvent;

/// Folds a press and its release at the same spot within 400 ms into one click.
class ZQLogEventAggregateIntoClickFilter final : public ZQLogEventFilter {
 public:
  void scan(const LogEvent& record, int position) override;

 private:
  using MouseEvent = std::shared_ptr<const ZQUILogMouseEvent>;
  static bool folds(const ZQUILogMouseEvent& first, const ZQUILogMouseEvent& next);

  MouseEvent firstEvent;
};

}  // namespace zqlogging
