#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zqlogging::ocr {

/// A rectangle of whole pixels, origin top-left.
struct PixelBox {
  int x = 0, y = 0, width = 0, height = 0;
  [[nodiscard]] int right() const { return x + width; }
  [[nodiscard]] int bottom() const { return y + height; }
  [[nodiscard]] double middle() const { return x + width / 2.0; }  ///< column
  friend bool operator==(const PixelBox&, const PixelBox&) = default;
};

inline PixelBox unite(const PixelBox& a, const PixelBox& b) {
  const int x = std::min(a.x, b.x);
  const int y = std::min(a.y, b.y);
  return {x, y, std::max(a.right(), b.right()) - x, std::max(a.bottom(), b.bottom()) - y};
}

/// How many rows the two have in common; negative when there are rows between them.
inline int commonRows(const PixelBox& a, const PixelBox& b) {
  return std::min(a.bottom(), b.bottom()) - std::max(a.y, b.y);
}

/// How many columns lie between the two; negative when they have columns in common.
inline int columnsBetween(const PixelBox& a, const PixelBox& b) {
  return std::max(a.x, b.x) - std::min(a.right(), b.right());
}

/// A picture of one value a pixel, rows without padding.
template <class T>
struct Plane {
  int width = 0, height = 0;
  std::vector<T> pixels;

  Plane() = default;
  Plane(int columns, int rows, T value = {})
      : width(columns),
        height(rows),
        pixels(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows), value) {}
  [[nodiscard]] T* row(int y) { return pixels.data() + static_cast<std::ptrdiff_t>(y) * width; }
  [[nodiscard]] const T* row(int y) const { return pixels.data() + static_cast<std::ptrdiff_t>(y) * width; }
  [[nodiscard]] T& at(int x, int y) { return row(y)[x]; }
  [[nodiscard]] const T& at(int x, int y) const { return row(y)[x]; }
  [[nodiscard]] bool contains(int x, int y) const { return x >= 0 && y >= 0 && x < width && y < height; }
};

using GrayPlane = Plane<std::uint8_t>;

}  // namespace zqlogging::ocr
