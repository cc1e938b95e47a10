#pragma once

#include <string>
#include <vector>

#include "ocr/SymbolAlignment.h"

namespace zqlogging::ocr {

/// The text of a line: an engine's reading, corrected where the ink says otherwise beyond doubt (spaces, zeros with a
/// stroke in them, upright strokes). Every correction is measured: docs/recognition.md.
std::string readLine(const std::vector<Symbol>& symbols, const std::vector<Glyph>& glyphs, const TextLine& line);

}  // namespace zqlogging::ocr
