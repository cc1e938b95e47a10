#include "accessibility/UIElement.h"

#include <algorithm>
#include <initializer_list>

#include "accessibility/SystemWideElement.h"
#include "platform/Platform.h"
#include "zqlogging/ZQDeveloperLogger.h"

namespace zqlogging {
namespace {

using port::ResultCode;

constexpr float kHitTestTimeout = 0.1F;

std::string name(Attribute attribute) { return std::string(rawValue(attribute)); }
std::string name(Action action) { return std::string(rawValue(action)); }

/// The value; absent on one of the given codes; any other failure is thrown.
template <class T>
std::optional<T> valueUnless(port::Result<T> result, std::initializer_list<ResultCode> absentOn) {
  if (result) {
    return std::move(result.value);
  }
  if (std::find(absentOn.begin(), absentOn.end(), result.code) == absentOn.end()) {
    throw AXError(result.code);
  }
  return std::nullopt;
}

void throwUnlessSuccess(ResultCode code) {
  if (code != ResultCode::success) {
    throw AXError(code);
  }
}

std::vector<std::string> namesOf(port::Result<std::vector<std::string>> result) {
  return valueUnless(std::move(result), {ResultCode::noValue, ResultCode::attributeUnsupported})
      .value_or(std::vector<std::string>{});
}

template <class Case>
std::vector<Case> known(const std::vector<std::string>& names, std::optional<Case> (*fromRawValue)(std::string_view)) {
  std::vector<Case> result;
  for (const std::string& each : names) {
    if (const auto value = fromRawValue(each)) {
      result.push_back(*value);
    }
  }
  return result;
}

std::vector<UnpackedValue> unpackEach(port::Array values) {
  std::vector<UnpackedValue> result;
  result.reserve(values.size());
  for (port::Value& value : values) {
    result.push_back(unpackAXValue(std::move(value)));
  }
  return result;
}

std::vector<port::Value> fetchMultiAttrValues(const port::Element& element, const std::vector<std::string>& names) {
  auto fetched = element.copyMultipleAttributeValues(names);
  throwUnlessSuccess(fetched.code);
  return std::move(fetched.value);
}

std::unordered_map<std::string, UnpackedValue> packMultiAttrValues(const std::vector<std::string>& names,
                                                                   std::vector<port::Value> answers) {
  std::unordered_map<std::string, UnpackedValue> result;
  for (std::size_t i = 0; i < std::min(names.size(), answers.size()); ++i) {
    port::Value& answer = answers[i];
    if (std::holds_alternative<port::Null>(answer)) {
      continue;
    }
    if (const auto* code = std::get_if<ResultCode>(&answer)) {
      if (*code == ResultCode::attributeUnsupported || *code == ResultCode::noValue) {
        continue;
      }
      throw AXError(*code);
    }
    result.insert_or_assign(names[i], unpackAXValue(std::move(answer)));
  }
  return result;
}

}  // namespace

UIElement::UIElement(port::ElementRef element) : element_(std::move(element)) {
  if (!element_) {
    throw AXError(ResultCode::illegalArgument);
  }
}

bool UIElement::isProcessTrusted(port::Platform& platform, bool withPrompt) {
  return platform.accessibility().isProcessTrusted(withPrompt);
}

float UIElement::globalMessagingTimeout(port::Platform& platform) {
  return SystemWideElement::shared(platform)->messagingTimeout();
}

void UIElement::setGlobalMessagingTimeout(port::Platform& platform, float seconds) {
  SystemWideElement::shared(platform)->setMessagingTimeout(seconds);
}

std::vector<Attribute> UIElement::attributes() const {
  const auto names = attributesAsStrings();
  for (const std::string& each : names) {
    if (!attributeFromRawValue(each)) {
      element_->platform().logs().standardOutput("Unrecognized attribute: " + each);
    }
  }
  return known(names, attributeFromRawValue);
}

std::vector<std::string> UIElement::attributesAsStrings() const { return namesOf(element_->copyAttributeNames()); }

bool UIElement::attributeIsSupported(Attribute attribute) const { return attributeIsSupported(name(attribute)); }

bool UIElement::attributeIsSupported(const std::string& attribute) const {
  const ResultCode code = element_->copyAttributeValues(attribute, 0, 0).code;
  if (code == ResultCode::attributeUnsupported) {
    return false;
  }
  if (code != ResultCode::noValue) {
    throwUnlessSuccess(code);
  }
  return true;
}

bool UIElement::attributeIsSettable(Attribute attribute) const { return attributeIsSettable(name(attribute)); }

bool UIElement::attributeIsSettable(const std::string& attribute) const {
  return valueUnless(element_->isAttributeSettable(attribute), {ResultCode::noValue, ResultCode::attributeUnsupported})
      .value_or(false);
}

std::optional<UnpackedValue> UIElement::attributeValue(Attribute attribute) const {
  return attributeValue(name(attribute));
}

std::optional<UnpackedValue> UIElement::attributeValue(const std::string& attribute) const {
  auto value =
      valueUnless(element_->copyAttributeValue(attribute), {ResultCode::noValue, ResultCode::attributeUnsupported});
  if (!value) {
    return std::nullopt;
  }
  return unpackAXValue(std::move(*value));
}

void UIElement::setAttribute(Attribute attribute, const UnpackedValue& value) { setAttribute(name(attribute), value); }

void UIElement::setAttribute(const std::string& attribute, const UnpackedValue& value) {
  throwUnlessSuccess(element_->setAttributeValue(attribute, packAXValue(value)));
}

std::unordered_map<Attribute, UnpackedValue> UIElement::getMultipleAttributes(
    const std::vector<Attribute>& attributes) const {
  std::vector<std::string> names;
  names.reserve(attributes.size());
  for (const Attribute attribute : attributes) {
    names.push_back(name(attribute));
  }

  std::unordered_map<Attribute, UnpackedValue> result;
  for (auto& [rawName, value] : getMultipleAttributes(names)) {
    if (const auto attribute = attributeFromRawValue(rawName)) {
      result.emplace(*attribute, std::move(value));
    }
  }
  return result;
}

std::unordered_map<std::string, UnpackedValue> UIElement::getMultipleAttributes(
    const std::vector<std::string>& attributes) const {
  return packMultiAttrValues(attributes, fetchMultiAttrValues(*element_, attributes));
}

std::optional<std::vector<UnpackedValue>> UIElement::arrayAttributeValues(Attribute attribute) const {
  return arrayAttributeValues(name(attribute));
}

std::optional<std::vector<UnpackedValue>> UIElement::arrayAttributeValues(const std::string& attribute) const {
  auto array = this->attribute<port::Array>(attribute);
  if (!array) {
    return std::nullopt;
  }
  return unpackEach(std::move(*array));
}

std::optional<std::vector<UnpackedValue>> UIElement::attributeValues(Attribute attribute, std::int64_t startAtIndex,
                                                                     std::int64_t maxValues) const {
  return attributeValues(name(attribute), startAtIndex, maxValues);
}

std::optional<std::vector<UnpackedValue>> UIElement::attributeValues(const std::string& attribute,
                                                                     std::int64_t startAtIndex,
                                                                     std::int64_t maxValues) const {
  auto values = valueUnless(element_->copyAttributeValues(attribute, startAtIndex, maxValues),
                            {ResultCode::noValue, ResultCode::attributeUnsupported});
  if (!values) {
    return std::nullopt;
  }
  return unpackEach(std::move(*values));
}

std::optional<std::int64_t> UIElement::valueCountForAttribute(Attribute attribute) const {
  return valueCountForAttribute(name(attribute));
}

std::optional<std::int64_t> UIElement::valueCountForAttribute(const std::string& attribute) const {
  return valueUnless(element_->getAttributeValueCount(attribute),
                     {ResultCode::attributeUnsupported, ResultCode::illegalArgument});
}

std::vector<Attribute> UIElement::parameterizedAttributes() const {
  return known(parameterizedAttributesAsStrings(), attributeFromRawValue);
}

std::vector<std::string> UIElement::parameterizedAttributesAsStrings() const {
  return namesOf(element_->copyParameterizedAttributeNames());
}

std::optional<UnpackedValue> UIElement::parameterizedAttributeValue(Attribute attribute,
                                                                    const UnpackedValue& param) const {
  return parameterizedAttributeValue(name(attribute), param);
}

std::optional<UnpackedValue> UIElement::parameterizedAttributeValue(const std::string& attribute,
                                                                    const UnpackedValue& param) const {
  auto value = valueUnless(element_->copyParameterizedAttributeValue(attribute, packAXValue(param)),
                           {ResultCode::noValue, ResultCode::attributeUnsupported});
  if (!value) {
    return std::nullopt;
  }
  return unpackAXValue(std::move(*value));
}

std::vector<Action> UIElement::actions() const { return known(actionsAsStrings(), actionFromRawValue); }

std::vector<std::string> UIElement::actionsAsStrings() const { return namesOf(element_->copyActionNames()); }

std::optional<std::string> UIElement::actionDescription(Action action) const { return actionDescription(name(action)); }

std::optional<std::string> UIElement::actionDescription(const std::string& action) const {
  return valueUnless(element_->copyActionDescription(action), {ResultCode::actionUnsupported, ResultCode::noValue});
}

void UIElement::performAction(Action action) { performAction(name(action)); }

void UIElement::performAction(const std::string& action) { throwUnlessSuccess(element_->performAction(action)); }

std::int32_t UIElement::pid() const {
  const auto pid = element_->getPid();
  throwUnlessSuccess(pid.code);
  return pid.value;
}

void UIElement::setMessagingTimeout(float seconds) {
  const float stored = seconds > 0 ? seconds : 0;
  messagingTimeout_ = stored;
  const ResultCode code = element_->setMessagingTimeout(stored);
  if (code != ResultCode::success && code != ResultCode::invalidUIElement) {
    element_->platform().logs().generalLog("Unexpected error setting messaging timeout: " +
                                           AXError(code).description());
  }
}

std::shared_ptr<UIElement> UIElement::elementAtPosition(float x, float y) {
  setMessagingTimeout(kHitTestTimeout);
  auto found = element_->copyElementAtPosition(x, y);
  if (found.code == ResultCode::noValue) {
    ZQDeveloperLogger::log().log(ZQDeveloperLogTier::enhancedlogging, "elementAtPosition .noValue");
    return nullptr;
  }
  if (!found) {
    ZQDeveloperLogger::log().log(ZQDeveloperLogTier::enhancedlogging, "elementAtPosition throw error");
    throw AXError(found.code);
  }
  return std::make_shared<UIElement>(std::move(found.value));
}

std::optional<Role> UIElement::role() const {
  const auto text = attribute<std::string>(Attribute::role);
  return text ? roleFromRawValue(*text) : std::nullopt;
}

std::optional<Subrole> UIElement::subrole() const {
  const auto text = attribute<std::string>(Attribute::subrole);
  return text ? subroleFromRawValue(*text) : std::nullopt;
}

std::string UIElement::description() const {
  std::int32_t processId = 0;
  try {
    processId = pid();
  } catch (const AXError&) {
  }

  std::optional<Role> knownRole;
  std::string roleText = "UIElementNoRole";
  try {
    knownRole = role();
    if (knownRole) {
      roleText = rawValue(*knownRole);
    }
  } catch (const AXError& error) {
    roleText = error.code() == ResultCode::invalidUIElement ? "InvalidUIElement" : "UnknownUIElement";
  }
  return "<" + roleText + " \"" + label(knownRole, processId) + "\" (pid=" + std::to_string(processId) + ")>";
}

std::string UIElement::label(std::optional<Role> role, std::int32_t pid) const {
  if (role == Role::window) {
    try {
      return attribute<std::string>(Attribute::title).value_or("");
    } catch (const AXError&) {
      return "";
    }
  }
  if (role == Role::application) {
    const auto running = element_->platform().workspace().runningApplication(pid);
    return running ? running->bundleIdentifier.value_or("") : "";
  }
  return element_->textForm();
}

std::string UIElement::inspect() const {
  std::string text = "[";
  for (const auto& [attribute, value] : getMultipleAttributes(attributes())) {
    if (text.size() > 1) {
      text += ", ";
    }
    text += name(attribute) + ": " + describe(value);
  }
  return text + "]";
}

}  // namespace zqlogging
