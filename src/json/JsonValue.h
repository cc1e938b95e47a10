#pragma once

#include <rapidjson/fwd.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zqlogging {

/// A JSON value as output lines are made of: the keys of objects are sorted, and numbers that are whole are written
/// without a fraction.
class JsonValue : public std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, std::vector<JsonValue>,
                                      std::map<std::string, JsonValue, std::less<>>> {
 public:
  using Array = std::vector<JsonValue>;
  using Object = std::map<std::string, JsonValue, std::less<>>;

  using variant::variant;

  /// The value that JSON text of this library's own making holds; null for anything else.
  static JsonValue parse(std::string_view json);
  static JsonValue from(const rapidjson::Value& value);

  /// An array of the items, each turned into a value by `convert`.
  template <class Items, class Convert>
  static JsonValue array(const Items& items, const Convert& convert) {
    Array values;
    for (const auto& item : items) {
      values.push_back(convert(item));
    }
    return values;
  }
  static JsonValue array(const std::vector<std::string>& items) { return Array(items.begin(), items.end()); }

  /// One line, compact, UTF-8 as it is.
  [[nodiscard]] std::string text() const;
};

}  // namespace zqlogging
