#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ocr/FixedPitch.h"
#include "ocr/LineReading.h"
#include "support/TextPicture.h"

namespace zqlogging::ocr {
namespace {

using test::TextPicture;
using test::TextStyle;

TEST(FixedPitch, IsTheStepThatAllLettersKeep) {
  struct Ink {
    double middle;
    int width = 6;
  };
  struct {
    const char* name;
    std::vector<Ink> glyphs;
    double pitch;
  } cases[] = {{"each in its cell", {{4}, {12}, {20}, {28}, {36}}, 8},
               {"not all in the middle", {{4}, {13}, {20}, {28}, {36}}, 8},
               {"with spaces", {{4}, {12}, {20}, {36}, {44}, {52}, {76}}, 8},
               {"two that touch", {{4}, {12}, {24, 15}, {36}, {44}, {52}}, 8},
               {"proportional", {{4}, {9}, {19}, {26}, {37}, {41}, {50}}, 0},
               {"too few to tell", {{4}, {12}, {20}, {28}}, 0},
               {"narrower than any font", {{1, 2}, {4, 2}, {7, 2}, {10, 2}, {13, 2}, {16, 2}}, 0}};
  for (const auto& [name, glyphs, pitch] : cases) {
    std::vector<PixelBox> boxes;
    for (const Ink& ink : glyphs) {
      boxes.push_back({static_cast<int>(ink.middle - ink.width / 2.0), 0, ink.width, 8});
    }
    EXPECT_NEAR(fixedPitch(boxes, 10), pitch, 1) << name;
  }
}

/// Letters that do not touch.
constexpr TextStyle kSpaced = {"DejaVu Sans", 16, test::kBlack, CAIRO_ANTIALIAS_GRAY, 1};

/// What is read where `drawn` is on the screen and the engine has read `misread`, each character of which lies on a
/// letter of its own.
std::string mended(const std::string& drawn, const std::string& misread, const TextStyle& style = kSpaced) {
  TextPicture picture(500, 60);
  picture.write(drawn, 10, 12, style);
  const Segmentation found = findLines(picture.colours());
  if (found.lines.size() != 1) {
    return std::to_string(found.lines.size()) + " lines";
  }
  const std::vector<Glyph> glyphs = findGlyphs(found, found.lines[0]);
  std::vector<Symbol> symbols;
  std::size_t glyph = 0;
  bool beginsWord = true;
  for (const char c : misread) {
    if (c == ' ') {
      beginsWord = true;
      continue;
    }
    if (glyph == glyphs.size()) {
      return "fewer glyphs than letters";
    }
    const PixelBox& box = glyphs[glyph++].box;
    symbols.push_back({std::string(1, c), box.x + 0.0, box.right() + 0.0, 95, beginsWord});
    beginsWord = false;
  }
  return readLine(symbols, glyphs, found.lines[0]);
}

TEST(LineReading, CorrectsWhatTheInkShowsBeyondDoubt) {
  struct {
    const char* drawn;
    const char* misread;
  } cases[] = {
      {"Will fill", "WiI| fi1l"},  // bars
      {"500 MB", "500MB"},         // spaces
      {"12 %", "12%"},
      {"Page 10 of 30", "Page 1@ of 3@"},  // zeros
  };
  for (const auto& [drawn, misread] : cases) {
    EXPECT_EQ(mended(drawn, misread), drawn) << misread;
  }
}

TEST(LineReading, LeavesAloneWhatIsRight) {
  for (const char* text : {"Illegal Initial lime", "I will sell 11 bills", "lscpu Ctr", "xvwz cosu", "v1.10.0",
                           "0x7F00", "COM1 | LPT1", "Wow! Oops", "a@b.org"}) {
    EXPECT_EQ(mended(text, text), text);
  }
}

TEST(LineReading, SpacesOfFixedPitchFollowThePitch) {
  const TextStyle mono = {"DejaVu Sans Mono", 13};
  EXPECT_EQ(mended("ls -l /tmp/i.l", "ls-l/tmp/i.l", mono), "ls -l /tmp/i.l");
  EXPECT_EQ(mended("will fill ill", "wi ll fi ll i ll", mono), "will fill ill");
}

TEST(SymbolAlignment, PairsWhatTouchesAndWhatIsLeftOver) {
  const auto glyphs = [](std::vector<PixelBox> boxes) {
    std::vector<Glyph> result;
    for (const PixelBox& box : boxes) {
      result.push_back({box});
    }
    return result;
  };
  // "rn" touch and are one glyph; a quote has two; the last symbol stands on nothing.
  const std::vector<Symbol> symbols = {{"r", 0, 5}, {"n", 5, 12}, {"\"", 20, 26}, {"a", 30, 38}, {"~", 60, 60}};
  const std::vector<Match> matches =
      align(symbols, glyphs({{0, 0, 12, 10}, {20, 0, 2, 4}, {24, 0, 2, 4}, {30, 2, 8, 8}}), 10);
  const Match expected[] = {{0, 1, false}, {0, 1, false}, {1, 2, false}, {3, 1, true}, {-1, 0, false}};
  for (std::size_t i = 0; i < matches.size(); ++i) {
    EXPECT_EQ(matches[i].glyph, expected[i].glyph) << i;
    EXPECT_EQ(matches[i].glyphs, expected[i].glyphs) << i;
    EXPECT_EQ(matches[i].certain, expected[i].certain) << i;
  }
  EXPECT_TRUE(align({}, glyphs({{0, 0, 5, 5}}), 10).empty());
}

TEST(SymbolAlignment, TrustsTheCountOfAWordMoreThanThePlacesOfItsLetters) {
  // "will", as an engine placed it.
  const std::vector<Symbol> symbols = {{"w", 18.5, 27.2}, {"i", 24.1, 27.9}, {"l", 27.9, 29.1}, {"l", 31.0, 35.4}};
  const std::vector<Match> matches =
      align(symbols, {{{18, 3, 9, 7}}, {{28, 0, 1, 10}}, {{31, 0, 1, 10}}, {{34, 0, 1, 10}}}, 10);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(matches[i].glyph, i);
  }
}

TEST(SymbolAlignment, PutsNoLetterOnADash) {
  const std::vector<Symbol> symbols = {{"a", 0, 6}, {"b", 12, 18}};
  const Glyph dash = {{8, 4, 3, 1}, Glyph::Shape::dash};
  const std::vector<Match> matches = align(symbols, {{{0, 3, 6, 7}}, dash, {{13, 0, 6, 10}}}, 10);
  EXPECT_EQ(matches[0].glyphs, 1);
  EXPECT_EQ(matches[1].glyph, 2);
}

}  // namespace
}  // namespace zqlogging::ocr
