#pragma once

#include <vector>

#include "zqlogging/Geometry.h"
#include "zqlogging/Pixels.h"

namespace zqlogging::port {

/// A picture described by a frame and what is to be done with it; pixels are touched only by `render`.
/// Coordinates: origin at the lower-left corner of the frame, units are pixels. Holds the frame, copies nothing.
class Image {
 public:
  /// The whole frame: extent (0, 0, width, height).
  explicit Image(PixelBuffer frame);

  [[nodiscard]] CGRect extent() const { return extent_; }
  /// The part inside `rect`; the extent becomes the intersection, its origin is not moved. May become empty.
  [[nodiscard]] Image cropped(CGRect rect) const;
  [[nodiscard]] Image scaled(double sx, double sy) const;
  [[nodiscard]] Image translated(double dx, double dy) const;
  /// With these rectangles of the frame painted over.
  [[nodiscard]] Image covered(std::vector<CGRect> rects) const;

  /// The pixels of the extent, rounded outward to whole pixels, top row first. The empty bitmap when there are none.
  [[nodiscard]] Bitmap render() const;

 private:
  PixelBuffer frame_;
  std::vector<CGRect> covers_;
  CGRect extent_;
  double scaleX_ = 1, scaleY_ = 1, offsetX_ = 0, offsetY_ = 0;  // picture = frame × scale + offset
};

/// The part of a bitmap inside `box` (origin top-left), rounded outward to whole pixels and clipped to the bitmap.
Bitmap cutOut(const Bitmap& bitmap, CGRect box);

}  // namespace zqlogging::port
