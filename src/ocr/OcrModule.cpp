#include "ocr/OcrModule.h"

#include "ocr/TesseractTextRecognition.h"
#include "zqlogging/Export.h"

extern "C" ZQ_EXPORT zqlogging::port::TextRecognition* zqloggingCreateTextRecognition(int version) {
  return version == zqlogging::ocr::kModuleVersion ? new zqlogging::ocr::TesseractTextRecognition : nullptr;
}
