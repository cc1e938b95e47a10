#include "geometry/Geometry.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace zqlogging {
namespace {

constexpr double kTwoTo63 = 9223372036854775808.0;

bool isInRange(double value) { return value >= -kTwoTo63 && value < kTwoTo63; }  // false for not-a-number

std::string wholeNumber(double value) {
  using Limits = std::numeric_limits<std::int64_t>;
  std::int64_t whole = 0;
  if (isInRange(value)) {
    whole = static_cast<std::int64_t>(value);
  } else if (std::isfinite(value)) {
    whole = value < 0 ? Limits::min() : Limits::max();
  }
  return std::to_string(whole);
}

}  // namespace

port::Result<std::optional<double>> flipHeightAt(CGPoint point, port::Workspace& workspace) {
  const auto screens = workspace.screens();
  if (!screens) {
    return screens.code;
  }
  std::optional<double> height;
  for (const CGRect& screen : *screens) {
    if (screen.contains(point)) {
      height = screen.size.height;
    }
  }
  return height;
}

std::optional<CGPoint> carbonScreenPoint(CGPoint point, port::Workspace& workspace) {
  const auto height = flipHeightAt(point, workspace);
  if (!height) {
    return std::nullopt;
  }
  return height.value ? CGPoint{point.x, *height.value - point.y - 1} : CGPoint{};
}

bool intersects(CGRect a, CGRect b) {
  const auto overlap = [](double from, double length, double otherFrom, double otherLength) {
    return length > 0 && otherLength > 0 && from < otherFrom + otherLength && otherFrom < from + length;
  };
  return overlap(a.origin.x, a.size.width, b.origin.x, b.size.width) &&
         overlap(a.origin.y, a.size.height, b.origin.y, b.size.height);
}

std::optional<CGPoint> wholePoint(CGPoint point) {
  if (!isInRange(point.x) || !isInRange(point.y)) {
    return std::nullopt;
  }
  // Adding 0 turns a negative zero into zero.
  return CGPoint{std::trunc(point.x) + 0.0, std::trunc(point.y) + 0.0};
}

std::string toString(CGPoint point) { return wholeNumber(point.x) + ", " + wholeNumber(point.y); }

std::string toString(CGRect rect) {
  return toString(rect.origin) + ", " + wholeNumber(rect.size.width) + ", " + wholeNumber(rect.size.height);
}

}  // namespace zqlogging
