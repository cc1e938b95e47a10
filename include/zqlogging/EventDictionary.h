#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>

namespace zqlogging {

/// The kind of a recorded event. `rawValue` (below) gives the text under "eventType".
enum class ZQLogEventType { Focus, Mouse, KeyPressed, RemoteCommand, System, Application, Unknown };

class EventValue;

/// One event as the host receives it: short keys to values, in ascending byte order of the keys.
/// The keys of each kind of event are listed in docs/formats.md.
using EventDictionary = std::map<std::string, EventValue, std::less<>>;

/// The element description inside an event: keys to texts.
using StringMap = std::map<std::string, std::string, std::less<>>;

/// A value of an EventDictionary; use std::get, std::get_if or std::visit on it.
class EventValue : public std::variant<std::int64_t, bool, std::string, EventDictionary, StringMap, ZQLogEventType> {
 public:
  using variant::variant;
};

}  // namespace zqlogging
