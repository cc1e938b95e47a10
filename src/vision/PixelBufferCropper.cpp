#include "vision/PixelBufferCropper.h"

#include <cmath>

namespace zqlogging {

port::Image PixelBufferCropper::createCroppedPixelBufferCoreImage(const PixelBuffer& pixelBuffer, CGRect cropRect,
                                                                  CGSize scaleSize) const {
  port::Image cropped = port::Image(pixelBuffer).cropped(cropRect);
  if (cropRect.size == scaleSize || !assertCropAndScaleValid(cropped, scaleSize)) {
    return cropped;
  }
  const CGSize extent = cropped.extent().size;
  const port::Image scaled = cropped.scaled(scaleSize.width / extent.width, scaleSize.height / extent.height);
  return scaled.translated(-scaled.extent().origin.x, -scaled.extent().origin.y);
}

bool PixelBufferCropper::assertCropAndScaleValid(const port::Image& cropped, CGSize scaleSize) {
  const CGSize extent = cropped.extent().size;
  return extent.width > 0 && extent.height > 0 && scaleSize.width > 0 && scaleSize.height > 0 &&
         std::isfinite(scaleSize.width) && std::isfinite(scaleSize.height);
}

}  // namespace zqlogging
