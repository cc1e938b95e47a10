#include "zqlogging/JsonObject.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <string>

#include "json/DecodingError.h"

namespace zqlogging {

/// Collects the members of the top-level object; everything deeper is only counted.
class JsonObject::Handler : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, JsonObject::Handler> {
 public:
  explicit Handler(std::vector<Member>& members) : members_(members) {}

  bool Null() { return scalar(JsonObject::Null{}); }
  bool Bool(bool value) { return scalar(value); }
  bool Int(int value) { return scalar(static_cast<std::int64_t>(value)); }
  bool Uint(unsigned value) { return scalar(static_cast<std::int64_t>(value)); }
  bool Int64(std::int64_t value) { return scalar(value); }
  bool Uint64(std::uint64_t value) { return scalar(static_cast<double>(value)); }  // beyond the signed range
  bool Double(double value) { return scalar(value); }
  bool String(const char* text, rapidjson::SizeType length, bool) { return scalar(std::string_view(text, length)); }

  bool Key(const char* text, rapidjson::SizeType length, bool) {
    if (depth_ == 1) {
      members_.push_back({std::string_view(text, length), JsonObject::Null{}});
    }
    return true;
  }
  bool StartObject() { return open(true); }
  bool EndObject(rapidjson::SizeType) { return close(); }
  bool StartArray() { return open(false); }
  bool EndArray(rapidjson::SizeType) { return close(); }

  [[nodiscard]] bool topIsObject() const { return topIsObject_; }

 private:
  bool scalar(const Value& value) {
    if (depth_ == 0) {
      return false;
    }
    if (depth_ == 1 && topIsObject_) {
      members_.back().value = value;
    }
    return true;
  }
  bool open(bool object) {
    if (depth_ == 0) {
      topIsObject_ = object;
    } else if (depth_ == 1 && topIsObject_) {
      members_.back().value = Nested{};
    }
    ++depth_;
    return true;
  }
  bool close() {
    --depth_;
    return true;
  }

  std::vector<Member>& members_;
  std::size_t depth_ = 0;
  bool topIsObject_ = false;
};

std::optional<JsonObject> JsonObject::parse(std::string_view text) {
  if (text.find('\0') != std::string_view::npos) {  // would end the parse early
    throw DecodingError("The text is not JSON: it contains a zero byte.");
  }
  JsonObject object;
  object.buffer_.reserve(text.size() + 1);
  object.buffer_.assign(text.begin(), text.end());
  object.buffer_.push_back('\0');
  constexpr std::size_t kUsualMembers = 18;
  object.members_.reserve(kUsualMembers);

  Handler handler(object.members_);
  rapidjson::InsituStringStream stream(object.buffer_.data());
  rapidjson::Reader reader;
  // Iterative: a hostile file must not exhaust the stack by its nesting.
  const auto result = reader.Parse<rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag>(stream, handler);
  if (result.Code() == rapidjson::kParseErrorTermination) {
    throw DecodingError("The text is not JSON: it does not start with an array or object.");
  }
  if (result.IsError()) {
    throw DecodingError("The text is not JSON: " + std::string(rapidjson::GetParseError_En(result.Code())) +
                        " (at byte " + std::to_string(result.Offset()) + ")");
  }
  if (!handler.topIsObject()) {
    return std::nullopt;
  }
  return object;
}

const JsonObject::Value* JsonObject::find(std::string_view key) const {
  if (next_ < members_.size() && members_[next_].key == key) {
    return &members_[next_++].value;
  }
  for (std::size_t i = 0; i < members_.size(); ++i) {
    if (members_[i].key == key) {
      next_ = i + 1;
      return &members_[i].value;
    }
  }
  return nullptr;
}

}  // namespace zqlogging
