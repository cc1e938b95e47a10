#pragma once

#include <vector>

#include "ocr/Plane.h"

namespace zqlogging::ocr {

/// The distance from one character to the next where it is the same all along the line (text of fixed pitch), else 0.
/// `glyphs` go from left to right, characters that touch being one of them; `height` is that of the capitals.
double fixedPitch(const std::vector<PixelBox>& glyphs, double height);

}  // namespace zqlogging::ocr
