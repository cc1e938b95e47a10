#include "json/JsonCursor.h"

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <set>

#include "json/JsonNumber.h"
#include "zqlogging/Scenario.h"

namespace zqlogging {

namespace {

/// Builds a document, reading its numbers with the standard library: RapidJSON's exact reading of them looks at what
/// lies behind the text.
class DocumentBuilder {
 public:
  explicit DocumentBuilder(rapidjson::Document& document) : document_(document) {}

  bool Null() { return document_.Null(); }
  bool Bool(bool value) { return document_.Bool(value); }
  bool Int(int value) { return document_.Int(value); }
  bool Uint(unsigned value) { return document_.Uint(value); }
  bool Int64(std::int64_t value) { return document_.Int64(value); }
  bool Uint64(std::uint64_t value) { return document_.Uint64(value); }
  bool Double(double value) { return document_.Double(value); }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
    const char* end = text + length;
    std::uint64_t natural = 0;
    std::int64_t integer = 0;
    if (const auto read = std::from_chars(text, end, natural); read.ec == std::errc() && read.ptr == end) {
      return document_.Uint64(natural);
    }
    if (const auto read = std::from_chars(text, end, integer); read.ec == std::errc() && read.ptr == end) {
      return document_.Int64(integer);
    }
    const auto real = readReal({text, length});
    isNumberTooBig_ = !real;
    return real && document_.Double(*real);
  }
  bool String(const char* text, rapidjson::SizeType length, bool copy) { return document_.String(text, length, copy); }
  bool Key(const char* text, rapidjson::SizeType length, bool copy) { return document_.Key(text, length, copy); }
  bool StartObject() { return document_.StartObject(); }
  bool EndObject(rapidjson::SizeType count) { return document_.EndObject(count); }
  bool StartArray() { return document_.StartArray(); }
  bool EndArray(rapidjson::SizeType count) { return document_.EndArray(count); }

  [[nodiscard]] bool isNumberTooBig() const { return isNumberTooBig_; }

 private:
  rapidjson::Document& document_;
  bool isNumberTooBig_ = false;
};

/// The key as one step of a JSON pointer.
std::string escaped(std::string_view key) {
  std::string step;
  for (const char c : key) {
    if (c == '~') {
      step += "~0";
    } else if (c == '/') {
      step += "~1";
    } else {
      step += c;
    }
  }
  return step;
}

std::string text(const rapidjson::Value& value) { return {value.GetString(), value.GetStringLength()}; }

}  // namespace

JsonCursor JsonCursor::parse(std::string_view json, rapidjson::Document& document) {
  // Iterative: nesting costs memory, not stack.
  constexpr unsigned kFlags =
      rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag | rapidjson::kParseNumbersAsStringsFlag;
  const auto fault = [](std::size_t offset, const std::string& what) {
    return ScenarioError("", "not JSON at byte " + std::to_string(offset) + ": " + what);
  };
  rapidjson::MemoryStream stream(json.data(), json.size());
  rapidjson::ParseResult result;
  const auto build = [&](rapidjson::Document& empty) {
    DocumentBuilder builder(empty);
    rapidjson::Reader reader;
    result = reader.Parse<kFlags>(stream, builder);
    if (builder.isNumberTooBig()) {
      result.Set(rapidjson::kParseErrorNumberTooBig, result.Offset());
    }
    return !result.IsError();
  };
  document.Populate(build);
  if (result.IsError()) {
    throw fault(result.Offset(), rapidjson::GetParseError_En(result.Code()));
  }
  if (stream.Tell() != json.size()) {
    throw fault(stream.Tell(), "a zero byte");
  }
  return {document, ""};
}

void JsonCursor::fail(const std::string& message) const { throw ScenarioError(pointer_, message); }

bool JsonCursor::isNull() const { return value_->IsNull(); }

bool JsonCursor::isString() const { return value_->IsString(); }

std::string JsonCursor::string() const {
  if (!value_->IsString()) {
    fail("expected a string");
  }
  return text(*value_);
}

bool JsonCursor::boolean() const {
  if (!value_->IsBool()) {
    fail("expected true or false");
  }
  return value_->GetBool();
}

void JsonCursor::isTrue() const {
  if (!value_->IsTrue()) {
    fail("expected true");
  }
}

