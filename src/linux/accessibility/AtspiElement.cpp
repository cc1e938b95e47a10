#include "linux/accessibility/AtspiElement.h"

#include <algorithm>

#include "linux/accessibility/AtspiAttributes.h"
#include "linux/accessibility/AtspiCommand.h"
#include "linux/atspi/AtspiProcesses.h"

namespace zqlogging {

using port::Array;
using port::Result;
using port::ResultCode;
using port::Value;

namespace {

/// The attributes that are read one after the other when an element is described.
bool isDescriptive(const std::string& attribute) {
  for (const char* name : {"AXRole", "AXTitle", "AXValue", "AXDescription", "AXHelp", "AXParent"}) {
    if (attribute == name) {
      return true;
    }
  }
  return false;
}

}  // namespace

bool AtspiElement::isEqual(const Element& other) const {
  const auto* same = dynamic_cast<const AtspiElement*>(&other);
  return same && same->object_ == object_;
}

std::size_t AtspiElement::hash() const { return AtspiObjectHash()(object_); }

std::string AtspiElement::textForm() const { return "<" + object_.application + " " + object_.path + ">"; }

template <class Use>
auto AtspiElement::withSubject(Use use) const {
  return services().withBatch([&](AtspiBatch& batch) {
    return use(AtspiSubject{elements(), batch, object_, timeout()});
  });
}

Result<std::vector<std::string>> AtspiElement::copyAttributeNames() const { return withSubject(attributeNames); }

Result<std::vector<std::string>> AtspiElement::copyActionNames() const { return withSubject(actionNames); }

Result<std::string> AtspiElement::copyActionDescription(const std::string& action) const {
  return withSubject([&](const AtspiSubject& subject) { return actionDescription(subject, action); });
}

ResultCode AtspiElement::performAction(const std::string& action) const {
  return withSubject([&](const AtspiSubject& subject) { return zqlogging::performAction(subject, action); });
}

Result<bool> AtspiElement::isAttributeSettable(const std::string& attribute) const {
  return withSubject([&](const AtspiSubject& subject) { return isSettable(subject, attribute); });
}

ResultCode AtspiElement::setAttributeValue(const std::string& attribute, const Value& value) const {
  return withSubject([&](const AtspiSubject& subject) { return setAttribute(subject, attribute, value); });
}

Result<Value> AtspiElement::copyAttributeValue(const std::string& attribute) const {
  return withSubject([&](const AtspiSubject& subject) {
    const bool inScope = services().openBatch() != nullptr;
    if (inScope && isDescriptive(attribute) && !subject.batch.isPrefetched(object_)) {
      subject.batch.prefetchFor(object_, needName | needStep | needValue);
    }
    return attributeValue(subject, attribute);
  });
}

Result<Array> AtspiElement::copyAttributeValues(const std::string& attribute, std::int64_t index,
                                                std::int64_t maxValues) const {
  if (attribute != "AXChildren") {
    return LinuxElement::copyAttributeValues(attribute, index, maxValues);
  }
  if (index < 0 || maxValues < 0) {
    return ResultCode::illegalArgument;
  }
  return services().withBatch([&](AtspiBatch& batch) -> Result<Array> {
    constexpr std::int64_t kMaxIndex = INT32_MAX / 2;
    const AtspiAnswer part = batch.readChildren(object_, static_cast<int>(std::min(index, kMaxIndex)),
                                                static_cast<int>(std::min(maxValues, kMaxIndex)), timeout());
    const auto* children = part.as<std::vector<AtspiObject>>();
    if (!children) {
      return part.code;
    }
    Array array;
    for (const AtspiObject& child : *children) {
      array.emplace_back(elements().object(child, batch));
    }
    return array;
  });
}

Result<std::int64_t> AtspiElement::getAttributeValueCount(const std::string& attribute) const {
  if (attribute != "AXChildren") {
    return LinuxElement::getAttributeValueCount(attribute);
  }
  return services().withBatch([&](AtspiBatch& batch) -> Result<std::int64_t> {
    const AtspiAnswer& answer = batch.read(object_, AtspiRequest::childCount, timeout());
    const auto* count = answer.as<std::int32_t>();
    return count ? Result<std::int64_t>(*count) : Result<std::int64_t>(answer.code);
  });
}

Result<std::int32_t> AtspiElement::getPid() const {
  return services().withBatch([&](AtspiBatch& batch) -> Result<std::int32_t> {
    const auto pid = readProcess(object_, batch, timeout());
    return pid ? Result<std::int32_t>(*pid) : Result<std::int32_t>(ResultCode::invalidUIElement);
  });
}

}  // namespace zqlogging
