#pragma once

#include "platform/linux/LinuxElement.h"

namespace zqlogging {

/// The element of a window that its application says nothing about: the X server's view of it.
class WindowElement : public LinuxElement {
 public:
  WindowElement(LinuxAccessibility& accessibility, WindowStack::Window window)
      : LinuxElement(accessibility), window_(std::move(window)) {}

  [[nodiscard]] bool isEqual(const Element& other) const override;
  [[nodiscard]] std::size_t hash() const override { return window_.id; }
  [[nodiscard]] std::string textForm() const override;
  [[nodiscard]] port::Result<std::vector<std::string>> copyAttributeNames() const override;
  [[nodiscard]] port::Result<port::Value> copyAttributeValue(const std::string& attribute) const override;
  [[nodiscard]] port::Result<std::int32_t> getPid() const override;

 private:
  WindowStack::Window window_;  ///< as it was when the element was made
};

}  // namespace zqlogging
