#include <gtest/gtest.h>

#include "text/Text.h"

namespace zqlogging {
namespace {

TEST(Text, IsCutBetweenUserPerceivedCharacters) {
  const std::string family = "👨‍👩‍👧";  // one character of 18 bytes
  const std::string accented = "e\u0301";           // one character of two code points
  struct {
    std::string text;
    std::size_t count;
    std::string expected;
  } cases[] = {{"", 3, ""},
               {"abc", 3, "abc"},
               {"abcd", 3, "abc"},
               {"ab\r\ncd", 3, "ab\r\n"},
               {family + family + "x", 2, family + family},
               {accented + accented + accented, 2, accented + accented},
               {"日本語", 2, "日本"},
               {"abcdé", 4, "abcd"},
               {"abcde\u0301", 5, "abcde\u0301"},
               {"x", 0, ""}};
  for (const auto& [text, count, expected] : cases) {
    EXPECT_EQ(firstCharacters(text, count), expected) << text;
    EXPECT_EQ(hasMoreCharactersThan(text, count), expected != text) << text;
  }
}

TEST(Text, IsLowerCasedByTheRulesOfUnicode) {
  EXPECT_EQ(lowercased("Notes.APP [Z]"), "notes.app [z]");
  EXPECT_EQ(lowercased("ÄÖ ΣΑΣ İ"), "äö σας i̇");
}

TEST(Text, IllFormedUtf8IsReplacedAndTheRestKept) {
  EXPECT_TRUE(isValidUtf8("größer 👍"));
  EXPECT_EQ(validUtf8("größer 👍"), "größer 👍");
  struct {
    const char* text;
    const char* expected;
  } cases[] = {{"a\xff"
                "b",
                "a\uFFFDb"},
               {"a\xc3", "a\uFFFD"},
               {"\xed\xa0\x80", "\uFFFD\uFFFD\uFFFD"},  // a surrogate
               {"\xc0\xaf", "\uFFFD\uFFFD"},            // an overlong slash
               {"ok \xe2\x82 é", "ok \uFFFD é"}};
  for (const auto& [text, expected] : cases) {
    EXPECT_FALSE(isValidUtf8(text));
    EXPECT_EQ(validUtf8(text), expected);
  }
}

}  // namespace
}  // namespace zqlogging
