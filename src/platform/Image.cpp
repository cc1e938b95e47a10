#include "platform/Image.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace zqlogging::port {
namespace {

constexpr std::size_t kBytesPerPixel = 4;
/// The longest side of a picture that is rendered; no screen is larger, and a hostile size must not take the memory.
constexpr double kMaxSide = 32768;
/// What calculating with normalized boxes leaves over, in pixels.
constexpr double kRoundingError = 1e-6;

bool hasPixels(const PixelBuffer& frame) {
  return frame.pixels != nullptr && frame.width > 0 && frame.height > 0 &&
         frame.bytesPerRow >= kBytesPerPixel * static_cast<std::size_t>(frame.width);
}

bool isEmpty(CGRect rect) {
  return !(rect.size.width > 0 && rect.size.height > 0 && std::isfinite(rect.origin.x) && std::isfinite(rect.origin.y));
}

CGRect intersection(CGRect a, CGRect b) {
  if (isEmpty(a) || isEmpty(b)) {
    return {};
  }
  const double left = std::max(a.origin.x, b.origin.x);
  const double bottom = std::max(a.origin.y, b.origin.y);
  const double right = std::min(a.origin.x + a.size.width, b.origin.x + b.size.width);
  const double top = std::min(a.origin.y + a.size.height, b.origin.y + b.size.height);
  return right > left && top > bottom ? CGRect{{left, bottom}, {right - left, top - bottom}} : CGRect{};
}

/// Blackens a part (origin lower-left) of a picture whose top left corner is given.
void paintOver(Bitmap& picture, CGRect part, CGPoint topLeft) {
  if (isEmpty(part)) {
    return;
  }
  const auto column = [&](double x) { return std::clamp(static_cast<int>(x - topLeft.x), 0, picture.width); };
  const auto row = [&](double y) { return std::clamp(static_cast<int>(topLeft.y - y), 0, picture.height); };
  const int first = column(std::floor(part.origin.x));
  const int last = column(std::ceil(part.origin.x + part.size.width));
  const int bottom = row(std::floor(part.origin.y));
  for (int line = row(std::ceil(part.origin.y + part.size.height)); line < bottom; ++line) {
    std::uint8_t* pixel = picture.pixels.data() +
                          kBytesPerPixel * (static_cast<std::size_t>(line) * static_cast<std::size_t>(picture.width) +
                                            static_cast<std::size_t>(first));
    std::memset(pixel, 0, kBytesPerPixel * static_cast<std::size_t>(std::max(last - first, 0)));
  }
}

}  // namespace

Image::Image(PixelBuffer frame)
    : frame_(std::move(frame)),
      extent_{{0, 0},
              {static_cast<double>(std::max(frame_.width, 0)), static_cast<double>(std::max(frame_.height, 0))}} {}

Image Image::cropped(CGRect rect) const {
  Image result = *this;
  result.extent_ = intersection(extent_, rect);
  return result;
}

Image Image::scaled(double sx, double sy) const {
  Image result = *this;
  result.extent_ = {{extent_.origin.x * sx, extent_.origin.y * sy},
                    {extent_.size.width * sx, extent_.size.height * sy}};
  result.scaleX_ *= sx;
  result.scaleY_ *= sy;
  result.offsetX_ *= sx;
  result.offsetY_ *= sy;
  return result;
}

Image Image::translated(double dx, double dy) const {
  Image result = *this;
  result.extent_.origin.x += dx;
  result.extent_.origin.y += dy;
  result.offsetX_ += dx;
  result.offsetY_ += dy;
  return result;
}

Image Image::covered(std::vector<CGRect> rects) const {
  Image result = *this;
  result.covers_ = std::move(rects);
  return result;
}

Bitmap Image::render() const {
  if (!hasPixels(frame_) || isEmpty(extent_)) {
    return {};
  }
  const double left = std::floor(extent_.origin.x);
  const double top = std::ceil(extent_.origin.y + extent_.size.height);
  const double width = std::ceil(extent_.origin.x + extent_.size.width) - left;
  const double height = top - std::floor(extent_.origin.y);
  if (!(width <= kMaxSide && height <= kMaxSide)) {
    return {};
  }
  Bitmap result;
  result.width = static_cast<int>(width);
  result.height = static_cast<int>(height);
  result.pixels.resize(kBytesPerPixel * static_cast<std::size_t>(result.width) *
                       static_cast<std::size_t>(result.height));
  const CGRect extent = {{left, top - height}, {width, height}};
  // The frame's pixel under the centre of the picture's; at the rounded-out edges the nearest one.
  const auto source = [](double position, double offset, double scale, int size) {
    const double index = std::floor((position - offset) / scale);
    return static_cast<int>(std::clamp(index, 0.0, static_cast<double>(size - 1)));
  };
  std::uint8_t* out = result.pixels.data();
  for (int row = 0; row < result.height; ++row) {
    const int up = source(top - row - 0.5, offsetY_, scaleY_, frame_.height);
    const std::uint8_t* line =
        frame_.pixels.get() + static_cast<std::size_t>(frame_.height - 1 - up) * frame_.bytesPerRow;
    for (int column = 0; column < result.width; ++column, out += kBytesPerPixel) {
      const int across = source(left + column + 0.5, offsetX_, scaleX_, frame_.width);
      std::memcpy(out, line + kBytesPerPixel * static_cast<std::size_t>(across), kBytesPerPixel);
    }
  }
  for (const CGRect& cover : covers_) {
    const CGRect scaled = {{cover.origin.x * scaleX_ + offsetX_, cover.origin.y * scaleY_ + offsetY_},
                           {cover.size.width * scaleX_, cover.size.height * scaleY_}};
    paintOver(result, intersection(extent, scaled), {left, top});
  }
  return result;
}

Bitmap cutOut(const Bitmap& bitmap, CGRect box) {
  const CGRect whole = {{0, 0}, {static_cast<double>(bitmap.width), static_cast<double>(bitmap.height)}};
  const CGRect part = intersection(whole, box);
  if (isEmpty(part)) {
    return {};
  }
  const auto first = [](double edge) { return static_cast<int>(std::floor(edge + kRoundingError)); };
  const auto last = [](double edge) { return static_cast<int>(std::ceil(edge - kRoundingError)); };
  const int left = first(part.origin.x);
  const int top = first(part.origin.y);
  Bitmap result;
  result.width = last(part.origin.x + part.size.width) - left;
  result.height = last(part.origin.y + part.size.height) - top;
  if (result.width <= 0 || result.height <= 0) {
    return {};
  }
  const std::size_t rowBytes = kBytesPerPixel * static_cast<std::size_t>(result.width);
  result.pixels.resize(rowBytes * static_cast<std::size_t>(result.height));
  for (int row = 0; row < result.height; ++row) {
    const std::size_t from =
        kBytesPerPixel *
        (static_cast<std::size_t>(top + row) * static_cast<std::size_t>(bitmap.width) + static_cast<std::size_t>(left));
    std::memcpy(result.pixels.data() + static_cast<std::size_t>(row) * rowBytes, bitmap.pixels.data() + from, rowBytes);
  }
  return result;
}

}  // namespace zqlogging::port
