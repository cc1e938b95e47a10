#pragma once

namespace zqlogging {

/// A point in screen points. Which corner is the origin is said where a point is taken or given.
struct CGPoint {
  double x = 0;  ///< to the right
  double y = 0;  ///< away from the origin: up or down
  friend bool operator==(const CGPoint&, const CGPoint&) = default;
};

/// A size in screen points (or pixels, where said so).
struct CGSize {
  double width = 0;   ///< along x
  double height = 0;  ///< along y
  friend bool operator==(const CGSize&, const CGSize&) = default;
};

/// An axis-parallel rectangle.
struct CGRect {
  CGPoint origin;  ///< the corner nearest the origin
  CGSize size;     ///< from that corner
  friend bool operator==(const CGRect&, const CGRect&) = default;

  /// Whether a point lies inside: the minimum edges belong to the rectangle, the maximum edges do not.
  /// \param p  a point with the same origin
  /// \return   false for a rectangle without area, and for a point or rectangle that holds not-a-number
  [[nodiscard]] constexpr bool contains(CGPoint p) const {
    return p.x >= origin.x && p.x < origin.x + size.width && p.y >= origin.y && p.y < origin.y + size.height;
  }
};

}  // namespace zqlogging
