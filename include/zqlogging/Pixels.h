#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace zqlogging {

/// A captured screen frame: 32-bit pixels in the byte order blue, green, red, alpha, the top row first.
/// The pixels are shared with the host and never copied by the library; the host must not write to them as long as
/// the library holds the frame. A custom deleter in `pixels` tells the host when the library has let go of it.
struct PixelBuffer {
  std::shared_ptr<const std::uint8_t> pixels;  ///< the first byte of the top row
  int width = 0;                               ///< in pixels
  int height = 0;                              ///< in pixels
  std::size_t bytesPerRow = 0;                 ///< distance between the starts of two rows; at least 4 × width
};

/// A picture that owns its pixels: 32-bit blue, green, red, alpha, the top row first, rows without padding.
/// The empty picture has width and height 0.
struct Bitmap {
  int width = 0;                     ///< in pixels
  int height = 0;                    ///< in pixels
  std::vector<std::uint8_t> pixels;  ///< 4 × width × height bytes
  friend bool operator==(const Bitmap&, const Bitmap&) = default;
};

}  // namespace zqlogging
