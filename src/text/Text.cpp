#include "text/Text.h"

#include <unicode/brkiter.h>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace zqlogging {
namespace {

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// Bytes taken by the first `count` characters.
std::size_t lengthOfFirstCharacters(std::string_view text, std::size_t count) {
  if (text.size() <= count) {  // no character is shorter than a byte
    return text.size();
  }
  // In ASCII only CR LF is a character of more than one byte.
  const std::string_view head = text.substr(0, count + 1);
  if (isAscii(head) && head.find('\r') == std::string_view::npos) {
    return count;
  }
  constexpr std::size_t kMaxBytes = std::numeric_limits<std::int32_t>::max();  // what a break iterator can count
  UErrorCode status = U_ZERO_ERROR;
  UText input = UTEXT_INITIALIZER;
  utext_openUTF8(&input, text.data(), static_cast<std::int64_t>(std::min(text.size(), kMaxBytes)), &status);
  const std::unique_ptr<icu::BreakIterator> characters(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  std::size_t end = text.size();
  if (U_SUCCESS(status)) {
    characters->setText(&input, status);
    std::int32_t boundary = 0;
    for (std::size_t i = 0; i < count && boundary != icu::BreakIterator::DONE; ++i) {
      boundary = characters->next();
    }
    if (boundary != icu::BreakIterator::DONE) {
      end = static_cast<std::size_t>(boundary);
    }
  }
  utext_close(&input);
  return end;
}

}  // namespace

std::string_view firstCharacters(std::string_view text, std::size_t count) {
  return text.substr(0, lengthOfFirstCharacters(text, count));
}

bool hasMoreCharactersThan(std::string_view text, std::size_t count) {
  return lengthOfFirstCharacters(text, count) < text.size();
}

std::string lowercased(std::string_view text) {
  std::string result;
  if (isAscii(text)) {
    result.assign(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
    return result;
  }
  UErrorCode status = U_ZERO_ERROR;
  icu::StringByteSink<std::string> sink(&result);
  icu::CaseMap::utf8ToLower("", 0, icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())), sink, nullptr,
                            status);
  return U_SUCCESS(status) ? result : std::string(text);
}

std::string folded(std::string_view text) {
  if (isAscii(text)) {
    return lowercased(text);
  }
  UErrorCode status = U_ZERO_ERROR;
  std::string result;
  icu::StringByteSink<std::string> sink(&result);
  if (const icu::Normalizer2* form = icu::Normalizer2::getNFKCCasefoldInstance(status); U_SUCCESS(status)) {
    const icu::StringPiece whole(text.data(), static_cast<std::int32_t>(text.size()));
    form->normalizeUTF8(0, whole, sink, nullptr, status);
  }
  return U_SUCCESS(status) ? result : lowercased(text);
}

bool isValidUtf8(std::string_view text) {
  if (isAscii(text)) {
    return true;
  }
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  std::size_t i = 0;
  while (i < text.size()) {
    UChar32 c = 0;
    U8_NEXT(bytes, i, text.size(), c);
    if (c < 0) {
      return false;
    }
  }
  return true;
}

std::string validUtf8(std::string text) {
  if (isValidUtf8(text)) {
    return text;
  }
  std::string result;
  result.reserve(text.size() + 16);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  std::size_t i = 0;
  while (i < text.size()) {
    UChar32 c = 0;
    U8_NEXT_OR_FFFD(bytes, i, text.size(), c);
    char encoded[U8_MAX_LENGTH];
    std::size_t length = 0;
    U8_APPEND_UNSAFE(encoded, length, c);
    result.append(encoded, length);
  }
  return result;
}

}  // namespace zqlogging
