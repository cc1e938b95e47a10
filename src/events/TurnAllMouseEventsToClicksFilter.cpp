#include "events/TurnAllMouseEventsToClicksFilter.h"

#include "events/ZQLogEventType.h"
#include "events/ZQUILogMouseEvent.h"

namespace zqlogging {

std::shared_ptr<const ZQUILogMouseEvent> asClick(const ZQUILogMouseEvent& record) {
  auto click = std::make_shared<ZQUILogMouseEvent>(record);
  click->mouseEventType = rawValue(ZQLogEventMouseType::Click);
  return click;
}

void TurnAllMouseEventsToClicksFilter::scan(const LogEvent& record, int /*position*/) {
  const auto* mouse = dynamic_cast<const ZQUILogMouseEvent*>(record.get());
  if (mouse == nullptr || mouse->mouseEventType == rawValue(ZQLogEventMouseType::Click)) {
    result.push_back(record);
  } else {
    result.push_back(asClick(*mouse));
  }
}

}  // namespace zqlogging
