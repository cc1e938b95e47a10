#pragma once

#include "ocr/Plane.h"

namespace zqlogging::ocr {

struct Colour {
  std::uint8_t blue = 0, green = 0, red = 0;
};

/// The largest difference of a channel.
int colourDistance(Colour a, Colour b);

/// For each pixel the colour of the surface that it lies on: of a window, a button, a selection, a gradient.
Plane<Colour> findBackground(const Plane<Colour>& picture);

/// How far each pixel's colour is from its background: 0 on the bare surface, up to 255. Dark on light and light on
/// dark come out alike.
GrayPlane measureContrast(const Plane<Colour>& picture, const Plane<Colour>& background);

}  // namespace zqlogging::ocr
