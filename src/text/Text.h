#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zqlogging {

/// The first `count` user-perceived characters (extended grapheme clusters) of valid UTF-8.
std::string_view firstCharacters(std::string_view text, std::size_t count);

/// Whether valid UTF-8 has more than `count` user-perceived characters.
bool hasMoreCharactersThan(std::string_view text, std::size_t count);

/// Full Unicode lower-casing, without regard to a language.
std::string lowercased(std::string_view text);

/// The text as it is compared where neither case nor form may make a difference: case-folded and normalized (NFKC).
std::string folded(std::string_view text);

/// The text with every ill-formed sequence replaced by U+FFFD.
std::string validUtf8(std::string text);

bool isValidUtf8(std::string_view text);

}  // namespace zqlogging
