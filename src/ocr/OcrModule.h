#pragma once

#include "platform/TextRecognition.h"

namespace zqlogging::ocr {

/// Where the module lies, from the folder of the library that loads it.
constexpr const char* kModulePath = "zqlogging/zqlogging-ocr.so";
/// The module's only entry, of the type below.
constexpr const char* kModuleEntry = "zqloggingCreateTextRecognition";
/// Grows with every change of the port's types: library and module must be of one build.
constexpr int kModuleVersion = 1;

/// Answers a recognizer that the caller deletes, its engine loaded, or null when the module was built for another
/// version. Throws std::exception when the engine's data cannot be had.
using CreateTextRecognition = port::TextRecognition*(int version);

}  // namespace zqlogging::ocr
