#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <string>
#include <vector>

#include "accessibility/AXNotification.h"
#include "accessibility/Action.h"
#include "accessibility/Attribute.h"
#include "accessibility/Orientation.h"
#include "accessibility/Role.h"
#include "accessibility/Subrole.h"

namespace zqlogging {
namespace {

#define ZQ_NAME(x, ...) #x,

/// Case names that do not follow the rule, with their raw values.
const std::map<std::string, std::string> kExceptions = {{"uiElementDestroyed", "AXUIElementDestroyed"},
                                                        {"switchSubrole", "AXSwitch"},
                                                        {"url", "AXURL"},
                                                        {"rtfForRangeParameterized", "AXRTFForRangeParameterized"},
                                                        {"delete_", "AXDelete"}};

template <class Case>
void expectVocabulary(const std::vector<std::string>& caseNames, std::size_t count,
                      std::optional<Case> (*fromRawValue)(std::string_view)) {
  EXPECT_EQ(caseNames.size(), count);
  for (std::size_t i = 0; i < caseNames.size(); ++i) {
    const std::string& name = caseNames[i];
    std::string expected = "AX" + name;
    expected[2] = static_cast<char>(std::toupper(expected[2]));
    if (const auto exception = kExceptions.find(name); exception != kExceptions.end()) {
      expected = exception->second;
    }

    const auto value = static_cast<Case>(i);
    EXPECT_EQ(rawValue(value), expected);
    EXPECT_EQ(fromRawValue(expected), value) << expected;

    std::string lowerCase = expected;
    for (char& c : lowerCase) {
      c = static_cast<char>(std::tolower(c));
    }
    for (const std::string& other : {lowerCase, expected + " ", " " + expected, expected.substr(2),
                                     expected.substr(0, expected.size() - 1) + '\0', std::string("AX")}) {
      EXPECT_EQ(fromRawValue(other), std::nullopt) << other;
    }
  }
  EXPECT_EQ(fromRawValue(""), std::nullopt);
  EXPECT_EQ(fromRawValue("AXWebArea"), std::nullopt);
}

TEST(Vocabulary, EveryCaseAndItsRawValueNameEachOtherAndNothingElseDoes) {
  expectVocabulary<AXNotification>({ZQ_AX_NOTIFICATIONS(ZQ_NAME, ZQ_NAME)}, 35, axNotificationFromRawValue);
  expectVocabulary<Role>({ZQ_ROLES(ZQ_NAME, ZQ_NAME)}, 55, roleFromRawValue);
  expectVocabulary<Subrole>({ZQ_SUBROLES(ZQ_NAME, ZQ_NAME)}, 29, subroleFromRawValue);
  expectVocabulary<Attribute>({ZQ_ATTRIBUTES(ZQ_NAME, ZQ_NAME)}, 158, attributeFromRawValue);
  expectVocabulary<Action>({ZQ_ACTIONS(ZQ_NAME, ZQ_NAME)}, 11, actionFromRawValue);
}

TEST(Vocabulary, TheSameTextMayNameCasesOfTwoEnumerations) {
  EXPECT_EQ(roleFromRawValue("AXUnknown"), Role::unknown);
  EXPECT_EQ(subroleFromRawValue("AXUnknown"), Subrole::unknown);
  EXPECT_EQ(subroleFromRawValue("AXCloseButton"), Subrole::closeButton);
  EXPECT_EQ(attributeFromRawValue("AXCloseButton"), Attribute::closeButton);
}

TEST(Vocabulary, OrientationsAreTheNumbersFromZeroToTwo) {
  const std::vector<std::optional<Orientation>> expected = {std::nullopt, Orientation::unknown, Orientation::vertical,
                                                            Orientation::horizontal, std::nullopt};
  for (std::int64_t i = -1; i <= 3; ++i) {
    const auto value = orientationFromRawValue(i);
    EXPECT_EQ(value, expected[static_cast<std::size_t>(i + 1)]) << i;
    if (value) {
      EXPECT_EQ(rawValue(*value), i);
    }
  }
}

}  // namespace
}  // namespace zqlogging
