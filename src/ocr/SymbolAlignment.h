#pragma once

#include <string>
#include <vector>

#include "ocr/Glyphs.h"

namespace zqlogging::ocr {

/// One character as an engine read it.
struct Symbol {
  std::string text;            ///< UTF-8
  double left = 0, right = 0;  ///< columns of the picture
  double confidence = 0;       ///< 0…100
  bool beginsWord = false;
};

/// What a symbol stands on.
struct Match {
  int glyph = -1;        ///< -1: nothing; of several glyphs the first
  int glyphs = 0;        ///< how many
  bool certain = false;  ///< the glyph is all its own, and beyond doubt the symbol's
};

/// Pairs symbols with glyphs, both from left to right, at the least total distance. Several symbols may share a glyph
/// (letters that touch), and one may stand on several glyphs (quotes); either may be left over.
std::vector<Match> align(const std::vector<Symbol>& symbols, const std::vector<Glyph>& glyphs, double letterHeight);

}  // namespace zqlogging::ocr
