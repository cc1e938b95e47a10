#pragma once

#include "linux/accessibility/ElementFactory.h"

namespace zqlogging {

/// The factory of this desktop's elements.
class LinuxElements final : public ElementFactory {
 public:
  using ElementFactory::ElementFactory;

  [[nodiscard]] port::ElementRef desktop() const override;
  [[nodiscard]] port::ElementRef application(std::int32_t pid) const override;
  [[nodiscard]] port::ElementRef object(const AtspiObject& object, AtspiBatch& batch) const override;
  [[nodiscard]] port::ElementRef window(const WindowStack::Window& window) const override;
  [[nodiscard]] port::ElementRef partOfWindow(const WindowStack::Window& window, const CGPoint& point) const override;
};

}  // namespace zqlogging
