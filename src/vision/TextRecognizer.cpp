#include <cmath>
#include <stdexcept>
#include <utility>

#include "platform/Platform.h"
#include "zqlogging/Recognition.h"

namespace zqlogging {
namespace {

/// A normalized lower-left box in pixels from the top left. Engines see whole pixels: rounding only takes away what
/// the division has left over.
CGRect pixelsOf(CGRect normalized, CGSize size) {
  const auto whole = [](double value) { return std::round(value * 1e6) / 1e6; };
  return {{whole(normalized.origin.x * size.width),
           whole((1 - normalized.origin.y - normalized.size.height) * size.height)},
          {whole(normalized.size.width * size.width), whole(normalized.size.height * size.height)}};
}

}  // namespace

TextRecognizer::TextRecognizer(port::Platform& desktop) : recognition_(desktop.createTextRecognition()) {}

TextRecognizer::~TextRecognizer() = default;

void TextRecognizer::prepare() { recognition_->prepare(); }

std::vector<ZQTextDetection> TextRecognizer::recognize(const PixelBuffer& picture, std::optional<CGPoint> clickPoint) {
  const port::Image image(picture);
  port::TextRequest request;
  request.focus = clickPoint;
  const port::TextAnswer answer = recognition_->recognize(image, request);
  if (const auto* failed = std::get_if<port::TextRequestFailed>(&answer)) {
    throw std::runtime_error(failed->description);
  }
  const auto* observations = std::get_if<std::vector<port::TextObservation>>(&answer);
  if (!observations) {
    throw std::runtime_error("the engine's results cannot be read as text");
  }
  std::vector<ZQTextDetection> detections;
  const Bitmap pixels = observations->empty() ? Bitmap() : image.render();
  for (const port::TextObservation& observation : *observations) {
    if (observation.candidates.empty()) {
      continue;
    }
    ZQTextDetection detection;
    detection.string = observation.candidates.front();
    detection.box = pixelsOf(observation.boundingBox, image.extent().size);
    detection.image = port::cutOut(pixels, detection.box);
    detection.containsClickPoint = clickPoint && detection.box.contains(*clickPoint);
    detections.push_back(std::move(detection));
  }
  return detections;
}

}  // namespace zqlogging