double JsonCursor::number() const {
  if (!value_->IsNumber()) {
    fail("expected a number");
  }
  return value_->GetDouble();
}

std::int64_t JsonCursor::integer(std::int64_t min, std::int64_t max) const {
  std::optional<std::int64_t> whole;
  if (value_->IsInt64()) {
    whole = value_->GetInt64();
  } else if (value_->IsDouble() && std::trunc(value_->GetDouble()) == value_->GetDouble() &&
             std::abs(value_->GetDouble()) < 0x1p63) {
    whole = static_cast<std::int64_t>(value_->GetDouble());
  }
  if (!whole) {
    fail("expected a whole number");
  }
  if (*whole < min || *whole > max) {
    fail("expected a whole number from " + std::to_string(min) + " to " + std::to_string(max));
  }
  return *whole;
}

std::int64_t JsonCursor::integer() const {
  return integer(std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max());
}

std::int32_t JsonCursor::int32() const {
  return static_cast<std::int32_t>(
      integer(std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

std::uint64_t JsonCursor::unsignedInteger() const {
  if (value_->IsUint64()) {
    return value_->GetUint64();
  }
  return static_cast<std::uint64_t>(integer(0, std::numeric_limits<std::int64_t>::max()));
}

std::vector<JsonCursor> JsonCursor::items() const {
  if (!value_->IsArray()) {
    fail("expected an array");
  }
  std::vector<JsonCursor> all;
  for (rapidjson::SizeType i = 0; i < value_->Size(); ++i) {
    all.emplace_back((*value_)[i], pointerOf(std::to_string(i)));
  }
  return all;
}

std::vector<std::string> JsonCursor::strings() const {
  std::vector<std::string> all;
  for (const auto& item : items()) {
    all.push_back(item.string());
  }
  return all;
}

std::vector<double> JsonCursor::numbers(std::size_t count) const {
  std::vector<double> all;
  for (const auto& item : items()) {
    all.push_back(item.number());
  }
  if (all.size() != count) {
    fail("expected " + std::to_string(count) + " numbers");
  }
  return all;
}

std::vector<std::pair<std::string, JsonCursor>> JsonCursor::members() const {
  if (!value_->IsObject()) {
    fail("expected an object");
  }
  std::vector<std::pair<std::string, JsonCursor>> all;
  std::set<std::string> seen;
  for (const auto& member : value_->GetObject()) {
    const auto& [key, cursor] =
        all.emplace_back(text(member.name), JsonCursor(member.value, pointerOf(text(member.name))));
    if (!seen.insert(key).second) {
      cursor.fail("this key stands here twice");
    }
  }
  return all;
}

std::string JsonCursor::pointerOf(std::string_view key) const { return pointer_ + "/" + escaped(key); }

JsonFields::JsonFields(JsonCursor object) : object_(std::move(object)) {
  for (auto& [key, value] : object_.members()) {
    fields_.push_back({key, value});
  }
}

JsonCursor JsonFields::required(std::string_view key) {
  auto found = optional(key);
  if (!found) {
    throw ScenarioError(object_.pointerOf(key), "is missing");
  }
  return *std::move(found);
}

std::optional<JsonCursor> JsonFields::optional(std::string_view key) {
  for (auto& field : fields_) {
    if (field.key != key) {
      continue;
    }
    field.asked = true;
    return field.value;
  }
  return std::nullopt;
}

std::pair<std::string_view, JsonCursor> JsonFields::oneOf(std::initializer_list<std::string_view> keys) {
  std::optional<std::pair<std::string_view, JsonCursor>> chosen;
  std::string list;
  for (const auto key : keys) {
    list += (list.empty() ? "" : ", ") + std::string(key);
    const auto found = optional(key);
    if (found && chosen) {
      found->fail("does not go together with \"" + std::string(chosen->first) + "\"");
    }
    if (found) {
      chosen.emplace(key, *found);
    }
  }
  if (!chosen) {
    object_.fail("one of these is missing: " + list);
  }
  return *chosen;
}

void JsonFields::finish() const {
  for (const auto& field : fields_) {
    if (!field.asked) {
      field.value.fail("unknown key");
    }
  }
}

}  // namespace zqlogging
