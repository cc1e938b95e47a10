#pragma once

#include <vector>

#include "ocr/Components.h"
#include "ocr/Contrast.h"

namespace zqlogging::ocr {

/// One line of text, or a piece of one that stands alone (a menu title, a table cell).
struct TextLine {
  PixelBox box;                 ///< of its ink
  std::vector<int> components;  ///< its letters and their parts, from left to right
  int top = 0;                  ///< the row of its capitals' tops (of its small letters' when it has no others)
  int baseline = 0;             ///< the row below its letters, descenders apart

  [[nodiscard]] int height() const { return std::max(4, baseline - top); }  ///< of its capitals
};

/// A picture taken apart into what may be text.
struct Segmentation {
  Plane<Colour> background;
  GrayPlane contrast;
  Components components;
  std::vector<TextLine> lines;
};

/// Finds the lines of text in a picture. Rules, borders, icons and big shapes are no text, and keep lines apart.
Segmentation findLines(const Plane<Colour>& picture);

}  // namespace zqlogging::ocr
