#include "platform/linux/ocr/SymbolAlignment.h"

#include <cmath>
#include <limits>

namespace zqlogging::ocr {
namespace {

/// The price of a symbol or a glyph left over, and of each that shares; a distance of one letter's height costs 1.
constexpr double kLeftOver = 1.0, kShared = 0.15, kMaxDistance = 1.0;
constexpr int kMaxSharing = 3;
constexpr double kCertainDistance = 0.28;

struct Step {
  double cost = std::numeric_limits<double>::max();
  int symbols = 0, glyphs = 0;  ///< how many the last pairing took
};

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
        if (symbolsTaken > i || glyphsTaken > j) return;
        double cost = steps.at(j - glyphsTaken, i - symbolsTaken).cost;
        if (symbolsTaken == 0 || glyphsTaken == 0) {
          cost += kLeftOver;
        } else {
          const int sharing = std::max(symbolsTaken, glyphsTaken);
          cost += (sharing > 1 ? sharing * kShared : 0) +
                  distance(i - symbolsTaken, symbolsTaken, j - glyphsTaken, glyphsTaken);
        }
        if (cost < here.cost) here = {cost, symbolsTaken, glyphsTaken};
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
  // Where each symbol has a glyph of its own, the pairing is sure: engines place their symbols only roughly.
  bool complete = symbolCount == glyphCount;
  for (int i = symbolCount, j = glyphCount; complete && (i > 0 || j > 0);) {
    const auto [cost, symbolsTaken, glyphsTaken] = steps.at(j, i);
    complete = symbolsTaken == 1 && glyphsTaken == 1;
    i -= symbolsTaken;
    j -= glyphsTaken;
  }
  std::vector<Match> matches(symbols.size());
  for (int i = symbolCount, j = glyphCount; i > 0 || j > 0;) {
    const auto [cost, symbolsTaken, glyphsTaken] = steps.at(j, i);
    i -= symbolsTaken;
    j -= glyphsTaken;
    if (glyphsTaken == 0) continue;
    const bool certain =
        symbolsTaken == 1 && glyphsTaken == 1 && (complete || distance(i, 1, j, 1) <= kCertainDistance);
    for (int k = 0; k < symbolsTaken; ++k) matches[i + k] = {j, glyphsTaken, certain};
  }
  return matches;
}

}  // namespace zqlogging::ocr
