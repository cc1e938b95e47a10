#pragma once

namespace zqlogging {

/// A point in screen points. Which corner is the origin is said where a point is taken or given.
struct CGPoint {
  double x = 0;
  double y = 0;
  friend bool operator==(const CGPoint&, const CGPoint&) = default;
};

/// A size in screen points (or pixels, where said so).
struct CGSize {
  double width = 0;
  double height = 0;
  friend bool operator==(const CGSize&, const CGSize&) = default;
};

/// An axis-parallel rectangle: its corner nearest the origin, and its size.
struct CGRect {
  CGPoint origin;
  CGSize size;
  friend bool operator==(const CGRect&, const CGRect&) = default;

  /// True when the point lies inside: the minimum edges belong to the rectangle, the maximum edges do not.
  /// A rectangle without area contains nothing; not-a-number is in no rectangle.
  [[nodiscard]] constexpr bool contains(CGPoint p) const {
    return p.x >= origin.x && p.x < origin.x + size.width && p.y >= origin.y && p.y < origin.y + size.height;
  }
};

}  // namespace zqlogging
