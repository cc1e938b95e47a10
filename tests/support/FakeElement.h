#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/Accessibility.h"

namespace zqlogging::test {

using port::ResultCode;

/// An element made of data. `answer` other than success is what every request gets; what was asked is kept.
struct FakeElement : port::Element {
  explicit FakeElement(port::Platform& platform, std::string text = "fake") : owner(platform), label(std::move(text)) {}

  port::Platform& owner;
  std::string label;  ///< elements of the same label are the same element
  ResultCode answer = ResultCode::success;
  std::int32_t processId = 7;
  std::vector<std::string> names;
  std::vector<std::string> parameterizedNames;
  std::vector<std::string> actionNames;
  mutable std::map<std::string, port::Value> attributes;  ///< those not here are unsupported
  std::map<std::string, ResultCode> errors;
  port::ElementRef hit;

  struct Asked {
    std::vector<port::Value> parameters;
    std::vector<std::string> performed;
    std::vector<float> timeouts;
    std::pair<std::int64_t, std::int64_t> range;
    std::pair<float, float> point;
  };
  mutable Asked asked;

  port::Platform& platform() const override { return owner; }
  bool isEqual(const Element& other) const override { return textForm() == other.textForm(); }
  std::size_t hash() const override { return std::hash<std::string>{}(label); }
  std::string textForm() const override { return label; }

  template <class T>
  port::Result<T> answered(T value) const {
    if (answer != ResultCode::success) {
      return answer;
    }
    return value;
  }

  port::Result<port::Value> copyAttributeValue(const std::string& attribute) const override {
    if (const auto error = errors.find(attribute); error != errors.end()) {
      return error->second;
    }
    if (answer != ResultCode::success) {
      return answer;
    }
    const auto found = attributes.find(attribute);
    if (found == attributes.end()) {
      return ResultCode::attributeUnsupported;
    }
    return answered(found->second);
  }
  port::Result<port::Array> copyAttributeValues(const std::string& attribute, std::int64_t index,
                                                std::int64_t maxValues) const override {
    asked.range = {index, maxValues};
    const auto value = copyAttributeValue(attribute);
    if (!value) {
      return value.code;
    }
    const auto* array = std::get_if<port::Array>(&value.value);
    return array == nullptr ? port::Array{} : *array;
  }
  port::Result<std::vector<port::Value>> copyMultipleAttributeValues(
      const std::vector<std::string>& wanted) const override {
    if (answer != ResultCode::success) {
      return answer;
    }
    std::vector<port::Value> values;
    for (const std::string& attribute : wanted) {
      const auto value = copyAttributeValue(attribute);
      values.push_back(value ? value.value : port::Value(value.code));
    }
    return values;
  }
  port::Result<port::Value> copyParameterizedAttributeValue(const std::string& attribute,
                                                            const port::Value& parameter) const override {
    asked.parameters.push_back(parameter);
    return answered(attributes.contains(attribute) ? attributes.at(attribute) : port::Value());
  }
  ResultCode setAttributeValue(const std::string& attribute, const port::Value& value) const override {
    if (answer == ResultCode::success) {
      attributes[attribute] = value;
    }
    return answer;
  }
  ResultCode performAction(const std::string& action) const override {
    asked.performed.push_back(action);
    return answer;
  }
  ResultCode setMessagingTimeout(float seconds) const override {
    asked.timeouts.push_back(seconds);
    return answer;
  }
  port::Result<port::ElementRef> copyElementAtPosition(float x, float y) const override {
    asked.point = {x, y};
    return answered(hit);
  }
  port::Result<std::vector<std::string>> copyAttributeNames() const override { return answered(names); }
  port::Result<std::vector<std::string>> copyParameterizedAttributeNames() const override {
    return answered(parameterizedNames);
  }
  port::Result<std::vector<std::string>> copyActionNames() const override { return answered(actionNames); }
  port::Result<std::int64_t> getAttributeValueCount(const std::string&) const override {
    return answered(std::int64_t{3});
  }
  port::Result<bool> isAttributeSettable(const std::string&) const override { return answered(true); }
  port::Result<std::string> copyActionDescription(const std::string& action) const override {
    return answered("does " + action);
  }
  port::Result<std::int32_t> getPid() const override { return answered(processId); }
};

}  // namespace zqlogging::test
