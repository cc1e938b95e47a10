#pragma once

#include <atomic>

#include "linux/accessibility/ElementFactory.h"
#include "platform/Accessibility.h"

namespace zqlogging {

/// What the elements of this desktop share; whatever a kind of element doesn't have is answered here.
class LinuxElement : public port::Element {
 public:
  explicit LinuxElement(const ElementFactory& elements) : elements_(elements) {}

  [[nodiscard]] port::Platform& platform() const override { return services().platform(); }

  [[nodiscard]] port::Result<std::vector<std::string>> copyParameterizedAttributeNames() const override;
  [[nodiscard]] port::Result<std::vector<std::string>> copyActionNames() const override;
  [[nodiscard]] port::Result<port::Array> copyAttributeValues(const std::string& attribute, std::int64_t index,
                                                              std::int64_t maxValues) const override;
  [[nodiscard]] port::Result<std::int64_t> getAttributeValueCount(const std::string& attribute) const override;
  [[nodiscard]] port::Result<bool> isAttributeSettable(const std::string& attribute) const override;
  port::ResultCode setAttributeValue(const std::string& attribute, const port::Value& value) const override;
  [[nodiscard]] port::Result<std::vector<port::Value>> copyMultipleAttributeValues(
      const std::vector<std::string>& attributes) const override;
  [[nodiscard]] port::Result<port::Value> copyParameterizedAttributeValue(const std::string& attribute,
                                                                          const port::Value& parameter) const override;
  [[nodiscard]] port::Result<std::string> copyActionDescription(const std::string& action) const override;
  port::ResultCode performAction(const std::string& action) const override;
  port::ResultCode setMessagingTimeout(float seconds) const override;
  [[nodiscard]] port::Result<port::ElementRef> copyElementAtPosition(float x, float y) const override;

 protected:
  [[nodiscard]] const ElementFactory& elements() const { return elements_; }
  [[nodiscard]] AtspiServices& services() const { return elements_.services(); }
  /// Seconds to wait for an answer.
  [[nodiscard]] double timeout() const;

 private:
  const ElementFactory& elements_;
  mutable std::atomic<float> timeout_ = 0;
};

}  // namespace zqlogging
