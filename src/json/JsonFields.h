#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "json/DecodingError.h"
#include "zqlogging/JsonObject.h"

namespace zqlogging {

/// Writes the fields of a record as one JSON object. Absent optional texts leave their key out.
class JsonFieldWriter {
 public:
  /// Appends to `out`.
  explicit JsonFieldWriter(std::string& out) : out_(out) { out_.push_back('{'); }

  void operator()(std::string_view key, std::int64_t value);
  void operator()(std::string_view key, bool value);
  void operator()(std::string_view key, std::string_view value);
  void operator()(std::string_view key, const std::string& value) { (*this)(key, std::string_view(value)); }
  void operator()(std::string_view key, const std::optional<std::string>& value) {
    if (value) {
      (*this)(key, *value);
    }
  }

  /// Ends the object; to be called once, last.
  void finish() { out_.push_back('}'); }

 private:
  void writeKey(std::string_view key);

  std::string& out_;
  bool first_ = true;
};

/// Reads the fields of a record from one JSON object; throws DecodingError for the first that is missing or of the
/// wrong type. Optional texts may be missing or null.
class JsonFieldReader {
 public:
  explicit JsonFieldReader(const JsonObject& object) : object_(object) {}

  void operator()(std::string_view key, std::int64_t& value);
  void operator()(std::string_view key, bool& value);
  void operator()(std::string_view key, std::string& value);
  void operator()(std::string_view key, std::optional<std::string>& value);

 private:
  const JsonObject::Value& required(std::string_view key) const;

  const JsonObject& object_;
};

}  // namespace zqlogging
