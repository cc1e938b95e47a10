#pragma once

#include "linux/accessibility/LinuxElement.h"

namespace zqlogging {

/// The element of an object of the accessibility bus.
class AtspiElement : public LinuxElement {
 public:
  AtspiElement(const ElementFactory& elements, AtspiObject object)
      : LinuxElement(elements), object_(std::move(object)) {}

  [[nodiscard]] const AtspiObject& object() const { return object_; }

  [[nodiscard]] bool isEqual(const Element& other) const override;
  [[nodiscard]] std::size_t hash() const override;
  [[nodiscard]] std::string textForm() const override;
  [[nodiscard]] port::Result<std::vector<std::string>> copyAttributeNames() const override;
  [[nodiscard]] port::Result<std::vector<std::string>> copyActionNames() const override;
  [[nodiscard]] port::Result<port::Value> copyAttributeValue(const std::string& attribute) const override;
  [[nodiscard]] port::Result<port::Array> copyAttributeValues(const std::string& attribute, std::int64_t index,
                                                              std::int64_t maxValues) const override;
  [[nodiscard]] port::Result<std::int64_t> getAttributeValueCount(const std::string& attribute) const override;
  [[nodiscard]] port::Result<bool> isAttributeSettable(const std::string& attribute) const override;
  port::ResultCode setAttributeValue(const std::string& attribute, const port::Value& value) const override;
  [[nodiscard]] port::Result<std::string> copyActionDescription(const std::string& action) const override;
  port::ResultCode performAction(const std::string& action) const override;
  [[nodiscard]] port::Result<std::int32_t> getPid() const override;

 private:
  template <class Use>
  auto withSubject(Use use) const;

  AtspiObject object_;
};

}  // namespace zqlogging
