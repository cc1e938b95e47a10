#include "linux/accessibility/LinuxElement.h"

#include <algorithm>
#include <cmath>

#include "linux/accessibility/AtspiHitTest.h"

namespace zqlogging {

using port::Array;
using port::Result;
using port::ResultCode;
using port::Value;

double LinuxElement::timeout() const {
  const float own = timeout_;
  return own > 0 ? own : services().messagingTimeout();
}

ResultCode LinuxElement::setMessagingTimeout(float seconds) const {
  if (!(seconds >= 0)) {
    return ResultCode::illegalArgument;
  }
  timeout_ = seconds;
  return ResultCode::success;
}

Result<std::vector<std::string>> LinuxElement::copyParameterizedAttributeNames() const {
  return std::vector<std::string>();
}

Result<std::vector<std::string>> LinuxElement::copyActionNames() const { return std::vector<std::string>(); }

Result<Array> LinuxElement::copyAttributeValues(const std::string& attribute, std::int64_t index,
                                                std::int64_t maxValues) const {
  if (index < 0 || maxValues < 0) {
    return ResultCode::illegalArgument;
  }
  Result<Value> whole = copyAttributeValue(attribute);
  if (!whole) {
    return whole.code;
  }
  auto* array = std::get_if<Array>(&whole.value);
  if (!array) {
    return ResultCode::illegalArgument;
  }
  const auto size = static_cast<std::int64_t>(array->size());
  const std::int64_t from = std::min(index, size);
  const std::int64_t count = std::min(maxValues, size - from);
  return Array(array->begin() + from, array->begin() + from + count);
}

Result<std::int64_t> LinuxElement::getAttributeValueCount(const std::string& attribute) const {
  const Result<Value> whole = copyAttributeValue(attribute);
  if (!whole) {
    return whole.code;
  }
  const auto* array = std::get_if<Array>(&whole.value);
  if (!array) {
    return ResultCode::illegalArgument;
  }
  return static_cast<std::int64_t>(array->size());
}

Result<bool> LinuxElement::isAttributeSettable(const std::string& attribute) const {
  const Result<std::vector<std::string>> names = copyAttributeNames();
  if (!names) {
    return names.code;
  }
  const bool present = std::find(names.value.begin(), names.value.end(), attribute) != names.value.end();
  return present ? Result<bool>(false) : Result<bool>(ResultCode::attributeUnsupported);
}

ResultCode LinuxElement::setAttributeValue(const std::string& /*attribute*/, const Value& /*value*/) const {
  return ResultCode::attributeUnsupported;
}

Result<std::vector<Value>> LinuxElement::copyMultipleAttributeValues(const std::vector<std::string>& attributes) const {
  const auto scope = services().openReadScope();
  std::vector<Value> values;
  for (const std::string& attribute : attributes) {
    Result<Value> value = copyAttributeValue(attribute);
    const bool elementIsGone = value.code == ResultCode::invalidUIElement || value.code == ResultCode::apiDisabled;
    if (elementIsGone) {
      return value.code;
    }
    values.push_back(value ? std::move(value.value) : Value(value.code));
  }
  return values;
}

Result<Value> LinuxElement::copyParameterizedAttributeValue(const std::string& /*attribute*/,
                                                            const Value& /*parameter*/) const {
  return ResultCode::parameterizedAttributeUnsupported;
}

Result<std::string> LinuxElement::copyActionDescription(const std::string& /*action*/) const {
  return ResultCode::actionUnsupported;
}

ResultCode LinuxElement::performAction(const std::string& /*action*/) const { return ResultCode::actionUnsupported; }

Result<port::ElementRef> LinuxElement::copyElementAtPosition(float x, float y) const {
  const Result<std::int32_t> pid = getPid();
  if (!pid) {
    return pid.code;
  }
  return elementAtPoint(elements_, x, y, pid.value, timeout());
}

}  // namespace zqlogging
