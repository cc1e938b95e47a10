#pragma once

#include <string>

#include "zqlogging/Geometry.h"
#include "zqlogging/Pixels.h"

namespace zqlogging {

/// One piece of text recognized around a click.
struct ZQTextDetection {
  std::string string;               ///< the best candidate, UTF-8
  CGRect box;                       ///< inside the recognition rectangle, in pixels, origin at its top-left corner
  Bitmap image;                     ///< the pixels of `box`; the empty picture when they cannot be had
  bool containsClickPoint = false;  ///< whether `box` contains the click point
  friend bool operator==(const ZQTextDetection&, const ZQTextDetection&) = default;
};

/// One rectangle found around a click. The first of a list is the whole recognition rectangle.
struct ZQRectangleDetection {
  CGRect box;                       ///< as in ZQTextDetection
  Bitmap image;                     ///< as in ZQTextDetection
  bool containsClickPoint = false;  ///< as in ZQTextDetection
  friend bool operator==(const ZQRectangleDetection&, const ZQRectangleDetection&) = default;
};

}  // namespace zqlogging
