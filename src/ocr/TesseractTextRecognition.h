#pragma once

#include "ocr/TesseractEngine.h"
#include "platform/TextRecognition.h"

namespace zqlogging::ocr {

/// Text recognition on screens: lines found by their ink, then read one by one.
/// With a focus the nearest lines come first, and after 120 ms no further one is begun; the first is always read.
class TesseractTextRecognition final : public port::TextRecognition {
 public:
  /// Loads the engine. Throws std::runtime_error when it cannot be had.
  TesseractTextRecognition();
  port::TextAnswer recognize(const port::Image& image, const port::TextRequest& request) override;

 private:
  TesseractEngine engine_;
};

}  // namespace zqlogging::ocr
