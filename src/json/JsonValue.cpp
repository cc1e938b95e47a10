#include "json/JsonValue.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>

namespace zqlogging {

namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void writeString(Writer& writer, const std::string& text) {
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void write(Writer& writer, const JsonValue& value) {
  if (const auto* boolean = std::get_if<bool>(&value)) {
    writer.Bool(*boolean);
  } else if (const auto* integer = std::get_if<std::int64_t>(&value)) {
    writer.Int64(*integer);
  } else if (const auto* number = std::get_if<double>(&value)) {
    const bool whole = std::trunc(*number) == *number && std::abs(*number) < 0x1p63;
    if (whole) {
      writer.Int64(static_cast<std::int64_t>(*number));
    } else if (!writer.Double(*number)) {  // JSON has no form for what is not finite
      writer.Null();
    }
  } else if (const auto* string = std::get_if<std::string>(&value)) {
    writeString(writer, *string);
  } else if (const auto* array = std::get_if<JsonValue::Array>(&value)) {
    writer.StartArray();
    for (const auto& item : *array) {
      write(writer, item);
    }
    writer.EndArray();
  } else if (const auto* object = std::get_if<JsonValue::Object>(&value)) {
    writer.StartObject();
    for (const auto& [key, member] : *object) {
      writeString(writer, key);
      write(writer, member);
    }
    writer.EndObject();
  } else {
    writer.Null();
  }
}

}  // namespace

JsonValue JsonValue::parse(std::string_view json) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseFullPrecisionFlag>(json.data(), json.size());
  return document.HasParseError() ? JsonValue() : from(document);
}

JsonValue JsonValue::from(const rapidjson::Value& value) {
  if (value.IsBool()) {
    return value.GetBool();
  }
  if (value.IsInt64()) {
    return value.GetInt64();
  }
  if (value.IsNumber()) {
    return value.GetDouble();
  }
  if (value.IsString()) {
    return std::string(value.GetString(), value.GetStringLength());
  }
  if (value.IsArray()) {
    return array(value.GetArray(), from);
  }
  if (!value.IsObject()) {
    return nullptr;
  }
  Object object;
  for (const auto& member : value.GetObject()) {
    object.emplace(std::string(member.name.GetString(), member.name.GetStringLength()), from(member.value));
  }
  return object;
}

std::string JsonValue::text() const {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  write(writer, *this);
  return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace zqlogging
