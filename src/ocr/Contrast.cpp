#include "ocr/Contrast.h"

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

/// Replaces each byte by the lowest, or the highest, of it and those at the given distances behind it, as many as a
/// square has pixels on a side.
template <class Choose>
void chooseAhead(std::vector<std::uint8_t>& bytes, std::size_t distance, Choose choose) {
  for (std::size_t i = 0; i + (kSurfaceSide - 1) * distance < bytes.size(); ++i) {
    std::uint8_t chosen = bytes[i];
    for (std::size_t ahead = 1; ahead < kSurfaceSide; ++ahead) {
      chosen = choose(chosen, bytes[i + ahead * distance]);
    }
    bytes[i] = chosen;
  }
}

/// Marks every pixel of every square whose colours are alike.
GrayPlane markSurfaces(const Plane<Colour>& picture) {
  static_assert(sizeof(Colour) == 3);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(picture.pixels.data());
  std::vector<std::uint8_t> low(bytes, bytes + sizeof(Colour) * picture.pixels.size());
  std::vector<std::uint8_t> high = low;
  for (const std::size_t distance : {sizeof(Colour), sizeof(Colour) * static_cast<std::size_t>(picture.width)}) {
    chooseAhead(low, distance, [](std::uint8_t a, std::uint8_t b) { return std::min(a, b); });
    chooseAhead(high, distance, [](std::uint8_t a, std::uint8_t b) { return std::max(a, b); });
  }
  GrayPlane marks(picture.width, picture.height);
  for (int y = 0; y + kSurfaceSide <= picture.height; ++y) {
    for (int x = 0; x + kSurfaceSide <= picture.width; ++x) {
      const std::size_t at = sizeof(Colour) * (static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
                                               static_cast<std::size_t>(x));
      const int difference = std::max({high[at] - low[at], high[at + 1] - low[at + 1], high[at + 2] - low[at + 2]});
      if (difference > kSurfaceTolerance) {
        continue;
      }
      for (int i = 0; i < kSurfaceSide; ++i) {
        std::fill_n(&marks.at(x, y + i), kSurfaceSide, std::uint8_t{1});
      }
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
    std::vector<int> border = findBorder();
    spread(border, kGrowTolerance);
    claimEdges();
    spread(border, 255);
    return std::move(background_);
  }

 private:
  /// The pixels of surfaces beside those that may lie on one.
  [[nodiscard]] std::vector<int> findBorder() const {
    std::vector<int> border;
    for (int y = 0; y < known_.height; ++y) {
      const std::uint8_t* row = known_.row(y);
      const std::uint8_t* above = known_.row(std::max(y - 1, 0));
      const std::uint8_t* below = known_.row(std::min(y + 1, known_.height - 1));
      for (int x = 0; x < known_.width; ++x) {
        const bool inside = above[x] && below[x] && row[std::max(x - 1, 0)] && row[std::min(x + 1, known_.width - 1)];
        if (row[x] && !inside) {
          border.push_back(y * known_.width + x);
        }
      }
    }
    return border;
  }

  /// Spreads from the pixels of `border` over neighbours whose colour is near enough, and adds these to it.
  void spread(std::vector<int>& border, int tolerance) {
    const int width = picture_.width;
    for (std::size_t next = 0; next < border.size(); ++next) {
      const int i = border[next];
      const auto visit = [&](int neighbour) {
        if (known_.pixels[neighbour]) {
          return;
        }
        if (colourDistance(picture_.pixels[neighbour], background_.pixels[i]) > tolerance) {
          return;
        }
        known_.pixels[neighbour] = 1;
        background_.pixels[neighbour] = background_.pixels[i];
        border.push_back(neighbour);
      };
      const int x = i % width;
      if (x > 0) {
        visit(i - 1);
      }
      if (x + 1 < width) {
        visit(i + 1);
      }
      if (i >= width) {
        visit(i - width);
      }
      if (i + width < static_cast<int>(known_.pixels.size())) {
        visit(i + width);
      }
    }
  }

  /// The smoothed edge between two surfaces touches both, and its colours lie between theirs: nothing lies there.
  void claimEdges() {
    static constexpr std::array<std::pair<int, int>, 4> kAcross = {{{1, 0}, {0, 1}, {1, 1}, {1, -1}}};
    std::vector<int> edges;
    for (int y = 1; y + 1 < picture_.height; ++y) {
      for (int x = 1; x + 1 < picture_.width; ++x) {
        if (known_.at(x, y)) {
          continue;
        }
        for (const auto& [dx, dy] : kAcross) {
          if (!known_.at(x - dx, y - dy) || !known_.at(x + dx, y + dy)) {
            continue;
          }
          const Colour a = background_.at(x - dx, y - dy);
          const Colour b = background_.at(x + dx, y + dy);
          if (colourDistance(a, b) <= kGrowTolerance || !isBetween(picture_.at(x, y), a, b)) {
            continue;
          }
          edges.push_back(y * picture_.width + x);
          break;
        }
      }
    }
    for (const int i : edges) {
      known_.pixels[i] = 1;  // their background is their own colour, as it was set out
    }
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
