#pragma once

#include <memory>
#include <string>

#include "platform/TextRecognition.h"
#include "platform/linux/ocr/TesseractEngine.h"

namespace zqlogging::ocr {

/// Text recognition on screens: lines found by their ink, then read one by one.
/// With a focus the nearest lines come first, and after 120 ms no further one is begun; the first is always read.
class TesseractTextRecognition final : public port::TextRecognition {
 public:
  void prepare() override;
  port::TextAnswer recognize(const port::Image& image, const port::TextRequest& request) override;

 private:
  std::unique_ptr<TesseractEngine> engine_;
  std::string problem_;  ///< why there is no engine, once that is known
};

}  // namespace zqlogging::ocr
