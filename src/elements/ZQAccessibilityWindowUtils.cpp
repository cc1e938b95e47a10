#include "zqlogging/ZQAccessibilityWindowUtils.h"

namespace zqlogging {

ZQAccessibilityWindowUtils::ZQAccessibilityWindowUtils() = default;

}  // namespace zqlogging
