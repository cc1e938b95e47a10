#include "vision/ZQVisionRecognizer.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <utility>

#include "diagnostics/DeveloperTiers.h"
#include "geometry/Geometry.h"

namespace zqlogging {
namespace {

/// Resets a flag however the scope is left.
class FlagScope {
 public:
  explicit FlagScope(bool& flag) : flag_(flag) { flag_ = true; }
  ~FlagScope() { flag_ = false; }
  FlagScope(const FlagScope&) = delete;
  FlagScope& operator=(const FlagScope&) = delete;

 private:
  bool& flag_;
};

bool isInteger(double value) { return std::abs(value) <= std::numeric_limits<int>::max(); }  // false for NaN

/// Whether a box of the rectangle (pixels, origin top-left) touches what is covered in the frame.
bool isCovered(CGRect box, CGRect rect, const std::vector<CGRect>& covers) {
  const double top = rect.origin.y + rect.size.height;
  const CGRect inFrame = {{rect.origin.x + box.origin.x, top - box.origin.y - box.size.height}, box.size};
  const bool isSomewhere = box.size.width > 0 && box.size.height > 0;
  return std::any_of(covers.begin(), covers.end(),
                     [&](CGRect cover) { return !isSomewhere || intersects(inFrame, cover); });
}

}  // namespace

ZQVisionRecognizer::ZQVisionRecognizer(std::shared_ptr<port::Platform> platform)
    : platform_(std::move(platform)), lastRecognitionDate_(platform_->clock().steadyTime()) {}

CGSize ZQVisionRecognizer::croppedFrameSize() const {
  const std::lock_guard lock(sizeMutex_);
  return croppedFrameSize_;
}

void ZQVisionRecognizer::setCroppedFrameSize(CGSize size) {
  const std::lock_guard lock(sizeMutex_);
  croppedFrameSize_ = size;
}

port::TextRecognition& ZQVisionRecognizer::engine() {
  if (engine_ == nullptr) {
    engine_ = platform_->createTextRecognition();
  }
  return *engine_;
}

void ZQVisionRecognizer::prepare() { engine().prepare(); }

void ZQVisionRecognizer::recognize(const PixelBuffer& frame, CGPoint clickPoint, const Covers& covers,
                                   const Completion& completion) {
  const double now = platform_->clock().steadyTime();
  // To the microsecond: the difference of two large doubles is no finer.
  const double elapsedMs = std::round((now - lastRecognitionDate_) * 1e6) / 1e3;
  if (elapsedMs < MIN_RECOGNITION_INTERVAL_MS || recognizing_) {
    completion({}, {}, {});
    return;
  }
  lastRecognitionDate_ = now;
  const CGSize size = croppedFrameSize();
  const CGRect rect =
      recognitionRect({static_cast<double>(frame.width), static_cast<double>(frame.height)}, size, clickPoint);
  const auto covered = covers(rect);
  if (!covered) {
    completion({}, {}, {});
    return;
  }
  const CGPoint inside = {clickPoint.x - rect.origin.x, clickPoint.y - rect.origin.y};
  const port::Image ciImage = cropper_.createCroppedPixelBufferCoreImage(frame, rect, size).covered(*covered);
  const CGRect extent = ciImage.extent();
  const CGPoint focus = {clickPoint.x - extent.origin.x, extent.origin.y + extent.size.height - clickPoint.y};
  processByVision(ciImage, rect, inside, focus, *covered, completion);
}

CGRect ZQVisionRecognizer::recognitionRect(CGSize frame, CGSize cropped, CGPoint clickPoint) {
  const double x0 = clickPoint.x - cropped.width / 2;
  const double y0 = clickPoint.y - cropped.height / 2;
  double rx = x0 > 0 ? x0 : 0;
  double ry = y0 > 0 ? y0 : 0;
  if (frame.width < cropped.width + rx) {
    rx = frame.width - cropped.width;
  }
  if (frame.height < cropped.height + ry) {
    ry = frame.height - cropped.height;
  }
  return {{rx, ry}, cropped};
}

void ZQVisionRecognizer::processByVision(const port::Image& ciImage, CGRect rect, CGPoint clickPoint, CGPoint focus,
                                         const std::vector<CGRect>& covers, const Completion& completion) {
  port::TextAnswer answer;
  {
    const FlagScope recognizing(recognizing_);
    port::TextRequest request;
    request.focus = focus;
    try {
      answer = engine().recognize(ciImage, request);
    } catch (const std::exception& error) {
      answer = port::TextRequestFailed{error.what()};
    }
  }
  if (const auto* observations = std::get_if<std::vector<port::TextObservation>>(&answer)) {
    recognizeHandler(*observations, ciImage, rect, clickPoint, covers, completion);
    return;
  }
  completion({}, {}, {});
  if (const auto* failed = std::get_if<port::TextRequestFailed>(&answer)) {
    trace("Unable to perform the requests: " + failed->description + ".");
  }
}

void ZQVisionRecognizer::recognizeHandler(const std::vector<port::TextObservation>& observations,
                                          const port::Image& ciImage, CGRect rect, CGPoint clickPoint,
                                          const std::vector<CGRect>& covers, const Completion& completion) const {
  const Bitmap picture = ciImage.render();
  const CGRect whole = {{0, 0}, rect.size};
  std::vector<ZQTextDetection> texts;
  std::vector<ZQRectangleDetection> rectangles = {{whole, port::cutOut(picture, whole), false}};
  for (const port::TextObservation& observation : observations) {
    const CGRect box = getConvertedRect(observation.boundingBox, rect.size);
    if (isCovered(box, rect, covers)) {
      continue;
    }
    const bool containsClickPoint = box.contains(clickPoint);
    rectangles.push_back({box, port::cutOut(picture, box), containsClickPoint});
    if (observation.candidates.empty()) {
      texts.emplace_back();
    } else {
      texts.push_back({observation.candidates.front(), box, rectangles.back().image, containsClickPoint});
    }
  }
  completion(texts, rectangles, clickPoint);
}

CGRect ZQVisionRecognizer::getConvertedRect(CGRect normalized, CGSize size) {
  // The order of these operations is part of the result: for some sizes the fitted height comes out one pixel less.
  const double aspect = size.width / size.height;
  const double fittedHeight = (1 / aspect) * size.width;
  const double offsetY = (fittedHeight - size.height) * -0.5;
  if (!isInteger(size.width) || !isInteger(fittedHeight)) {
    return {};
  }
  const double width = std::trunc(size.width);
  const double height = std::trunc(fittedHeight);
  const double flippedY = 1 - normalized.origin.y - normalized.size.height;
  return {{normalized.origin.x * width, flippedY * height + offsetY},
          {normalized.size.width * width, normalized.size.height * height}};
}

}  // namespace zqlogging
