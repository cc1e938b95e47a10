#include "ocr/FixedPitch.h"

#include <algorithm>
#include <cmath>

namespace zqlogging::ocr {
namespace {

/// Fewer letters prove nothing.
constexpr std::size_t kMinSteps = 4;
/// No font of fixed pitch is narrower, in heights of its capitals.
constexpr double kMinPitch = 0.45;
/// How far letters stand from the middle of their cells, in pitches.
constexpr double kTolerance = 0.15;

}  // namespace

double fixedPitch(const std::vector<double>& middles, double height) {
  std::vector<double> steps;
  for (std::size_t i = 1; i < middles.size(); ++i) {
    steps.push_back(middles[i] - middles[i - 1]);
  }
  if (steps.size() < kMinSteps) {
    return 0;
  }
  std::sort(steps.begin(), steps.end());
  // The smallest step of which nearly all others are multiples.
  for (const double pitch : steps) {
    if (pitch < kMinPitch * height) {
      continue;
    }
    const auto fits = [pitch](double step) {
      const double times = std::round(step / pitch);
      return times >= 1 && std::abs(step - pitch * times) <= kTolerance * pitch;
    };
    if (static_cast<std::size_t>(std::count_if(steps.begin(), steps.end(), fits)) * 10 >= steps.size() * 9) {
      return pitch;
    }
  }
  return 0;
}

}  // namespace zqlogging::ocr
