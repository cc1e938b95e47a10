#include "ocr/Glyphs.h"

#include <cmath>

namespace zqlogging::ocr {
namespace {

// In heights of the line's capitals, where nothing else is said.
constexpr double kThin = 0.27;  ///< the width of an upright stroke, the size of a dot
constexpr double kMinThinPixels = 2;
constexpr double kMinStrokeHeight = 0.75;
constexpr double kMinStemHeight = 0.5;
/// The least size of a plus sign, in pixels.
constexpr int kMinPlus = 5;
/// How far strokes lean: columns a row.
constexpr double kUpright = 0.12, kMinSlash = 0.25, kMaxSlash = 0.8;
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
    if (above.bottom() > below.y || !stands(below)) {
      return Glyph::Shape::other;
    }
    const auto isStem = [&](const PixelBox& box) {
      return box.width <= thin_ && box.height >= kMinStemHeight * height_;
    };
    if (isDot(above) && isDot(below)) {
      return Glyph::Shape::colon;
    }
    if (isDot(above) && isStem(below)) {
      return Glyph::Shape::dottedBar;
    }
    if (isStem(above) && isDot(below)) {
      return Glyph::Shape::barOverDot;
    }
    return Glyph::Shape::other;
  }

  [[nodiscard]] Glyph::Shape ofOne(int part) const {
    const PixelBox& box = picture_.components.all[part].box;
    if (isDot(box) && stands(box)) {
      return Glyph::Shape::dot;
    }
    if (std::min(box.width, box.height) >= kMinPlus && isPlus(picture_.components, part)) {
      return Glyph::Shape::plus;
    }
    if (box.height <= thin_ && box.width >= 1.5 * box.height) {
      if (box.y >= baseline_) {
        return Glyph::Shape::lowDash;
      }
      const bool atHalfHeight = box.y > top_ + 0.3 * height_ && box.bottom() < baseline_ - 0.15 * height_;
      return atHalfHeight ? Glyph::Shape::dash : Glyph::Shape::other;
    }
    return box.height >= kMinStrokeHeight * height_ ? ofStroke(part, box) : Glyph::Shape::other;
  }

  /// A high shape: where its middle is in the upper and in the lower third tells bars from slashes.
  [[nodiscard]] Glyph::Shape ofStroke(int part, const PixelBox& box) const {
    std::vector<double> rows(static_cast<std::size_t>(box.height), 0);
    double ink = 0;
    double upper = 0, upperInk = 0, lower = 0, lowerInk = 0;
    for (int y = 0; y < box.height; ++y) {
      for (int x = 0; x < box.width; ++x) {
        if (picture_.components.labels.at(box.x + x, box.y + y) != part) {
          continue;
        }
        const double weight = picture_.contrast.at(box.x + x, box.y + y);
        rows[y] += weight;
        ink += weight;
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
      return Glyph::Shape::other;
    }
    const double lean = (upper / upperInk - lower / lowerInk) / (box.height * 2 / 3.0);
    if (box.width <= thin_ && std::abs(lean) < kUpright) {
      return ofUpright(rows);
    }
    const double stroke = ink / picture_.components.all[part].peak / box.height;
    const bool narrow = box.width <= 0.65 * box.height && stroke < 0.22 * height_ && stroke < 0.5 * box.width;
    return narrow && lean > kMinSlash && lean < kMaxSlash ? Glyph::Shape::slash : Glyph::Shape::other;
  }

  /// An upright stroke: the gap under or over a dot may be only a paler row.
  static Glyph::Shape ofUpright(const std::vector<double>& rows) {
    std::vector<double> sorted = rows;
    const auto usual = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), usual, sorted.end());
    for (std::size_t y = 1; y + 1 < rows.size(); ++y) {
      if (rows[y] >= kGapShare * *usual || rows[y - 1] <= rows[y] || rows[y + 1] < rows[y]) {
        continue;
      }
      if (y * 5 < rows.size() * 2) {
        return Glyph::Shape::dottedBar;
      }
      if (y * 5 >= rows.size() * 3) {
        return Glyph::Shape::barOverDot;
      }
    }
    return Glyph::Shape::bar;
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
