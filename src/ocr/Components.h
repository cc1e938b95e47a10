#pragma once

#include <vector>

#include "ocr/Plane.h"

namespace zqlogging::ocr {

/// Pixels that hang together, diagonals included.
struct Component {
  PixelBox box;
  int area = 0;  ///< pixels
  int peak = 0;  ///< the strongest contrast among them
};

struct Components {
  Plane<int> labels;  ///< an index into `all`, or -1
  std::vector<Component> all;
};

/// The components of the pixels that are not 0 in `mask`, in reading order of their first pixels.
Components findComponents(const GrayPlane& mask, const GrayPlane& contrast);

}  // namespace zqlogging::ocr
