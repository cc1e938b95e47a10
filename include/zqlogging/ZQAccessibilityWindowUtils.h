#pragma once

#include "zqlogging/Export.h"

namespace zqlogging {

/// Reserved: a public class with a constructor and no other members.
class ZQ_EXPORT ZQAccessibilityWindowUtils {
 public:
  /// Does nothing, on any thread.
  ZQAccessibilityWindowUtils();
};

}  // namespace zqlogging
