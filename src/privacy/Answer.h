#pragma once

#include <string>
#include <utility>
#include <variant>

#include "platform/Accessibility.h"
#include "platform/Platform.h"

namespace zqlogging {

/// What an application says when it is asked for one thing: here it is, there is none, or nothing that can be believed.
template <class T>
struct Answer {
  enum class Kind { given, none, unknown };
  Kind kind = Kind::unknown;
  T value{};

  [[nodiscard]] bool isGiven() const { return kind == Kind::given; }
  [[nodiscard]] bool isUnknown() const { return kind == Kind::unknown; }
};

/// Reads an attribute of one kind. Another kind, any failure but "there is none", and an exception are unknown.
template <class T>
Answer<T> ask(const port::Element& element, const std::string& attribute) {
  using Kind = typename Answer<T>::Kind;
  try {
    auto read = element.copyAttributeValue(attribute);
    if (read.code == port::ResultCode::noValue || read.code == port::ResultCode::attributeUnsupported) {
      return {Kind::none, {}};
    }
    if (auto* value = read ? std::get_if<T>(&read.value) : nullptr) {
      return {Kind::given, std::move(*value)};
    }
  } catch (const port::PlatformException&) {  // as good as no answer
  }
  return {};
}

}  // namespace zqlogging
