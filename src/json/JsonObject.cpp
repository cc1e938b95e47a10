#include "zqlogging/JsonObject.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <string>

#include "json/DecodingError.h"
#include "json/JsonNumber.h"
#include "text/Text.h"

namespace zqlogging {

/// Collects the members of the top-level object; everything deeper is only counted.
class JsonObject::Handler : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, JsonObject::Handler> {
 public:
  explicit Handler(std::vector<Member>& members) : members_(members) {}

  bool Null() { return scalar(JsonObject::Null{}); }
  bool Bool(bool value) { return scalar(value); }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
    if (const auto integer = readInteger({text, length})) {
      return scalar(*integer);
    }
    const auto real = readReal({text, length});
    isNumberTooBig_ = !real;
    return real && scalar(*real);
  }
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
  [[nodiscard]] bool isNumberTooBig() const { return isNumberTooBig_; }

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
  bool isNumberTooBig_ = false;
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
  constexpr unsigned kFlags =
      rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;
  auto result = reader.Parse<kFlags>(stream, handler);
  if (handler.isNumberTooBig()) {
    result.Set(rapidjson::kParseErrorNumberTooBig, result.Offset());
  }
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
  if (text.find("\\u") != std::string_view::npos) {
    object.replaceLoneSurrogates();
  }
  return object;
}

void JsonObject::replaceLoneSurrogates() {
  for (Member& member : members_) {
    if (auto* text = std::get_if<std::string_view>(&member.value); text != nullptr && !isValidUtf8(*text)) {
      *text = replaced_.emplace_back(validUtf8(std::string(*text)));
    }
  }
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
