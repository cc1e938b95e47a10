#pragma once

#include "linux/accessibility/LinuxElement.h"

namespace zqlogging {

/// The element of a window that its application says nothing about, or of what is inside it: the X server's view.
class WindowElement : public LinuxElement {
 public:
  enum class Part { window, contents };
  WindowElement(const ElementFactory& elements, WindowStack::Window window, Part part = Part::window)
      : LinuxElement(elements), window_(std::move(window)), part_(part) {}

  [[nodiscard]] bool isEqual(const Element& other) const override;
  [[nodiscard]] std::size_t hash() const override { return window_.id + static_cast<std::size_t>(part_); }
  [[nodiscard]] std::string textForm() const override;
  [[nodiscard]] port::Result<std::vector<std::string>> copyAttributeNames() const override;
  [[nodiscard]] port::Result<port::Value> copyAttributeValue(const std::string& attribute) const override;
  [[nodiscard]] port::Result<std::int32_t> getPid() const override;

 private:
  [[nodiscard]] port::ElementRef sibling(Part part) const;
  [[nodiscard]] port::Result<port::Value> valueOfContents(const std::string& attribute) const;

  WindowStack::Window window_;  ///< as it was when the element was made
  Part part_;
};

}  // namespace zqlogging
