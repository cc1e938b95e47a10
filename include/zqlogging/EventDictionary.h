#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <variant>

#include "zqlogging/Export.h"

namespace zqlogging {

/// The kind of a recorded event.
enum class ZQLogEventType {
  Focus,          ///< another element, window or application has the focus
  Mouse,          ///< a pointer button
  KeyPressed,     ///< a key
  RemoteCommand,  ///< a command of the remote party
  System,         ///< read back from a file, never recorded by this library
  Application,    ///< read back from a file, never recorded by this library
  Unknown,        ///< never recorded
};

/// The name of a kind, as it stands in the file and in the JSON text of a chunk. Any thread; never fails.
/// \param type  one of the enumerators
/// \return      the enumerator's own name, e.g. "KeyPressed"; it lives as long as the library is loaded
ZQ_EXPORT std::string_view rawValue(ZQLogEventType type);

class EventValue;

/// One event as the host receives it: keys to values, in ascending byte order of the keys.
///
/// | key         | value |
/// |-------------|-------|
/// | `id`        | std::int64_t; increasing, from 1 in each session |
/// | `ts`        | std::int64_t; milliseconds since 1970 UTC |
/// | `eventType` | ZQLogEventType |
/// | `rc`        | bool; true for input of the remote party |
/// | `eventInfo` | EventDictionary; what happened, by the kind of event |
///
/// `eventInfo` holds texts, the whole numbers `x`, `y` and `clicks` of a click, and the StringMap `elementInfo`. Its
/// keys are listed by kind in the project's docs/formats.md.
using EventDictionary = std::map<std::string, EventValue, std::less<>>;

/// The element description inside an event: keys to texts.
using StringMap = std::map<std::string, std::string, std::less<>>;

/// A value of an EventDictionary; use std::get, std::get_if or std::visit on it.
class EventValue : public std::variant<std::int64_t, bool, std::string, EventDictionary, StringMap, ZQLogEventType> {
 public:
  using variant::variant;  ///< made from any of the alternatives
};

}  // namespace zqlogging
