#pragma once

#include "linux/accessibility/LinuxElement.h"

namespace zqlogging {

/// The element of the whole desktop.
class DesktopElement : public LinuxElement {
 public:
  using LinuxElement::LinuxElement;

  [[nodiscard]] bool isEqual(const Element& other) const override;
  [[nodiscard]] std::size_t hash() const override { return 0; }
  [[nodiscard]] std::string textForm() const override { return "<system-wide element>"; }
  [[nodiscard]] port::Result<std::vector<std::string>> copyAttributeNames() const override;
  [[nodiscard]] port::Result<port::Value> copyAttributeValue(const std::string& attribute) const override;
  [[nodiscard]] port::Result<std::int32_t> getPid() const override;
  port::ResultCode setMessagingTimeout(float seconds) const override;
  [[nodiscard]] port::Result<port::ElementRef> copyElementAtPosition(float x, float y) const override;
};

}  // namespace zqlogging
