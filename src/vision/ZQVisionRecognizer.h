#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/Platform.h"
#include "vision/PixelBufferCropper.h"
#include "zqlogging/Detections.h"

namespace zqlogging {

/// Recognizes text in a small rectangle of a frame around a click, at most once per 700 ms. Used on one thread, except
/// for `croppedFrameSize`, which any thread may read and write.
class ZQVisionRecognizer {
 public:
  static constexpr double MIN_RECOGNITION_INTERVAL_MS = 700.0;

  using Completion = std::function<void(const std::vector<ZQTextDetection>&, const std::vector<ZQRectangleDetection>&,
                                        CGPoint clickPoint)>;
  /// Rectangles inside a part of the frame, all in frame pixels (origin lower-left).
  using Covers = std::function<std::optional<std::vector<CGRect>>(CGRect part)>;

  explicit ZQVisionRecognizer(std::shared_ptr<port::Platform> platform);

  [[nodiscard]] CGSize croppedFrameSize() const;
  void setCroppedFrameSize(CGSize size);

  /// Loads the engine, so that the first click does not wait for it.
  void prepare();

  /// Recognizes around `clickPoint` (frame pixels, origin lower-left) and calls `completion` once, before it returns:
  /// with empty lists and (0, 0) when it comes too soon, while another runs, or when the engine fails, and also when
  /// `covers` has no answer. It is asked what must not be read in a part of the frame: that is painted over.
  void recognize(const PixelBuffer& frame, CGPoint clickPoint, const Covers& covers, const Completion& completion);
  void recognize(const PixelBuffer& frame, CGPoint clickPoint, const Completion& completion) {
    recognize(
        frame, clickPoint, [](CGRect) { return std::vector<CGRect>(); }, completion);
  }

  /// The rectangle around `clickPoint` in a frame of this size, kept inside the frame where it fits.
  static CGRect recognitionRect(CGSize frame, CGSize cropped, CGPoint clickPoint);
  /// A normalized lower-left box in pixels of a rectangle of this size, origin top-left.
  static CGRect getConvertedRect(CGRect normalized, CGSize size);

 private:
  void processByVision(const port::Image& ciImage, CGRect rect, CGPoint clickPoint, CGPoint focus,
                       const std::vector<CGRect>& covers, const Completion& completion);
  void recognizeHandler(const std::vector<port::TextObservation>& observations, const port::Image& ciImage, CGRect rect,
                        CGPoint clickPoint, const std::vector<CGRect>& covers, const Completion& completion) const;
  port::TextRecognition& engine();

  std::shared_ptr<port::Platform> platform_;
  PixelBufferCropper cropper_;
  mutable std::mutex sizeMutex_;
  CGSize croppedFrameSize_ = {300, 120};
  double lastRecognitionDate_;
  bool recognizing_ = false;
  std::unique_ptr<port::TextRecognition> engine_;
};

}  // namespace zqlogging
