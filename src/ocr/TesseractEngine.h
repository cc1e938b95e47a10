#pragma once

#include <tesseract/baseapi.h>

#include <string>
#include <vector>

#include "ocr/LinePicture.h"
#include "ocr/SymbolAlignment.h"

namespace zqlogging::ocr {

/// Tesseract, reading single lines. Starts no thread and writes nothing to standard error. One thread at a time.
class TesseractEngine {
 public:
  /// Loads the language's data, about 0.1 s. Throws std::runtime_error when it cannot be had.
  explicit TesseractEngine(const std::string& language);
  TesseractEngine(const TesseractEngine&) = delete;
  TesseractEngine& operator=(const TesseractEngine&) = delete;
  ~TesseractEngine();

  /// The line's characters; their columns are those of the picture that the line was drawn from.
  std::vector<Symbol> read(const LinePicture& line);

 private:
  tesseract::TessBaseAPI api_;
};

}  // namespace zqlogging::ocr
