#include "ocr/LineReading.h"

#include <array>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#include "ocr/FixedPitch.h"

namespace zqlogging::ocr {
namespace {

// Gaps, in heights of the line's capitals: words are surely apart from the first on, letters surely together below the
// second. In text of fixed pitch, in pitches.
constexpr double kSurelyApart = 0.48, kSurelyTogether = 0.2, kFixedApart = 0.85;
/// A number is apart from the unit behind it from this gap on; not behind a 1, which has much room of its own.
constexpr double kUnitApart = 0.36;
/// The usual height of small letters.
constexpr double kSmallLetters = 0.74;
/// Big and small letters are told apart by their height when it differs by as many pixels.
constexpr double kMinRise = 1.5;
constexpr double kRiseTolerance = 0.06;  ///< of the height of capitals
/// Width by height from which a ring is the letter O, and up to which it is a zero.
constexpr double kRoundRing = 0.82, kNarrowRing = 0.75, kNarrowSign = 0.8;

bool isLower(char c) { return c >= 'a' && c <= 'z'; }
bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool isLetter(char c) { return isLower(c) || isUpper(c); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isVowel(char c) { return std::strchr("aeiouy", c) != nullptr; }
/// The text's only character, or 0 when it is none of ASCII's.
char only(const std::string& text) { return text.size() == 1 ? text[0] : '\0'; }
bool isOneOf(const std::string& text, std::string_view set) {
  return text.size() == 1 && set.find(text[0]) != set.npos;
}

/// Key names: "Ctrl" has three narrow letters in a row, which small type runs together, and a single key is too little
/// to tell big from small letters.
void mendKeyNames(std::string& text) {
  static constexpr std::array<std::string_view, 10> kMisreadings = {"Ctril", "Ctrll", "Ctri", "Ctr1", "Ctr|",
                                                                    "CtrI",  "Ctrt",  "Ctr",  "Ctl",  "Cirl"};
  for (std::size_t at = 0; (at = text.find('C', at)) != std::string::npos; ++at) {
    if (at > 0 && std::strchr(" +(", text[at - 1]) == nullptr) {
      continue;
    }
    for (const std::string_view wrong : kMisreadings) {
      const std::size_t end = at + wrong.size();
      if (text.compare(at, wrong.size(), wrong) != 0) {
        continue;
      }
      if (end == text.size() || text[end] == '+' || text[end] == ' ') {
        text.replace(at, wrong.size(), "Ctrl");
      }
      break;
    }
  }
  // Keys are written as capitals.
  for (const std::string_view modifier : {"Ctrl+", "Alt+", "Shift+"}) {
    for (std::size_t at = 0; (at = text.find(modifier, at)) != std::string::npos;) {
      at += modifier.size();
      const bool single = at + 1 == text.size() || (at + 1 < text.size() && text[at + 1] == ' ');
      if (single && isLower(text[at])) {
        text[at] = static_cast<char>(text[at] - 'a' + 'A');
      }
    }
  }
}

/// Corrects one line, step by step.
class LineReader {
 public:
  LineReader(const std::vector<Symbol>& symbols, const std::vector<Glyph>& glyphs, const TextLine& line)
      : symbols_(symbols), glyphs_(glyphs), line_(line), pitch_(pitchOf(glyphs, line)) {}

  std::string read() {
    gather();
    setSpaces();
    setCase();
    tellRings();
    tellBars();
    std::string text;
    for (const Letter& letter : letters_) {
      if (letter.space && !text.empty()) {
        text += ' ';
      }
      text += letter.text;
    }
    mendKeyNames(text);
    return text;
  }

 private:
  struct Letter {
    std::string text;
    const Glyph* glyph = nullptr;  ///< its ink, where it is certain
    bool space = false;            ///< before it
  };

  static double pitchOf(const std::vector<Glyph>& glyphs, const TextLine& line) {
    std::vector<double> middles;
    for (const Glyph& glyph : glyphs) {
      middles.push_back(glyph.box.middle());
    }
    return fixedPitch(middles, line.height());
  }

  /// The letters in order: the symbols with their ink, without small marks out of nowhere and letters seen twice.
  void gather() {
    const std::vector<Match> matches = align(symbols_, glyphs_, line_.height());
    bool space = false;
    for (std::size_t i = 0; i < symbols_.size(); ++i) {
      const Symbol& symbol = symbols_[i];
      const Match& match = matches[i];
      space |= symbol.beginsWord && i > 0;
      if (match.glyph < 0 && (symbol.text.size() > 1 || isOneOf(symbol.text, ".,'`-_:;~\"|"))) {
        continue;
      }
      if (i > 0 && match.glyph >= 0 && match.glyph == matches[i - 1].glyph) {
        if (isSmallFormOf(symbol.text, symbols_[i - 1].text)) {
          continue;
        }
        if (isSmallFormOf(symbols_[i - 1].text, symbol.text)) {
          letters_.back().text = symbol.text;
          continue;
        }
      }
      letters_.push_back({symbol.text, match.certain ? &glyphs_[match.glyph] : nullptr, space});
      space = false;
    }
  }

  /// Engines see one letter as a capital and once more in its small form.
  static bool isSmallFormOf(const std::string& text, const std::string& capital) {
    return isLower(only(text)) && only(text) - 'a' + 'A' == only(capital);
  }

  /// Spaces, where the gap leaves no doubt.
  void setSpaces() {
    for (std::size_t i = 1; i < letters_.size(); ++i) {
      if (!letters_[i].glyph || !letters_[i - 1].glyph) {
        continue;
      }
      const int gap = letters_[i].glyph->box.x - letters_[i - 1].glyph->box.right();
      if (pitch_ > 0) {
        letters_[i].space = gap >= kFixedApart * pitch_;
      } else if (gap > kSurelyApart * line_.height()) {
        if (letters_[i].text != "!") {
          letters_[i].space = true;  // which has much room of its own
        }
      } else if (gap >= kUnitApart * line_.height() && isDigit(only(letters_[i - 1].text)) &&
                 letters_[i - 1].text != "1" && isUpper(only(letters_[i].text))) {
        letters_[i].space = true;
      } else if (gap < kSurelyTogether * line_.height()) {
        letters_[i].space = false;
      }
    }
  }

  [[nodiscard]] int riseOf(const Letter& letter) const { return line_.baseline - letter.glyph->box.y; }

  [[nodiscard]] std::optional<double> usualRise(std::string_view set) const {
    std::vector<int> rises;
    for (const Letter& letter : letters_) {
      if (letter.glyph && isOneOf(letter.text, set)) {
        rises.push_back(riseOf(letter));
      }
    }
    if (rises.empty()) {
      return {};
    }
    const auto middle = rises.begin() + static_cast<std::ptrdiff_t>(rises.size() / 2);
    std::nth_element(rises.begin(), middle, rises.end());
    return *middle;
  }

  /// Letters whose big and small forms look alike, by their height: big ones at the beginning of a word, small ones
  /// inside.
  void setCase() {
    std::optional<double> small = usualRise("aemnr");
    std::optional<double> large = usualRise("ABDEFGHIKLMNPRTYbdhkl0123456789");
    if (!small && !large) {
      return;
    }
    if (!small) {
      small = kSmallLetters * *large;
    }
    if (!large) {
      large = *small / kSmallLetters;
    }
    if (*large - *small < kMinRise) {
      return;
    }
    for (std::size_t i = 0; i < letters_.size(); ++i) {
      Letter& letter = letters_[i];
      if (!letter.glyph) {
        continue;
      }
      const char before = i == 0 || letter.space ? '\0' : only(letters_[i - 1].text);
      const bool first = !isLetter(before) && !isDigit(before);
      const int rise = riseOf(letter);
      const bool high = rise > (*small + *large) / 2 + 0.4;
      if (first && isOneOf(letter.text, "cosuvwxz") && high &&
          rise >= *large - std::max(0.75, kRiseTolerance * *large)) {
        letter.text[0] = static_cast<char>(letter.text[0] - 'a' + 'A');
      } else if (isLower(before) && isOneOf(letter.text, "COSUVWXZ") && !high && rise <= *small + 1) {
        letter.text[0] = static_cast<char>(letter.text[0] - 'A' + 'a');
      }
    }
  }

  /// The neighbours of a letter in its word; 0 where it begins or ends.
  [[nodiscard]] std::pair<char, char> neighboursOf(std::size_t i) const {
    const bool first = i == 0 || letters_[i].space;
    const bool last = i + 1 == letters_.size() || letters_[i + 1].space;
    return {first ? '\0' : only(letters_[i - 1].text), last ? '\0' : only(letters_[i + 1].text)};
  }

  /// 0 and O, and the encircled signs that engines take a slashed zero for.
  void tellRings() {
    for (std::size_t i = 0; i < letters_.size(); ++i) {
      Letter& letter = letters_[i];
      if (!letter.glyph) {
        continue;
      }
      const double aspect = static_cast<double>(letter.glyph->box.width) / letter.glyph->box.height;
      const auto [before, next] = neighboursOf(i);
      const bool besideDigit = isDigit(before) || isDigit(next);
      const bool amongDigits = (!before || isDigit(before)) && (!next || isDigit(next));
      const bool sign = letter.text == "©" || letter.text == "®" || letter.text == "@";
      if (sign && aspect <= kNarrowSign && amongDigits) {
        letter.text = "0";
      }
      const bool besideLetter = isLetter(before) || isLetter(next);
      if (letter.text == "0" && aspect >= kRoundRing && besideLetter && !besideDigit) {
        letter.text = "O";
      }
      if (letter.text == "O" && aspect <= kNarrowRing && besideDigit) {
        letter.text = "0";
      }
    }
  }

  void tellBars() {
    for (std::size_t i = 0; i < letters_.size(); ++i) {
      Letter& letter = letters_[i];
      const auto [before, next] = neighboursOf(i);
      if (!letter.glyph) {
        // A bar that stands alone among words: separators are not followed by small letters.
        const bool alone = !before && !next && i + 1 < letters_.size();
        if (letter.text == "|" && pitch_ == 0 && alone && isLower(only(letters_[i + 1].text))) {
          letter.text = "I";
        }
        continue;
      }
      switch (letter.glyph->shape) {
        case Glyph::Shape::bar:
          if (letter.text == "1" && !isLetter(before) && !isLetter(next)) {
            break;
          }
          if (isOneOf(letter.text, "iIl|!1")) {
            letter.text = barLetter(i);
          }
          break;
        case Glyph::Shape::dottedBar:
          if (isOneOf(letter.text, "Il|1!") || letter.text.size() > 1) {
            letter.text = "i";
          }
          break;
        case Glyph::Shape::barOverDot:
          if (isOneOf(letter.text, "Il|1i")) {
            letter.text = "!";
          }
          break;
        case Glyph::Shape::plus:
          if (isOneOf(letter.text, "-_~=") || letter.text.size() > 1) {
            letter.text = "+";
          }
          break;
        case Glyph::Shape::slash:
          if (isOneOf(letter.text, "Il|1iJft[")) {
            letter.text = "/";
          }
          break;
        default:
          break;
      }
    }
  }

  /// I, l or |: bars that only their size and their neighbours tell apart.
  [[nodiscard]] char barLetter(std::size_t i) const {
    const Letter& letter = letters_[i];
    const char read = only(letter.text);
    const auto [before, next] = neighboursOf(i);
    const PixelBox& box = letter.glyph->box;
    const double height = line_.height();
    if (box.bottom() > line_.baseline + 0.12 * height && box.height > 1.15 * height) {
      return '|';
    }
    if (isLower(before)) {
      return 'l';
    }
    if (before == '-') {
      return read == 'I' && next ? 'I' : 'l';
    }
    if (isUpper(before)) {
      if (isLower(next)) {
        return 'l';
      }
      if (isUpper(next)) {
        return 'I';
      }
      return read == 'l' || read == 'i' ? 'l' : 'I';
    }
    if (isDigit(before)) {
      return read == 'i' ? 'l' : read == '|' || read == '!' ? 'I' : read;
    }
    // From here on it begins a word: English has no word that begins with l and another consonant.
    if (!next) {
      return !before || read == 'I' || read == '|' ? 'I' : 'l';
    }
    const Letter& following = letters_[i + 1];
    const bool barFollows = following.glyph && following.glyph->shape == Glyph::Shape::bar;
    if (barFollows || isUpper(next)) {
      return 'I';
    }
    if (isLower(next)) {
      return isVowel(next) && read != 'I' ? 'l' : 'I';
    }
    return read == 'l' ? 'l' : 'I';
  }

  const std::vector<Symbol>& symbols_;
  const std::vector<Glyph>& glyphs_;
  const TextLine& line_;
  double pitch_;
  std::vector<Letter> letters_;
};

}  // namespace

std::string readLine(const std::vector<Symbol>& symbols, const std::vector<Glyph>& glyphs, const TextLine& line) {
  return LineReader(symbols, glyphs, line).read();
}

}  // namespace zqlogging::ocr
