#include "scripted/ScriptedElement.h"

#include <algorithm>

#include "scripted/ScriptedPlatform.h"

namespace zqlogging::port {

Platform& ScriptedElement::platform() const { return platform_; }

bool ScriptedElement::isEqual(const Element& other) const {
  const auto* scripted = dynamic_cast<const ScriptedElement*>(&other);
  return scripted && &scripted->platform_ == &platform_ && scripted->node_ == node_;
}

std::string ScriptedElement::textForm() const {
  const auto id = platform_.desktop().idOf(platform_.desktop().element(node_));
  return "<ScriptedElement " + (id ? *id : "#" + std::to_string(node_)) + ">";
}

Result<std::vector<std::string>> ScriptedElement::copyAttributeNames() const {
  if (const auto code = request(); code != ResultCode::success) {
    return code;
  }
  return platform_.desktop().attributeNames(node_);
}

Result<std::vector<std::string>> ScriptedElement::copyParameterizedAttributeNames() const {
  if (const auto code = request(); code != ResultCode::success) {
    return code;
  }
  return std::vector<std::string>();
}

Result<std::vector<std::string>> ScriptedElement::copyActionNames() const {
  if (const auto code = request(); code != ResultCode::success) {
    return code;
  }
  return platform_.desktop().actions(node_);
}

Result<Value> ScriptedElement::copyAttributeValue(const std::string& attribute) const { return read(attribute); }

Result<Array> ScriptedElement::copyAttributeValues(const std::string& attribute, std::int64_t index,
                                                   std::int64_t maxValues) const {
  const auto value = read(attribute);
  if (!value) {
    return value.code;
  }
  if (index < 0 || maxValues < 0) {
    return ResultCode::illegalArgument;
  }
  // Asking for no values at all is how a caller learns whether there is such an attribute, of whatever kind.
  if (maxValues == 0) {
    return Array();
  }
  const auto* array = std::get_if<Array>(&value.value);
  if (!array || index > std::ssize(*array)) {
    return ResultCode::illegalArgument;
  }
  const auto first = array->begin() + index;
  return Array(first, first + std::min<std::int64_t>(maxValues, array->end() - first));
}

Result<std::int64_t> ScriptedElement::getAttributeValueCount(const std::string& attribute) const {
  const auto value = read(attribute);
  if (!value) {
    return value.code;
  }
  const auto* array = std::get_if<Array>(&value.value);
  if (!array) {
    return ResultCode::illegalArgument;
  }
  return static_cast<std::int64_t>(array->size());
}

Result<bool> ScriptedElement::isAttributeSettable(const std::string& attribute) const {
  if (const auto code = request(); code != ResultCode::success) {
    return code;
  }
  return platform_.desktop().isSettable(node_, attribute);
}

ResultCode ScriptedElement::setAttributeValue(const std::string& attribute, const Value& value) const {
  const auto settable = isAttributeSettable(attribute);
  if (!settable) {
    return settable.code;
  }
  if (!settable.value) {
    return ResultCode::attributeUnsupported;
  }
  platform_.desktop().edit(node_, {.attributes = {{attribute, value}}, .errors = {}});
  return ResultCode::success;
}

Result<std::vector<Value>> ScriptedElement::copyMultipleAttributeValues(
    const std::vector<std::string>& attributes) const {
  if (const auto code = request(); code != ResultCode::success) {
    return code;
  }
  std::vector<Value> values;
  for (const auto& attribute : attributes) {
    auto value = platform_.desktop().read(node_, attribute);
    values.push_back(value ? std::move(value.value) : Value(value.code));
  }
  return values;
}

Result<Value> ScriptedElement::copyParameterizedAttributeValue(const std::string& /*attribute*/,
                                                               const Value& /*parameter*/) const {
  if (const auto code = request(); code != ResultCode::success) {
    return code;
  }
  return ResultCode::parameterizedAttributeUnsupported;
}

Result<std::string> ScriptedElement::copyActionDescription(const std::string& action) const {
  if (const auto code = performAction(action); code != ResultCode::success) {
    return code;
  }
  return action;
}

ResultCode ScriptedElement::performAction(const std::string& action) const {
  if (const auto code = request(); code != ResultCode::success) {
    return code;
  }
  const auto known = platform_.desktop().actions(node_);
  return std::ranges::find(known, action) == known.end() ? ResultCode::actionUnsupported : ResultCode::success;
}

Result<std::int32_t> ScriptedElement::getPid() const {
  // The reference itself knows its process: a hung application is not asked.
  if (platform_.desktop().reach(node_) == ScriptedDesktop::Reach::gone) {
    return ResultCode::invalidUIElement;
  }
  return platform_.desktop().pidOf(node_);
}

ResultCode ScriptedElement::setMessagingTimeout(float seconds) const {
  if (!(seconds >= 0)) {
    return ResultCode::illegalArgument;
  }
  if (platform_.desktop().reach(node_) == ScriptedDesktop::Reach::gone) {
    return ResultCode::invalidUIElement;
  }
  if (node_ == ScriptedDesktop::kSystemWide) {
    platform_.scriptedAccessibility().setGlobalTimeout(seconds);
  } else {
    timeout_ = seconds;
  }
  return ResultCode::success;
}

Result<ElementRef> ScriptedElement::copyElementAtPosition(float x, float y) const {
  if (const auto code = request(); code != ResultCode::success) {
    return code;
  }
  const auto found = platform_.desktop().hitTest(node_, x, y);
  if (!found) {
    return found.code;
  }
  // The application that owns the point must answer. An element that is gone is found all the same: it fails when it
  // is read.
  if (const auto code = requestTo(found.value); code == ResultCode::cannotComplete) {
    return code;
  }
  return platform_.desktop().element(found.value);
}

ResultCode ScriptedElement::requestTo(NodeId node) const {
  return platform_.scriptedAccessibility().request(node, timeout_);
}

Result<Value> ScriptedElement::read(const std::string& attribute) const {
  if (const auto code = request(); code != ResultCode::success) {
    return code;
  }
  return platform_.desktop().read(node_, attribute);
}

}  // namespace zqlogging::port
