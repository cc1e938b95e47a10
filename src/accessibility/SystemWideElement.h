#pragma once

#include <memory>

#include "accessibility/UIElement.h"

namespace zqlogging {

/// The element that stands for the whole desktop: its hit test looks at every application.
class SystemWideElement : public UIElement {
 public:
  using UIElement::UIElement;

  /// The desktop's one system-wide element, made on first use. Any thread.
  static std::shared_ptr<SystemWideElement> shared(port::Platform& platform);
  static void setShared(port::Platform& platform, std::shared_ptr<SystemWideElement> element);
};

}  // namespace zqlogging
