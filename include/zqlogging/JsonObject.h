#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string_view>
#include <variant>
#include <vector>

#include "zqlogging/Export.h"

namespace zqlogging {

/// The top level of one JSON object, as the session log file holds it. Nested values are known to be there and to be
/// well-formed, no more: no record has any. One thread at a time; blocks for nothing.
class ZQ_EXPORT JsonObject {
 public:
  /// The value null.
  struct Null {};
  /// An object or array.
  struct Nested {};
  /// A whole number beyond 64 bits is a double. Texts are UTF-8.
  using Value = std::variant<Null, bool, std::int64_t, double, std::string_view, Nested>;

  /// Reads an object. Throws std::runtime_error, with one line that says why, when the text is no JSON text with an
  /// object or array at its top.
  /// \param text  copied
  /// \return      nothing when the text is well-formed but its top level is an array
  static std::optional<JsonObject> parse(std::string_view text);

  /// Looks up a key. Fast when keys are asked for in the order of the text. Never fails.
  /// \param key  without escapes, UTF-8
  /// \return     null when there is no such key; it and the text in it are owned by this object
  [[nodiscard]] const Value* find(std::string_view key) const;

  JsonObject(const JsonObject&) = delete;
  JsonObject& operator=(const JsonObject&) = delete;
  JsonObject(JsonObject&&) = default;
  JsonObject& operator=(JsonObject&&) = default;
  ~JsonObject() = default;

 private:
  struct Member {
    std::string_view key;
    Value value;
  };
  class Handler;

  JsonObject() = default;
  /// Escapes may name half a character.
  void replaceLoneSurrogates();

  std::vector<char> buffer_;  // decoded in place; the members point into it
  std::vector<Member> members_;
  std::deque<std::string> replaced_;
  mutable std::size_t next_ = 0;
};

}  // namespace zqlogging
