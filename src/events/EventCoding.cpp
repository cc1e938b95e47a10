#include "events/EventCoding.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "events/ZQLogEventType.h"
#include "events/ZQSystemLogEvent.h"
#include "events/ZQUILogFocusEvent.h"
#include "events/ZQUILogKeyboardEvent.h"
#include "events/ZQUILogMouseEvent.h"
#include "events/ZQUILogRemoteCommand.h"

namespace zqlogging {
namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void writeText(Writer& writer, std::string_view text) {
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

/// The dictionaries are ordered by key already.
struct ValueWriter {
  Writer& writer;

  void operator()(std::int64_t value) const { writer.Int64(value); }
  void operator()(bool value) const { writer.Bool(value); }
  void operator()(const std::string& value) const { writeText(writer, value); }
  void operator()(ZQLogEventType value) const { writeText(writer, rawValue(value)); }
  void operator()(const StringMap& map) const {
    writer.StartObject();
    for (const auto& [key, value] : map) {
      writeText(writer, key);
      writeText(writer, value);
    }
    writer.EndObject();
  }
  void operator()(const EventDictionary& dictionary) const {
    writer.StartObject();
    for (const auto& [key, value] : dictionary) {
      writeText(writer, key);
      std::visit(*this, static_cast<const EventValue::variant&>(value));
    }
    writer.EndObject();
  }
};

}  // namespace

LogEvent decodeEntry(const JsonObject& entry) {
  const JsonObject::Value* value = entry.find("eventType");
  const auto* text = value == nullptr ? nullptr : std::get_if<std::string_view>(value);
  const auto type = text == nullptr ? std::nullopt : logEventTypeFromRawValue(*text);
  if (!type) {
    return nullptr;
  }
  switch (*type) {
    case ZQLogEventType::Focus:
      return ZQUILogFocusEvent::fromJson(entry);
    case ZQLogEventType::Mouse:
      return ZQUILogMouseEvent::fromJson(entry);
    case ZQLogEventType::KeyPressed:
      return ZQUILogKeyboardEvent::fromJson(entry);
    case ZQLogEventType::RemoteCommand:
      return ZQUILogRemoteCommand::fromJson(entry);
    case ZQLogEventType::System:
    case ZQLogEventType::Application:
      return ZQSystemLogEvent::fromJson(entry);
    case ZQLogEventType::Unknown:
      break;
  }
  return nullptr;
}

std::string jsonText(std::span<const EventDictionary> events) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  const ValueWriter write{writer};
  writer.StartArray();
  for (const EventDictionary& event : events) {
    write(event);
  }
  writer.EndArray();
  return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace zqlogging
