#include "ocr/TesseractEngine.h"

#include <leptonica/allheaders.h>
#include <omp.h>
#include <tesseract/resultiterator.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace zqlogging::ocr {
namespace {

/// Keeps Tesseract's parallel sections on the calling thread, and leaves the thread's own settings as they were.
/// Its sections name their number of threads themselves: a limit on that number would not be looked at.
class OneThread {
 public:
  OneThread() { omp_set_max_active_levels(0); }
  OneThread(const OneThread&) = delete;
  OneThread& operator=(const OneThread&) = delete;
  ~OneThread() { omp_set_max_active_levels(levels_); }

 private:
  int levels_ = omp_get_max_active_levels();
};

constexpr int kResolution = 192;

}  // namespace

TesseractEngine::TesseractEngine(const std::string& language) {
  const OneThread oneThread;
  setMsgSeverity(L_SEVERITY_NONE);
  api_.SetVariable("debug_file", "/dev/null");  // before anything can go wrong
  if (api_.Init(nullptr, language.c_str(), tesseract::OEM_LSTM_ONLY) != 0) {
    std::string problem = "Tesseract's data for the language '" + language + "' cannot be loaded";
    const char* folder = std::getenv("TESSDATA_PREFIX");
    throw std::runtime_error(folder ? problem + " from " + folder + " (TESSDATA_PREFIX)" : problem);
  }
  api_.SetPageSegMode(tesseract::PSM_RAW_LINE);
  api_.SetVariable("tessedit_do_invert", "0");  // lines are always dark on white
}

TesseractEngine::~TesseractEngine() {
  const OneThread oneThread;
  api_.End();
}

std::vector<Symbol> TesseractEngine::read(const LinePicture& line) {
  const OneThread oneThread;
  const GrayPlane& pixels = line.pixels;
  api_.SetImage(pixels.pixels.data(), pixels.width, pixels.height, 1, pixels.width);
  api_.SetSourceResolution(kResolution);
  std::vector<Symbol> symbols;
  if (api_.Recognize(nullptr) != 0) {
    return symbols;
  }
  const std::unique_ptr<tesseract::ResultIterator> result(api_.GetIterator());
  if (!result) {
    return symbols;
  }
  do {
    const std::unique_ptr<char[]> text(result->GetUTF8Text(tesseract::RIL_SYMBOL));
    int left = 0, top = 0, right = 0, bottom = 0;
    if (!text || !result->BoundingBox(tesseract::RIL_SYMBOL, &left, &top, &right, &bottom)) {
      continue;
    }
    symbols.push_back({text.get(), line.sourceColumn(left), line.sourceColumn(right),
                       result->Confidence(tesseract::RIL_SYMBOL), result->IsAtBeginningOf(tesseract::RIL_WORD)});
  } while (result->Next(tesseract::RIL_SYMBOL));
  return symbols;
}

}  // namespace zqlogging::ocr
