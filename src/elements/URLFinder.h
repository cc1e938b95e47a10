#pragma once

#include <string>

#include "elements/ZQAccessibilityElement.h"

namespace zqlogging {

/// Finds the address of the browser page that an element belongs to. Nothing here fails: no address is empty text.
class URLFinder {
 public:
  /// How far inside a window, in points, the probe for a page lies.
  static constexpr double offsetPx = 100.0;

  /// The address of a page element: its AXURL, when that is a URL.
  static std::string findURL(const port::ElementRef& element);
  /// The address of a page shown in the menu item's application, found by probing its windows.
  static std::string findURLForMenuItem(const ZQAccessibilityElement& menuItem);
};

}  // namespace zqlogging
