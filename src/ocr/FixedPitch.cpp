#include "ocr/FixedPitch.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace zqlogging::ocr {
namespace {

/// Fewer steps from one character to the next prove nothing.
constexpr std::size_t kMinSteps = 4;
/// No font of fixed pitch is narrower, in heights of its capitals.
constexpr double kMinPitch = 0.45;
/// How far letters stand from the middle of their cells, in pitches.
constexpr double kTolerance = 0.15;

/// How many characters a glyph is made of: those of a font of fixed pitch are hardly wider than the pitch.
double charactersIn(const PixelBox& glyph, double pitch) { return std::max(1.0, std::round(glyph.width / pitch)); }

/// Whether nearly all glyphs stand in cells of this width.
bool fits(const std::vector<PixelBox>& glyphs, double pitch) {
  std::size_t fitting = 0;
  for (std::size_t i = 1; i < glyphs.size(); ++i) {
    const double wider = charactersIn(glyphs[i], pitch) - charactersIn(glyphs[i - 1], pitch);
    const double step = glyphs[i].middle() - glyphs[i - 1].middle() - wider * pitch / 2;
    const double cells = std::round(step / pitch);
    fitting += cells >= 1 && std::abs(step - pitch * cells) <= kTolerance * pitch;
  }
  return fitting * 10 >= (glyphs.size() - 1) * 9;
}

}  // namespace

double fixedPitch(const std::vector<PixelBox>& glyphs, double height) {
  if (glyphs.size() <= kMinSteps) {
    return 0;
  }
  std::vector<double> steps;
  for (std::size_t i = 1; i < glyphs.size(); ++i) {
    steps.push_back(glyphs[i].middle() - glyphs[i - 1].middle());
  }
  std::sort(steps.begin(), steps.end());
  for (const double candidate : steps) {
    if (candidate < kMinPitch * height) {
      continue;
    }
    // Whole pixels round the steps: the mean of those alike is the pitch.
    double sum = 0;
    int alike = 0;
    for (const double step : steps) {
      if (std::abs(step - candidate) <= kTolerance * candidate) {
        sum += step;
        ++alike;
      }
    }
    if (fits(glyphs, sum / alike)) {
      return sum / alike;
    }
  }
  return 0;
}

}  // namespace zqlogging::ocr
