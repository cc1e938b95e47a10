#pragma once

#include <vector>

#include "ocr/LineSegmentation.h"

namespace zqlogging::ocr {

/// The parts of a line's ink that share columns: a letter, as a rule, or several that touch.
struct Glyph {
  /// What the ink shows beyond doubt. Upright strokes are I, l or |.
  enum class Shape { other, bar, dot, colon, dash, lowDash };
  PixelBox box;
  Shape shape = Shape::other;
};

/// Whether a component is a plus sign: one stroke across, one down, nothing in the corners.
bool isPlus(const Components& components, int component);

/// The glyphs of a line, from left to right.
std::vector<Glyph> findGlyphs(const Segmentation& picture, const TextLine& line);

}  // namespace zqlogging::ocr
