#include "elements/ZQAccessibilityElement.h"

#include <algorithm>
#include <cmath>

#include "platform/Platform.h"
#include "text/Text.h"

namespace zqlogging {
namespace {

/// The most title elements followed to find a name.
constexpr std::size_t kMaxTitleChain = 8;
/// The most steps upward to find a window or an application.
constexpr int kMaxAncestorSteps = 24;

std::string cut(std::string text) {
  text.resize(firstCharacters(text, ZQAccessibilityElement::MAX_ONE_PATH_LENGTH).size());
  return text;
}

}  // namespace

port::Result<port::Value> ZQAccessibilityElement::read(const std::string& attribute) const {
  return elementRef_->copyAttributeValue(attribute);
}

std::string ZQAccessibilityElement::text(const std::string& attribute) const {
  auto answer = read(attribute);
  auto* string = answer ? std::get_if<std::string>(&answer.value) : nullptr;
  return string == nullptr ? std::string() : validUtf8(std::move(*string));
}

std::string ZQAccessibilityElement::label(const std::string& attribute) const {
  std::string label = text(attribute);
  if (!label.empty() && (!guard_->mayTellLabels(elementRef_) || !guard_->mayTellText(elementRef_, label))) {
    label.clear();
  }
  return label;
}

std::string ZQAccessibilityElement::axValue() const {
  std::string value = text("AXValue");
  if (!value.empty() && (!guard_->mayTellValue(elementRef_) || !guard_->mayTellText(elementRef_, value))) {
    value.clear();
  }
  return value;
}

std::optional<std::int64_t> ZQAccessibilityElement::axIntValue() const {
  const auto answer = read("AXValue");
  if (!answer || guard_->tellingOf(elementRef_) != PrivacyGuard::Telling::all) {
    return std::nullopt;
  }
  if (const auto* integer = std::get_if<std::int64_t>(&answer.value)) {
    return *integer;
  }
  constexpr double kTwoTo63 = 9223372036854775808.0;
  const auto* real = std::get_if<double>(&answer.value);
  if (real == nullptr || std::trunc(*real) != *real || *real < -kTwoTo63 || *real >= kTwoTo63) {
    return std::nullopt;
  }
  return static_cast<std::int64_t>(*real);
}

template <class T>
std::optional<T> ZQAccessibilityElement::value(const std::string& attribute) const {
  auto answer = read(attribute);
  auto* found = answer ? std::get_if<T>(&answer.value) : nullptr;
  return found == nullptr ? std::nullopt : std::optional<T>(std::move(*found));
}
template std::optional<CGPoint> ZQAccessibilityElement::value(const std::string&) const;
template std::optional<CGSize> ZQAccessibilityElement::value(const std::string&) const;
template std::optional<bool> ZQAccessibilityElement::value(const std::string&) const;
template std::optional<port::Array> ZQAccessibilityElement::value(const std::string&) const;

template <>
std::optional<ZQAccessibilityElement> ZQAccessibilityElement::value(const std::string& attribute) const {
  const auto answer = read(attribute);
  const auto* element = answer ? std::get_if<port::ElementRef>(&answer.value) : nullptr;
  if (element == nullptr || *element == nullptr) {
    return std::nullopt;
  }
  return ZQAccessibilityElement(*element, guard_);
}

CGRect ZQAccessibilityElement::frame() const {
  const auto position = value<CGPoint>("AXPosition");
  const auto size = value<CGSize>("AXSize");
  return position && size ? CGRect{*position, *size} : CGRect{};
}

std::string ZQAccessibilityElement::elementName(bool lookInDescription) const {
  std::vector<port::ElementRef> visited;
  return nameWithoutCycles(lookInDescription, visited);
}

std::string ZQAccessibilityElement::nameWithoutCycles(bool lookInDescription,
                                                      std::vector<port::ElementRef>& visited) const {
  if (std::string title = cut(axTitle()); !title.empty()) {
    return title;
  }
  if (std::string help = cut(axHelp()); !help.empty()) {
    return help;
  }
  if (std::string placeHolder = cut(axPlaceHolder()); !placeHolder.empty()) {
    return placeHolder;
  }
  if (std::string value = cut(axValue()); !value.empty()) {
    return value;
  }
  visited.push_back(elementRef_);
  if (visited.size() <= kMaxTitleChain) {
    const auto titleElement = value<ZQAccessibilityElement>("AXTitleUIElement");
    const bool isNew = titleElement && std::none_of(visited.begin(), visited.end(), [&](const port::ElementRef& seen) {
                         return seen->isEqual(*titleElement->elementRef());
                       });
    if (isNew) {
      if (std::string name = titleElement->nameWithoutCycles(true, visited); !name.empty()) {
        return name;
      }
    }
  }
  if (!lookInDescription) {
    return {};
  }
  const std::string controlType = lowercased(elementControlType());
  if (std::find(controlsToIgnoreDescription.begin(), controlsToIgnoreDescription.end(), controlType) !=
      controlsToIgnoreDescription.end()) {
    return {};
  }
  return axDescription();
}

std::string ZQAccessibilityElement::elementControlType() const {
  std::string role = axRole();
  return role.starts_with("AX") ? role.substr(2) : role;
}

std::optional<ZQAccessibilityElement> ZQAccessibilityElement::window() const { return ancestorWithRole("AXWindow"); }

std::optional<ZQAccessibilityElement> ZQAccessibilityElement::application() const {
  return ancestorWithRole("AXApplication");
}

std::optional<ZQAccessibilityElement> ZQAccessibilityElement::ancestorWithRole(std::string_view role) const {
  ZQAccessibilityElement current = *this;
  for (int steps = 0;; ++steps) {
    if (current.axRole() == role || steps >= kMaxAncestorSteps) {
      return current;
    }
    auto parent = current.value<ZQAccessibilityElement>("AXParent");
    if (!parent) {
      return std::nullopt;
    }
    current = std::move(*parent);
  }
}

}  // namespace zqlogging
