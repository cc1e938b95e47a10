#pragma once

#include "ocr/LineSegmentation.h"

namespace zqlogging::ocr {

/// One line of text as an engine wants it: dark on white, of a set height, its letters of a set size at a set place.
struct LinePicture {
  GrayPlane pixels;
  double scale = 1;  ///< its pixels per pixel of the source
  double left = 0;   ///< the column of the source at its left edge

  [[nodiscard]] double sourceColumn(double column) const { return left + column / scale; }
};

LinePicture drawLine(const Segmentation& picture, const TextLine& line);

}  // namespace zqlogging::ocr
