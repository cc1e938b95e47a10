#pragma once

#include "platform/Image.h"

namespace zqlogging {

/// Cuts a rectangle out of a frame without touching a pixel.
class PixelBufferCropper {
 public:
  /// The part of the frame inside `cropRect` (pixels, origin at the frame's lower-left corner). When `scaleSize` is
  /// the rectangle's own size the part stays where it is; otherwise it is scaled to that size and moved to (0, 0).
  [[nodiscard]] port::Image createCroppedPixelBufferCoreImage(const PixelBuffer& pixelBuffer, CGRect cropRect,
                                                              CGSize scaleSize) const;

 private:
  /// Whether there is something to scale, and a size to scale it to.
  static bool assertCropAndScaleValid(const port::Image& cropped, CGSize scaleSize);
};

}  // namespace zqlogging
