#include "ocr/LineSegmentation.h"

#include <cstdlib>
#include <utility>

#include "ocr/LineBuilder.h"

namespace zqlogging::ocr {
namespace {

/// The contrast from which pixels are ink, and that from which they may be the faint corner of a border.
constexpr int kMinContrast = 24;
constexpr int kFaintContrast = 12;
/// Ink below this part of the strongest contrast of its shape is only the shape's smoothed rim.
constexpr double kRimShare = 0.3;
/// A straight stroke as long as this is a rule, no part of a letter; rules are at most so thick.
constexpr int kRuleLength = 24;
constexpr int kRuleThickness = 3;
/// A shape with a rule in it that is as high as this is a border; a lower one is underlined text.
constexpr int kBorderHeight = 14;
constexpr int kMaxLetterHeight = 40;
/// Lower shapes are marks (dots, dashes): they join a line, but do not begin one.
constexpr int kMinLetterHeight = 5;
/// Shapes at least as large and as full as this are patches, not letters.
constexpr int kPatchSide = 12;
constexpr double kPatchFill = 0.85;
/// Thin upright strokes are sides of something from this height on, and from this many times the usual letter's.
constexpr int kMinSideHeight = 16;
constexpr double kSideFactor = 2.5;
/// A thin stroke of a letter's has another letter as close as this, and as high as this, in its own heights.
constexpr double kBarGap = 0.25, kSmallLetter = 0.6;

GrayPlane markAbove(const GrayPlane& contrast, int least) {
  GrayPlane mask(contrast.width, contrast.height);
  std::transform(contrast.pixels.begin(), contrast.pixels.end(), mask.pixels.begin(),
                 [least](std::uint8_t value) { return static_cast<std::uint8_t>(value > least); });
  return mask;
}

/// The pixels above and below (x, y) without a break, itself included, counted to one more than a rule may have.
int thickness(const GrayPlane& mask, int x, int y) {
  int count = 1;
  for (int i = y - 1; i >= 0 && mask.at(x, i) && count <= kRuleThickness; --i) {
    ++count;
  }
  for (int i = y + 1; i < mask.height && mask.at(x, i) && count <= kRuleThickness; ++i) {
    ++count;
  }
  return count;
}

/// Marks horizontal rules. The pixels of letters that cross one (underlined descenders) are not part of it.
GrayPlane markHorizontalRules(const GrayPlane& mask) {
  GrayPlane rules(mask.width, mask.height);
  for (int y = 0; y < mask.height; ++y) {
    for (int x = 0, end = 0; x < mask.width; x = end + 1) {
      for (end = x; end < mask.width && mask.at(end, y);) {
        ++end;
      }
      if (end - x < kRuleLength) {
        continue;
      }
      int thin = 0;
      for (int i = x; i < end; ++i) {
        thin += thickness(mask, i, y) <= kRuleThickness;
      }
      if (thin * 10 < (end - x) * 7) {
        continue;
      }
      for (int i = x; i < end; ++i) {
        rules.at(i, y) = thickness(mask, i, y) <= kRuleThickness;
      }
    }
  }
  return rules;
}

/// Whether the picture cuts the box off above or below.
bool isCutOff(const PixelBox& box, int pictureHeight) { return box.y == 0 || box.bottom() == pictureHeight; }

/// Marks rules and whole borders, down to their faint corners.
GrayPlane markBorders(const GrayPlane& contrast) {
  const GrayPlane faint = markAbove(contrast, kFaintContrast);
  GrayPlane marks = markHorizontalRules(faint);
  const Components outlines = findComponents(faint, contrast);
  std::vector<bool> isBorder(outlines.all.size(), false);
  for (std::size_t i = 0; i < marks.pixels.size(); ++i) {
    if (!marks.pixels[i]) {
      continue;
    }
    const PixelBox& box = outlines.all[outlines.labels.pixels[i]].box;
    if (box.height >= kBorderHeight || isCutOff(box, contrast.height)) {
      isBorder[outlines.labels.pixels[i]] = true;
    }
  }
  for (std::size_t i = 0; i < marks.pixels.size(); ++i) {
    if (faint.pixels[i] && isBorder[outlines.labels.pixels[i]]) {
      marks.pixels[i] = 1;
    }
  }
  return marks;
}

/// Marks ink: what stands out from its surface, without borders and without the smoothed rims of stronger shapes.
GrayPlane markInk(const GrayPlane& contrast, const GrayPlane& borders) {
  GrayPlane mask = markAbove(contrast, kMinContrast);
  for (std::size_t i = 0; i < mask.pixels.size(); ++i) {
    mask.pixels[i] = mask.pixels[i] && !borders.pixels[i];
  }
  const Components rough = findComponents(mask, contrast);
  for (std::size_t i = 0; i < mask.pixels.size(); ++i) {
    if (mask.pixels[i]) {
      mask.pixels[i] = contrast.pixels[i] > kRimShare * rough.all[rough.labels.pixels[i]].peak;
    }
  }
  return mask;
}

ShapeKind kindOf(const Component& component, int pictureHeight) {
  const auto [x, y, width, height] = component.box;
  if (height > kMaxLetterHeight) {
    return ShapeKind::barrier;
  }
  if (width <= kRuleThickness && height >= kMinLetterHeight && isCutOff(component.box, pictureHeight)) {
    return ShapeKind::barrier;
  }
  if (std::min(width, height) <= kRuleThickness && std::max(width, height) >= kRuleLength) {
    return ShapeKind::barrier;
  }
  if (std::min(width, height) >= kPatchSide && component.area > kPatchFill * width * height) {
    return ShapeKind::barrier;
  }
  return height >= kMinLetterHeight ? ShapeKind::letter : ShapeKind::mark;
}

/// Whether a thin stroke that may be the side of something is rather a letter's, as another one close beside it tells.
bool isBarBeside(const PixelBox& stroke, const PixelBox& letter) {
  const int gap = columnsBetween(stroke, letter);
  if (stroke.height < kRuleLength) {
    return gap <= kRuleThickness && commonRows(stroke, letter) * 2 >= stroke.height;
  }
  // In large type: on the same baseline.
  return gap <= kBarGap * stroke.height && letter.height >= kSmallLetter * stroke.height &&
         std::abs(stroke.bottom() - letter.bottom()) <= 1;
}

void restoreBars(const Components& components, std::vector<ShapeKind>& kinds) {
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    const PixelBox& box = components.all[i].box;
    if (kinds[i] != ShapeKind::barrier || box.width > kRuleThickness || box.height > kMaxLetterHeight) {
      continue;
    }
    for (std::size_t j = 0; j < kinds.size() && kinds[i] == ShapeKind::barrier; ++j) {
      if (kinds[j] == ShapeKind::letter && isBarBeside(box, components.all[j].box)) {
        kinds[i] = ShapeKind::letter;
      }
    }
  }
}

std::vector<ShapeKind> kindsOf(const Components& components) {
  std::vector<ShapeKind> kinds;
  std::vector<int> heights;
  for (const Component& component : components.all) {
    kinds.push_back(kindOf(component, components.labels.height));
    if (kinds.back() == ShapeKind::letter && component.box.width >= kRuleThickness &&
        component.box.height <= kMaxLetterHeight / 2) {
      heights.push_back(component.box.height);
    }
  }
  restoreBars(components, kinds);
  if (heights.empty()) {
    return kinds;
  }
  const auto usual = heights.begin() + static_cast<std::ptrdiff_t>(heights.size() / 2);
  std::nth_element(heights.begin(), usual, heights.end());
  const double side = std::max<double>(kMinSideHeight, kSideFactor * *usual);
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    const PixelBox& box = components.all[i].box;
    if (kinds[i] == ShapeKind::letter && box.width <= kRuleThickness && box.height >= side) {
      kinds[i] = ShapeKind::barrier;
    }
  }
  return kinds;
}

}  // namespace

Segmentation findLines(const Plane<Colour>& picture) {
  Segmentation found;
  found.background = findBackground(picture);
  found.contrast = measureContrast(picture, found.background);
  GrayPlane barriers = markBorders(found.contrast);
  const GrayPlane ink = markInk(found.contrast, barriers);
  found.components = findComponents(ink, found.contrast);
  const std::vector<ShapeKind> kinds = kindsOf(found.components);
  for (std::size_t i = 0; i < ink.pixels.size(); ++i) {
    if (ink.pixels[i] && kinds[found.components.labels.pixels[i]] == ShapeKind::barrier) {
      barriers.pixels[i] = 1;
    }
  }
  found.lines = LineBuilder(found, barriers, kinds).build();
  return found;
}

}  // namespace zqlogging::ocr
