#include "platform/linux/ocr/Contrast.h"

#include <array>
#include <cstdlib>
#include <utility>

namespace zqlogging::ocr {
namespace {

/// Side of the smallest square of one colour that is taken for a surface: wider than the strokes of text.
constexpr int kSurfaceSide = 4;
/// How much the colours inside such a square may differ (gradients, dithering).
constexpr int kSurfaceTolerance = 8;
/// A pixel beside a surface belongs to it when its colour is as near as this.
constexpr int kGrowTolerance = 12;

/// The lowest and the highest value of each channel.
struct Range {
  Colour low = {255, 255, 255};
  Colour high = {0, 0, 0};

  void add(const Range& other) {
    low = {std::min(low.blue, other.low.blue), std::min(low.green, other.low.green), std::min(low.red, other.low.red)};
    high = {std::max(high.blue, other.high.blue), std::max(high.green, other.high.green),
            std::max(high.red, other.high.red)};
  }
};

/// Marks every pixel of every square whose colours are alike.
GrayPlane markSurfaces(const Plane<Colour>& picture) {
  GrayPlane marks(picture.width, picture.height);
  Plane<Range> rows(picture.width, picture.height);  // of the pixels to the right of each, as many as a square is wide
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x + kSurfaceSide <= picture.width; ++x) {
      for (int i = 0; i < kSurfaceSide; ++i) rows.at(x, y).add({picture.at(x + i, y), picture.at(x + i, y)});
    }
  }
  for (int y = 0; y + kSurfaceSide <= picture.height; ++y) {
    for (int x = 0; x + kSurfaceSide <= picture.width; ++x) {
      Range square = rows.at(x, y);
      for (int i = 1; i < kSurfaceSide; ++i) square.add(rows.at(x, y + i));
      if (colourDistance(square.low, square.high) > kSurfaceTolerance) continue;
      for (int i = 0; i < kSurfaceSide; ++i) std::fill_n(&marks.at(x, y + i), kSurfaceSide, std::uint8_t{1});
    }
  }
  return marks;
}

/// Whether colour c may come of smoothing the edge between a and b.
bool isBetween(Colour c, Colour a, Colour b) {
  const auto in = [](int value, int p, int q) {
    return value >= std::min(p, q) - kGrowTolerance && value <= std::max(p, q) + kGrowTolerance;
  };
  return in(c.red, a.red, b.red) && in(c.green, a.green, b.green) && in(c.blue, a.blue, b.blue);
}

/// Spreads surfaces over what lies on them.
class BackgroundFinder {
 public:
  explicit BackgroundFinder(const Plane<Colour>& picture)
      : picture_(picture), background_(picture), known_(markSurfaces(picture)) {}

  Plane<Colour> find() {
    std::vector<int> border;
    border.reserve(known_.pixels.size());
    for (int i = 0; i < static_cast<int>(known_.pixels.size()); ++i) {
      if (known_.pixels[i]) border.push_back(i);
    }
    spread(border, kGrowTolerance);
    claimEdges();
    spread(border, 255);
    return std::move(background_);
  }

 private:
  /// Spreads from the pixels of `border` over neighbours whose colour is near enough, and adds these to it.
  void spread(std::vector<int>& border, int tolerance) {
    const int width = picture_.width;
    for (std::size_t next = 0; next < border.size(); ++next) {
      const int i = border[next];
      const auto visit = [&](int neighbour) {
        if (known_.pixels[neighbour]) return;
        if (colourDistance(picture_.pixels[neighbour], background_.pixels[i]) > tolerance) return;
        known_.pixels[neighbour] = 1;
        background_.pixels[neighbour] = background_.pixels[i];
        border.push_back(neighbour);
      };
      const int x = i % width;
      if (x > 0) visit(i - 1);
      if (x + 1 < width) visit(i + 1);
      if (i >= width) visit(i - width);
      if (i + width < static_cast<int>(known_.pixels.size())) visit(i + width);
    }
  }

  /// The smoothed edge between two surfaces touches both, and its colours lie between theirs: nothing lies there.
  void claimEdges() {
    static constexpr std::array<std::pair<int, int>, 4> kAcross = {{{1, 0}, {0, 1}, {1, 1}, {1, -1}}};
    std::vector<int> edges;
    for (int y = 1; y + 1 < picture_.height; ++y) {
      for (int x = 1; x + 1 < picture_.width; ++x) {
        if (known_.at(x, y)) continue;
        for (const auto& [dx, dy] : kAcross) {
          if (!known_.at(x - dx, y - dy) || !known_.at(x + dx, y + dy)) continue;
          const Colour a = background_.at(x - dx, y - dy);
          const Colour b = background_.at(x + dx, y + dy);
          if (colourDistance(a, b) <= kGrowTolerance || !isBetween(picture_.at(x, y), a, b)) continue;
          edges.push_back(y * picture_.width + x);
          break;
        }
      }
    }
    for (const int i : edges) known_.pixels[i] = 1;  // their background is their own colour, as it was set out
  }

  const Plane<Colour>& picture_;
  Plane<Colour> background_;
  GrayPlane known_;
};

}  // namespace

int colourDistance(Colour a, Colour b) {
  return std::max({std::abs(a.red - b.red), std::abs(a.green - b.green), std::abs(a.blue - b.blue)});
}

Plane<Colour> findBackground(const Plane<Colour>& picture) { return BackgroundFinder(picture).find(); }

GrayPlane measureContrast(const Plane<Colour>& picture, const Plane<Colour>& background) {
  GrayPlane contrast(picture.width, picture.height);
  for (std::size_t i = 0; i < contrast.pixels.size(); ++i) {
    const Colour a = picture.pixels[i];
    const Colour b = background.pixels[i];
    // Weighted somewhat as the eye does, but blue on black must count.
    const int sum = 2 * std::abs(a.blue - b.blue) + 5 * std::abs(a.green - b.green) + 3 * std::abs(a.red - b.red);
    contrast.pixels[i] = static_cast<std::uint8_t>(sum / 10);
  }
  return contrast;
}

}  // namespace zqlogging::ocr
