#include "service/ServiceImpl.h"

namespace zqlogging {
namespace {

/// Children examined in one walk after which no further child list is read.
constexpr std::int64_t kMaxExamined = 300;

}  // namespace

std::vector<IteratedElementData> ServiceImpl::iterateAllElements(const ZQAccessibilityElement& element, CGPoint point) {
  std::vector<IteratedElementData> result;
  if (iterateDOMDepth > kMaxExamined) {
    return result;
  }
  for (const port::Value& value : element.value<port::Array>("AXChildren").value_or(port::Array{})) {
    const auto* reference = std::get_if<port::ElementRef>(&value);
    if (reference == nullptr || *reference == nullptr) {
      continue;
    }
    const ZQAccessibilityElement child(*reference, element.guard());
    const CGRect rect = child.frame();
    ++iterateDOMDepth;
    std::vector<IteratedElementData> below = iterateAllElements(child, point);
    result.insert(result.end(), below.begin(), below.end());
    if (rect.contains(point)) {
      result.push_back({rect, child});
      break;
    }
  }
  return result;
}

}  // namespace zqlogging
