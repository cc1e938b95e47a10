#include "ocr/SymbolAlignment.h"

#include <cctype>
#include <cmath>
#include <limits>

namespace zqlogging::ocr {
namespace {

/// The price of a symbol or a glyph left over, and of each that shares; a distance of one letter's height costs 1.
constexpr double kLeftOver = 1.0, kShared = 0.15, kMaxDistance = 1.0;
/// The price of a letter on ink that is no letter's.
constexpr double kMismatch = 0.5;
constexpr int kMaxSharing = 3;
constexpr double kCertainDistance = 0.28;
/// How far the middle of a symbol may be from that of its glyph in a word that has as many glyphs as symbols.
constexpr double kMaxDisplacement = 0.6;

struct Step {
  double cost = std::numeric_limits<double>::max();
  int symbols = 0, glyphs = 0;  ///< how many the last pairing took
};

bool isMark(Glyph::Shape shape) {
  return shape == Glyph::Shape::dot || shape == Glyph::Shape::colon || shape == Glyph::Shape::dash ||
         shape == Glyph::Shape::lowDash;
}

bool isLetterOrDigit(const Symbol& symbol) {
  return symbol.text.size() == 1 && std::isalnum(static_cast<unsigned char>(symbol.text[0])) != 0;
}

/// Engines place symbols only roughly, but words well: where a word has as many glyphs as symbols, each has its own.
void pairWords(const std::vector<Symbol>& symbols, const std::vector<Glyph>& glyphs, double letterHeight,
               std::vector<Match>& matches) {
  std::size_t glyph = 0;
  for (std::size_t begin = 0, end = 0; begin < symbols.size(); begin = end) {
    for (end = begin + 1; end < symbols.size() && !symbols[end].beginsWord;) {
      ++end;
    }
    // The word's glyphs reach to the middle of the gap behind it.
    std::size_t last = glyph;
    while (last < glyphs.size() &&
           (end == symbols.size() || glyphs[last].box.middle() < (symbols[end - 1].right + symbols[end].left) / 2)) {
      ++last;
    }
    bool paired = last - glyph == end - begin;
    for (std::size_t i = begin; paired && i < end; ++i) {
      const double middle = (symbols[i].left + symbols[i].right) / 2;
      paired = std::abs(middle - glyphs[glyph + i - begin].box.middle()) <= kMaxDisplacement * letterHeight;
    }
    for (std::size_t i = begin; paired && i < end; ++i) {
      matches[i] = {static_cast<int>(glyph + i - begin), 1, true};
    }
    glyph = last;
  }
}

}  // namespace

std::vector<Match> align(const std::vector<Symbol>& symbols, const std::vector<Glyph>& glyphs, double letterHeight) {
  const int symbolCount = static_cast<int>(symbols.size());
  const int glyphCount = static_cast<int>(glyphs.size());
  // How far a stretch of symbols is from one of glyphs, at both ends.
  const auto distance = [&](int symbol, int symbolsTaken, int glyph, int glyphsTaken) {
    const double left = symbols[symbol].left - glyphs[glyph].box.x;
    const double right = symbols[symbol + symbolsTaken - 1].right - glyphs[glyph + glyphsTaken - 1].box.right();
    return std::min(kMaxDistance, (std::abs(left) + std::abs(right)) / letterHeight);
  };
  Plane<Step> steps(glyphCount + 1, symbolCount + 1);
  steps.at(0, 0).cost = 0;
  for (int i = 0; i <= symbolCount; ++i) {
    for (int j = 0; j <= glyphCount; ++j) {
      Step& here = steps.at(j, i);
      const auto take = [&](int symbolsTaken, int glyphsTaken) {
        if (symbolsTaken > i || glyphsTaken > j) {
          return;
        }
        double cost = steps.at(j - glyphsTaken, i - symbolsTaken).cost;
        if (symbolsTaken == 0 || glyphsTaken == 0) {
          cost += kLeftOver;
        } else {
          const int sharing = std::max(symbolsTaken, glyphsTaken);
          cost += (sharing > 1 ? sharing * kShared : 0) +
                  distance(i - symbolsTaken, symbolsTaken, j - glyphsTaken, glyphsTaken);
          if (isLetterOrDigit(symbols[i - 1])) {
            for (int k = j - glyphsTaken; k < j; ++k) {
              cost += isMark(glyphs[k].shape) ? kMismatch : 0;
            }
          }
        }
        if (cost < here.cost) {
          here = {cost, symbolsTaken, glyphsTaken};
        }
      };
      take(1, 0);
      take(0, 1);
      take(1, 1);
      for (int sharing = 2; sharing <= kMaxSharing; ++sharing) {
        take(sharing, 1);
        take(1, sharing);
      }
    }
  }
  std::vector<Match> matches(symbols.size());
  for (int i = symbolCount, j = glyphCount; i > 0 || j > 0;) {
    const auto [cost, symbolsTaken, glyphsTaken] = steps.at(j, i);
    i -= symbolsTaken;
    j -= glyphsTaken;
    if (glyphsTaken == 0) {
      continue;
    }
    const bool certain = symbolsTaken == 1 && glyphsTaken == 1 && distance(i, 1, j, 1) <= kCertainDistance;
    for (int k = 0; k < symbolsTaken; ++k) {
      matches[i + k] = {j, glyphsTaken, certain};
    }
  }
  pairWords(symbols, glyphs, letterHeight, matches);
  return matches;
}

}  // namespace zqlogging::ocr
