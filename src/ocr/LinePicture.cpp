#include "ocr/LinePicture.h"

#include <array>
#include <cmath>

namespace zqlogging::ocr {
namespace {

/// The rows that Tesseract's line models take: a picture of this height is not scaled once more.
constexpr int kRows = 36;
/// Where the letters stand in them, what was best of all that were tried (accuracy on rendered screens).
constexpr double kCapitals = 16, kBaseline = 25.5;
constexpr double kSideMargin = 3;
/// Rows left white above and below.
constexpr double kRim = 1;
/// A line is made this much smaller at most to leave its letters where they should stand; beyond that they move.
constexpr double kMinShrink = 0.8;
constexpr double kMaxScale = 4;

/// Mitchell and Netravali's filter: smooth, hardly blurred, hardly ringing.
double weight(double distance) {
  const double x = std::abs(distance);
  if (x < 1) {
    return (7 * x * x * x - 12 * x * x + 16.0 / 3) / 6;
  }
  if (x < 2) {
    return (-7.0 / 3 * x * x * x + 12 * x * x - 20 * x + 32.0 / 3) / 6;
  }
  return 0;
}

/// The four source pixels that make up one pixel of a scaled row or column, and their weights.
struct Taps {
  int first = 0;
  std::array<float, 4> weights{};
};

Taps tapsAt(double sourcePosition) {
  const double place = sourcePosition - 0.5;
  Taps taps;
  taps.first = static_cast<int>(std::floor(place)) - 1;
  for (int i = 0; i < 4; ++i) {
    taps.weights[i] = static_cast<float>(weight(place - (taps.first + i)));
  }
  return taps;
}

/// The line's ink: 1 where it is strongest, 0 on the bare surface and on what belongs to something else.
class Ink {
 public:
  Ink(const Segmentation& picture, const TextLine& line)
      : picture_(picture), mine_(picture.components.all.size(), false) {
    int peak = 1;
    for (const int i : line.components) {
      mine_[i] = true;
      peak = std::max(peak, picture.components.all[i].peak);
    }
    unit_ = 1.0F / static_cast<float>(peak);
  }

  [[nodiscard]] float at(int x, int y) const {
    if (!picture_.contrast.contains(x, y)) {
      return 0;
    }
    const int label = picture_.components.labels.at(x, y);
    if (label >= 0 && !mine_[label]) {
      return 0;
    }
    return std::min(1.0F, picture_.contrast.at(x, y) * unit_);
  }

 private:
  const Segmentation& picture_;
  std::vector<bool> mine_;
  float unit_;
};

}  // namespace

LinePicture drawLine(const Segmentation& picture, const TextLine& line) {
  LinePicture drawn;
  const double above = line.baseline - line.box.y;
  const double below = line.box.bottom() - line.baseline;
  double baseline = kBaseline;
  double scale = std::min(kMaxScale, kCapitals / line.height());
  const double room = kRows - 2 * kRim;
  double shrink = std::min(1.0, (baseline - kRim) / (above * scale));
  if (below > 0) {
    shrink = std::min(shrink, (kRows - kRim - baseline) / (below * scale));
  }
  if (shrink < kMinShrink) {
    shrink = std::min(1.0, room / ((above + below) * scale));
  }
  scale *= shrink;
  baseline = std::max(baseline, above * scale + kRim);
  baseline = std::min(baseline, kRows - kRim - below * scale);

  drawn.scale = scale;
  drawn.left = line.box.x - kSideMargin / scale;
  const int columns = static_cast<int>(std::ceil(line.box.width * scale + 2 * kSideMargin));
  const double top = line.baseline - baseline / scale;
  const int firstRow = tapsAt(top).first;
  const int rows = tapsAt(top + kRows / scale).first + 4 - firstRow;

  const Ink ink(picture, line);
  Plane<float> wide(columns, rows);
  for (int x = 0; x < columns; ++x) {
    const Taps taps = tapsAt(drawn.sourceColumn(x + 0.5));
    for (int y = 0; y < rows; ++y) {
      float sum = 0;
      for (int i = 0; i < 4; ++i) {
        sum += taps.weights[i] * ink.at(taps.first + i, firstRow + y);
      }
      wide.at(x, y) = sum;
    }
  }
  drawn.pixels = GrayPlane(columns, kRows);
  for (int y = 0; y < kRows; ++y) {
    const Taps taps = tapsAt(top + (y + 0.5) / scale);
    for (int x = 0; x < columns; ++x) {
      float sum = 0;
      for (int i = 0; i < 4; ++i) {
        sum += taps.weights[i] * wide.at(x, taps.first + i - firstRow);
      }
      drawn.pixels.at(x, y) = static_cast<std::uint8_t>(std::lround(255 * (1 - std::clamp(sum, 0.0F, 1.0F))));
    }
  }
  return drawn;
}

}  // namespace zqlogging::ocr
