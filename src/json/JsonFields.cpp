#include "json/JsonFields.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <charconv>

namespace zqlogging {
namespace {

[[noreturn]] void wrongType(std::string_view key, std::string_view expected) {
  throw DecodingError("The value of \"" + std::string(key) + "\" is not " + std::string(expected) + ".");
}

/// Whether JSON can hold the text as it stands. Most texts can, and then the general writer's walk over each character
/// is the larger part of the cost of a record.
bool needsNoEscape(std::string_view text) {
  unsigned special = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    special |=
        static_cast<unsigned>(byte < 0x20) | static_cast<unsigned>(byte == '"') | static_cast<unsigned>(byte == '\\');
  }
  return special == 0;
}

}  // namespace

void JsonFieldWriter::writeKey(std::string_view key) {
  if (!first_) {
    out_.push_back(',');
  }
  first_ = false;
  out_.push_back('"');
  out_.append(key);
  out_.append("\":");
}

void JsonFieldWriter::operator()(std::string_view key, std::int64_t value) {
  writeKey(key);
  char digits[24];
  const auto [end, error] = std::to_chars(std::begin(digits), std::end(digits), value);
  out_.append(digits, end);
}

void JsonFieldWriter::operator()(std::string_view key, bool value) {
  writeKey(key);
  out_.append(value ? "true" : "false");
}

void JsonFieldWriter::operator()(std::string_view key, std::string_view value) {
  writeKey(key);
  if (needsNoEscape(value)) {
    out_.push_back('"');
    out_.append(value);
    out_.push_back('"');
    return;
  }
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
  out_.append(buffer.GetString(), buffer.GetSize());
}

const JsonObject::Value& JsonFieldReader::required(std::string_view key) const {
  const JsonObject::Value* value = object_.find(key);
  if (value == nullptr) {
    throw DecodingError("The key \"" + std::string(key) + "\" is missing.");
  }
  return *value;
}

void JsonFieldReader::operator()(std::string_view key, std::int64_t& value) {
  const auto* found = std::get_if<std::int64_t>(&required(key));
  if (found == nullptr) {
    wrongType(key, "a 64-bit integer");
  }
  value = *found;
}

void JsonFieldReader::operator()(std::string_view key, bool& value) {
  const auto* found = std::get_if<bool>(&required(key));
  if (found == nullptr) {
    wrongType(key, "a boolean");
  }
  value = *found;
}

void JsonFieldReader::operator()(std::string_view key, std::string& value) {
  const auto* found = std::get_if<std::string_view>(&required(key));
  if (found == nullptr) {
    wrongType(key, "a string");
  }
  value.assign(*found);
}

void JsonFieldReader::operator()(std::string_view key, std::optional<std::string>& value) {
  const JsonObject::Value* found = object_.find(key);
  if (found == nullptr || std::holds_alternative<JsonObject::Null>(*found)) {
    value.reset();
    return;
  }
  const auto* text = std::get_if<std::string_view>(found);
  if (text == nullptr) {
    wrongType(key, "a string");
  }
  value.emplace(*text);
}

}  // namespace zqlogging
