#include "ocr/Glyphs.h"

#include <cmath>

namespace zqlogging::ocr {
namespace {

// In heights of the line's capitals, where nothing else is said.
constexpr double kThin = 0.27;  ///< the width of an upright stroke, the size of a dot
constexpr double kMinThinPixels = 2;
constexpr double kMinStrokeHeight = 0.75;
/// How far an upright stroke may lean: columns a row.
constexpr double kMaxLean = 0.12;
/// A row of a stroke paler than this part of the usual one is the gap under or over a dot.
constexpr double kGapShare = 0.75;

/// Tells the shape of one glyph.
class ShapeFinder {
 public:
  ShapeFinder(const Segmentation& picture, const TextLine& line)
      : picture_(picture),
        top_(line.top),
        baseline_(line.baseline),
        height_(line.height()),
        thin_(std::max(kMinThinPixels, kThin * line.height())) {}

  [[nodiscard]] Glyph::Shape shapeOf(const std::vector<int>& parts) const {
    if (parts.size() == 1) {
      return ofOne(parts.front());
    }
    if (parts.size() != 2) {
      return Glyph::Shape::other;
    }
    const PixelBox& a = picture_.components.all[parts[0]].box;
    const PixelBox& b = picture_.components.all[parts[1]].box;
    return a.y < b.y ? ofTwo(a, b) : ofTwo(b, a);
  }

 private:
  [[nodiscard]] bool isDot(const PixelBox& box) const { return box.width <= thin_ && box.height <= thin_ + 0.5; }
  [[nodiscard]] bool stands(const PixelBox& box) const { return std::abs(box.bottom() - baseline_) <= 1; }

  [[nodiscard]] Glyph::Shape ofTwo(const PixelBox& above, const PixelBox& below) const {
    const bool colon = above.bottom() <= below.y && stands(below) && isDot(above) && isDot(below);
    return colon ? Glyph::Shape::colon : Glyph::Shape::other;
  }

  [[nodiscard]] Glyph::Shape ofOne(int part) const {
    const PixelBox& box = picture_.components.all[part].box;
    if (isDot(box) && stands(box)) {
      return Glyph::Shape::dot;
    }
    if (box.height <= thin_ && box.width >= 1.5 * box.height) {
      if (box.y >= baseline_) {
        return Glyph::Shape::lowDash;
      }
      const bool atHalfHeight = box.y > top_ + 0.3 * height_ && box.bottom() < baseline_ - 0.15 * height_;
      return atHalfHeight ? Glyph::Shape::dash : Glyph::Shape::other;
    }
    const bool bar = box.height >= kMinStrokeHeight * height_ && box.width <= thin_ && isBar(part, box);
    return bar ? Glyph::Shape::bar : Glyph::Shape::other;
  }

  /// Whether a thin shape is one stroke that stands upright: where its middle is in the upper and in the lower third
  /// tells how it leans. The gap under or over a dot may be only a paler row.
  [[nodiscard]] bool isBar(int part, const PixelBox& box) const {
    std::vector<double> rows(static_cast<std::size_t>(box.height), 0);
    double upper = 0, upperInk = 0, lower = 0, lowerInk = 0;
    for (int y = 0; y < box.height; ++y) {
      for (int x = 0; x < box.width; ++x) {
        if (picture_.components.labels.at(box.x + x, box.y + y) != part) {
          continue;
        }
        const double weight = picture_.contrast.at(box.x + x, box.y + y);
        rows[y] += weight;
        if (y * 3 < box.height) {
          upper += weight * x;
          upperInk += weight;
        } else if ((box.height - 1 - y) * 3 < box.height) {
          lower += weight * x;
          lowerInk += weight;
        }
      }
    }
    if (upperInk <= 0 || lowerInk <= 0) {
      return false;
    }
    const double lean = (upper / upperInk - lower / lowerInk) / (box.height * 2 / 3.0);
    return std::abs(lean) < kMaxLean && !hasDot(rows);
  }

  static bool hasDot(const std::vector<double>& rows) {
    std::vector<double> sorted = rows;
    const auto usual = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), usual, sorted.end());
    for (std::size_t y = 1; y + 1 < rows.size(); ++y) {
      const bool gap = rows[y] < kGapShare * *usual && rows[y - 1] > rows[y] && rows[y + 1] >= rows[y];
      if (gap && (y * 5 < rows.size() * 2 || y * 5 >= rows.size() * 3)) {
        return true;
      }
    }
    return false;
  }

  const Segmentation& picture_;
  int top_, baseline_;
  double height_, thin_;
};

}  // namespace

bool isPlus(const Components& components, int component) {
  const PixelBox& b = components.all[component].box;
  if (std::abs(b.width - b.height) > 1) {
    return false;
  }
  const auto isInk = [&](int x, int y) { return components.labels.at(b.x + x, b.y + y) == component; };
  const int corner = std::max(1, (b.width - 1) / 3);
  for (int x = 0; x < corner; ++x) {
    for (int y = 0; y < corner; ++y) {
      const int mirroredX = b.width - 1 - x;
      const int mirroredY = b.height - 1 - y;
      if (isInk(x, y) || isInk(mirroredX, y) || isInk(x, mirroredY) || isInk(mirroredX, mirroredY)) {
        return false;
      }
    }
  }
  for (int x = 0; x < b.width; ++x) {
    if (!isInk(x, b.height / 2) && !isInk(x, (b.height - 1) / 2)) {
      return false;
    }
  }
  for (int y = 0; y < b.height; ++y) {
    if (!isInk(b.width / 2, y) && !isInk((b.width - 1) / 2, y)) {
      return false;
    }
  }
  return true;
}

std::vector<Glyph> findGlyphs(const Segmentation& picture, const TextLine& line) {
  std::vector<Glyph> glyphs;
  std::vector<std::vector<int>> parts;
  for (const int i : line.components) {
    const PixelBox& box = picture.components.all[i].box;
    if (!glyphs.empty() && box.x < glyphs.back().box.right()) {
      glyphs.back().box = unite(glyphs.back().box, box);
      parts.back().push_back(i);
    } else {
      glyphs.push_back({box});
      parts.push_back({i});
    }
  }
  const ShapeFinder finder(picture, line);
  for (std::size_t i = 0; i < glyphs.size(); ++i) {
    glyphs[i].shape = finder.shapeOf(parts[i]);
  }
  return glyphs;
}

}  // namespace zqlogging::ocr
