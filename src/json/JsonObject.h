#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zqlogging {

/// Why a text is no JSON, or a JSON object no record. The message is one line.
class DecodingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The top level of one JSON object, as the session log file holds it. Nested values are known to be there and to be
/// well-formed, no more: no record has any.
class JsonObject {
 public:
  struct Null {};
  struct Nested {};
  using Value = std::variant<Null, bool, std::int64_t, double, std::string_view, Nested>;

  /// Nothing when the text is well-formed but its top level is an array; throws DecodingError when it is no JSON text
  /// with an object or array at its top.
  static std::optional<JsonObject> parse(std::string_view text);

  /// The value under a key, null when there is none. Fast when keys are asked for in the order of the text.
  [[nodiscard]] const Value* find(std::string_view key) const;

  JsonObject(JsonObject&&) = default;
  JsonObject& operator=(JsonObject&&) = default;

 private:
  struct Member {
    std::string_view key;
    Value value;
  };
  class Handler;

  JsonObject() = default;

  std::vector<char> buffer_;  // decoded in place; the members point into it
  std::vector<Member> members_;
  mutable std::size_t next_ = 0;
};

}  // namespace zqlogging
