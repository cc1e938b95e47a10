#pragma once

#include <atomic>

#include "platform/Accessibility.h"
#include "scripted/ScriptedDesktop.h"

namespace zqlogging::port {

class ScriptedPlatform;

/// A reference to one element of a scripted desktop. Each reference has a messaging time-out of its own.
class ScriptedElement final : public Element {
 public:
  ScriptedElement(ScriptedPlatform& platform, NodeId node) : platform_(platform), node_(node) {}

  [[nodiscard]] NodeId node() const { return node_; }
  /// Asks the element's application to answer; what it cannot do is the code.
  [[nodiscard]] ResultCode request() const { return requestTo(node_); }

  [[nodiscard]] Platform& platform() const override;
  [[nodiscard]] bool isEqual(const Element& other) const override;
  [[nodiscard]] std::size_t hash() const override { return node_; }
  [[nodiscard]] std::string textForm() const override;

  [[nodiscard]] Result<std::vector<std::string>> copyAttributeNames() const override;
  [[nodiscard]] Result<std::vector<std::string>> copyParameterizedAttributeNames() const override;
  [[nodiscard]] Result<std::vector<std::string>> copyActionNames() const override;
  [[nodiscard]] Result<Value> copyAttributeValue(const std::string& attribute) const override;
  [[nodiscard]] Result<Array> copyAttributeValues(const std::string& attribute, std::int64_t index,
                                                  std::int64_t maxValues) const override;
  [[nodiscard]] Result<std::int64_t> getAttributeValueCount(const std::string& attribute) const override;
  [[nodiscard]] Result<bool> isAttributeSettable(const std::string& attribute) const override;
  ResultCode setAttributeValue(const std::string& attribute, const Value& value) const override;
  [[nodiscard]] Result<std::vector<Value>> copyMultipleAttributeValues(
      const std::vector<std::string>& attributes) const override;
  [[nodiscard]] Result<Value> copyParameterizedAttributeValue(const std::string& attribute,
                                                              const Value& parameter) const override;
  [[nodiscard]] Result<std::string> copyActionDescription(const std::string& action) const override;
  ResultCode performAction(const std::string& action) const override;
  [[nodiscard]] Result<std::int32_t> getPid() const override;
  ResultCode setMessagingTimeout(float seconds) const override;
  [[nodiscard]] Result<ElementRef> copyElementAtPosition(float x, float y) const override;

 private:
  /// Waits, with this reference's time-out, for the application that owns the node.
  [[nodiscard]] ResultCode requestTo(NodeId node) const;
  /// A value after a request has been answered.
  [[nodiscard]] Result<Value> read(const std::string& attribute) const;

  ScriptedPlatform& platform_;
  const NodeId node_;
  mutable std::atomic<float> timeout_ = 0;
};

}  // namespace zqlogging::port
