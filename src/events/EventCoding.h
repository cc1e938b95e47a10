#pragma once

#include <span>
#include <string>
#include <vector>

#include "events/ZQLogEventProtocol.h"
#include "zqlogging/JsonObject.h"

namespace zqlogging {

/// The record that one entry of the session log file holds; null for entries to skip (no event type, an unknown one).
/// Throws DecodingError when the entry names a type and does not hold its fields.
LogEvent decodeEntry(const JsonObject& entry);

/// A list of dictionaries as one compact JSON array with sorted keys. An event type is written as its raw value.
std::string jsonText(std::span<const EventDictionary> events);

}  // namespace zqlogging
