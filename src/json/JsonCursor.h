#pragma once

#include <rapidjson/fwd.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zqlogging {

/// One value of a scenario and where it stands. Every read says what is expected there; anything else is a
/// ScenarioError that points at it. Valid as long as the document is.
class JsonCursor {
 public:
  JsonCursor(const rapidjson::Value& value, std::string pointer) : value_(&value), pointer_(std::move(pointer)) {}

  /// Reads JSON text into `document`; throws ScenarioError with the byte offset of a syntax error.
  static JsonCursor parse(std::string_view json, rapidjson::Document& document);

  [[noreturn]] void fail(const std::string& message) const;

  [[nodiscard]] bool isNull() const;
  [[nodiscard]] bool isString() const;
  [[nodiscard]] const rapidjson::Value& raw() const { return *value_; }

  [[nodiscard]] std::string string() const;
  [[nodiscard]] bool boolean() const;
  /// True, written out: for keys that can only be switched on.
  void isTrue() const;
  [[nodiscard]] double number() const;
  [[nodiscard]] std::int64_t integer(std::int64_t min, std::int64_t max) const;
  [[nodiscard]] std::int64_t integer() const;
  [[nodiscard]] std::int32_t int32() const;
  [[nodiscard]] std::uint64_t unsignedInteger() const;

  [[nodiscard]] std::vector<JsonCursor> items() const;
  [[nodiscard]] std::vector<std::string> strings() const;
  /// Exactly `count` numbers.
  [[nodiscard]] std::vector<double> numbers(std::size_t count) const;
  /// The members of an object whose keys are free, in the order of the text. No key may occur twice.
  [[nodiscard]] std::vector<std::pair<std::string, JsonCursor>> members() const;

  /// Where the member stands, or would stand.
  [[nodiscard]] std::string pointerOf(std::string_view key) const;

 private:
  const rapidjson::Value* value_;
  std::string pointer_;
};

/// The members of an object whose keys are fixed. Ask for each, then call `finish`.
class JsonFields {
 public:
  explicit JsonFields(JsonCursor object);

  [[nodiscard]] JsonCursor required(std::string_view key);
  [[nodiscard]] std::optional<JsonCursor> optional(std::string_view key);
  /// The one of the keys that is there; fails when there is none, or more than one.
  [[nodiscard]] std::pair<std::string_view, JsonCursor> oneOf(std::initializer_list<std::string_view> keys);
  /// Fails for the first key that nobody asked for.
  void finish() const;

  [[nodiscard]] const JsonCursor& object() const { return object_; }

 private:
  struct Field {
    std::string key;
    JsonCursor value;
    bool asked = false;
  };
  JsonCursor object_;
  std::vector<Field> fields_;
};

}  // namespace zqlogging
