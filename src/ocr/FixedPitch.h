#pragma once

#include <vector>

namespace zqlogging::ocr {

/// The distance from one letter to the next where it is the same all along the line (text of fixed pitch), else 0.
/// `middles` are the columns of the letters' middles from left to right, `height` is that of the capitals.
double fixedPitch(const std::vector<double>& middles, double height);

}  // namespace zqlogging::ocr
