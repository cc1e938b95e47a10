#pragma once

#include "elements/ZQAccessibilityElement.h"

namespace zqlogging {

/// An element found by searching a window's tree, with its frame in screen points (origin top-left).
struct IteratedElementData {
  CGRect rect;
  ZQAccessibilityElement e;
};

}  // namespace zqlogging
