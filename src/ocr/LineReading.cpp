#include "ocr/LineReading.h"

#include <cstring>
#include <string_view>
#include <utility>

#include "ocr/FixedPitch.h"

namespace zqlogging::ocr {
namespace {

/// The gap from which words are apart: in pitches where the pitch is fixed, else in heights of the line's capitals.
constexpr double kFixedGap = 0.85, kWordGap = 0.7;
/// The gap from which a number is apart from the unit behind it.
constexpr double kUnitGap = 0.36;
/// A zero is narrower than this, width by height; an encircled sign is not.
constexpr double kMaxZero = 0.8;

bool isLower(char c) { return c >= 'a' && c <= 'z'; }
bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool isLetter(char c) { return isLower(c) || isUpper(c); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
/// The text's only character, or 0 when it is none of ASCII's.
char only(const std::string& text) { return text.size() == 1 ? text[0] : '\0'; }

/// Corrects one line, step by step. docs/recognition.md says what each step gains.
class LineReader {
 public:
  LineReader(const std::vector<Symbol>& symbols, const std::vector<Glyph>& glyphs, const TextLine& line) : line_(line) {
    const std::vector<Match> matches = align(symbols, glyphs, line.height());
    for (std::size_t i = 0; i < symbols.size(); ++i) {
      const Glyph* glyph = matches[i].certain ? &glyphs[matches[i].glyph] : nullptr;
      letters_.push_back({symbols[i].text, glyph, symbols[i].beginsWord && i > 0});
    }
    std::vector<PixelBox> boxes;
    for (const Glyph& glyph : glyphs) {
      boxes.push_back(glyph.box);
    }
    pitch_ = fixedPitch(boxes, line.height());
  }

  std::string read() {
    setSpaces();
    restoreZeros();
    restoreBars();
    std::string text;
    for (const Letter& letter : letters_) {
      if (letter.space) {
        text += ' ';
      }
      text += letter.text;
    }
    return text;
  }

 private:
  struct Letter {
    std::string text;
    const Glyph* glyph = nullptr;  ///< its ink, where it is certain
    bool space = false;            ///< before it
  };

  /// Spaces, where the gap leaves no doubt.
  void setSpaces() {
    for (std::size_t i = 1; i < letters_.size(); ++i) {
      Letter& letter = letters_[i];
      const Letter& previous = letters_[i - 1];
      if (!letter.glyph || !previous.glyph) {
        continue;
      }
      const int gap = letter.glyph->box.x - previous.glyph->box.right();
      if (pitch_ > 0) {
        letter.space = gap >= kFixedGap * pitch_;
        continue;
      }
      const bool isUnit = isDigit(only(previous.text)) && (isLetter(only(letter.text)) || letter.text == "%");
      if (gap >= (isUnit ? kUnitGap : kWordGap) * line_.height() && letter.text != "!") {
        letter.space = true;  // but an exclamation mark has much room of its own
      }
    }
  }

  /// The neighbours of a letter in its word; 0 where it begins or ends.
  [[nodiscard]] std::pair<char, char> neighboursOf(std::size_t i) const {
    const bool first = i == 0 || letters_[i].space;
    const bool last = i + 1 == letters_.size() || letters_[i + 1].space;
    return {first ? '\0' : only(letters_[i - 1].text), last ? '\0' : only(letters_[i + 1].text)};
  }

  /// Zeros with a stroke or a dot in them, which the engine takes for encircled signs.
  void restoreZeros() {
    for (std::size_t i = 0; i < letters_.size(); ++i) {
      Letter& letter = letters_[i];
      if (!letter.glyph || (letter.text != "©" && letter.text != "®" && letter.text != "@")) {
        continue;
      }
      const auto [before, next] = neighboursOf(i);
      if (letter.glyph->box.width <= kMaxZero * letter.glyph->box.height && (!before || isDigit(before)) &&
          (!next || isDigit(next))) {
        letter.text = "0";
      }
    }
  }

  /// An upright stroke inside a word of small letters is an l.
  void restoreBars() {
    for (std::size_t i = 1; i < letters_.size(); ++i) {
      Letter& letter = letters_[i];
      const bool bar = letter.glyph && letter.glyph->shape == Glyph::Shape::bar;
      const bool inside = !letter.space && isLower(only(letters_[i - 1].text));
      if (bar && inside && only(letter.text) && std::strchr("iI|!1", only(letter.text))) {
        letter.text = "l";
      }
    }
  }

  const TextLine& line_;
  double pitch_ = 0;
  std::vector<Letter> letters_;
};

}  // namespace

std::string readLine(const std::vector<Symbol>& symbols, const std::vector<Glyph>& glyphs, const TextLine& line) {
  return LineReader(symbols, glyphs, line).read();
}

}  // namespace zqlogging::ocr
