#include <limits>
#include <utility>

#include "events/PointText.h"
#include "events/ZQLogEventType.h"
#include "events/ZQSystemLogEvent.h"
#include "events/ZQUILogFocusEvent.h"
#include "events/ZQUILogKeyboardEvent.h"
#include "events/ZQUILogMouseEvent.h"
#include "events/ZQUILogRemoteCommand.h"

namespace zqlogging {
namespace {

constexpr CGPoint kNowhere = {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};

template <class Record>
EventDictionary topLevel(const Record& record, EventDictionary eventInfo) {
  return {{"id", record.id},
          {"eventType", record.eventType},
          {"rc", record.isRemoteControlEvent},
          {"ts", record.timestamp},
          {"eventInfo", std::move(eventInfo)}};
}

void addUnlessEmpty(EventDictionary& dictionary, const char* key, const std::string& text) {
  if (!text.empty()) {
    dictionary.emplace(key, text);
  }
}

template <class Record>
StringMap elementInfo(const Record& record, const std::string& boundingRect) {
  return {
      {"path", record.elementXpath},      {"name", record.elementName},   {"controlType", record.elementControlType},
      {"windowName", record.windowName},  {"boundingRect", boundingRect}, {"processName", record.applicationName},
      {"processId", record.applicationId}};
}

}  // namespace

CGPoint ZQUILogMouseEvent::location() const {
  const IntegerPoint point = parsePoint(eventPoint);
  return {static_cast<double>(point.x), static_cast<double>(point.y)};
}
CGPoint ZQUILogFocusEvent::location() const { return kNowhere; }
CGPoint ZQUILogKeyboardEvent::location() const { return kNowhere; }
CGPoint ZQUILogRemoteCommand::location() const { return kNowhere; }
CGPoint ZQSystemLogEvent::location() const { return kNowhere; }

EventDictionary ZQUILogMouseEvent::toDictionary() const {
  const IntegerPoint point = parsePoint(eventPoint);
  EventDictionary info = {{"mouseEventType", mouseEventType},
                          {"elementInfo", elementInfo(*this, elementRect)},
                          {"button", button},
                          {"clicks", std::int64_t{1}},
                          {"x", point.x},
                          {"y", point.y}};
  addUnlessEmpty(info, "url", url.value_or(""));
  addUnlessEmpty(info, "description", description.value_or(""));
  addUnlessEmpty(info, "value", elementValue);
  addUnlessEmpty(info, "eventPoint", eventPoint);
  addUnlessEmpty(info, "windowRect", windowRect);
  return topLevel(*this, std::move(info));
}

EventDictionary ZQUILogFocusEvent::toDictionary() const {
  // A focus record has no element frame: the window's stands in.
  EventDictionary info = {{"elementInfo", elementInfo(*this, windowRect)}};
  addUnlessEmpty(info, "url", url.value_or(""));
  addUnlessEmpty(info, "description", description.value_or(""));
  addUnlessEmpty(info, "value", elementValue);
  addUnlessEmpty(info, "windowRect", windowRect);
  return topLevel(*this, std::move(info));
}

EventDictionary ZQUILogKeyboardEvent::toDictionary() const {
  EventDictionary info = {{"character", character},
                          {"path", elementXpath},
                          {"name", elementName},
                          {"processName", applicationName},
                          {"windowName", windowName}};
  addUnlessEmpty(info, "value", elementValue);
  addUnlessEmpty(info, "windowRect", windowRect);
  return topLevel(*this, std::move(info));
}

EventDictionary ZQUILogRemoteCommand::toDictionary() const {
  return topLevel(*this, {{"cli", cli}, {"role", role}, {"command", command}, {"details", details}});
}

EventDictionary ZQSystemLogEvent::toDictionary() const {
  return {{"id", id}, {"ts", timestamp}, {"eventInfo", EventDictionary{{"name", ZQLogEventType::System}}}};
}

}  // namespace zqlogging
