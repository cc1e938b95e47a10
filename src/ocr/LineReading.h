#pragma once

#include <string>
#include <vector>

#include "ocr/SymbolAlignment.h"

namespace zqlogging::ocr {

/// The text of a line: an engine's reading, corrected where the ink says otherwise. Engines made for print are weak
/// where screen text is small: they take bars (I l | i !) for each other, lose dots, misjudge narrow spaces and the
/// size of letters. Only what the ink shows beyond doubt is corrected.
std::string readLine(const std::vector<Symbol>& symbols, const std::vector<Glyph>& glyphs, const TextLine& line);

}  // namespace zqlogging::ocr
