#include "privacy/Stage.h"

namespace zqlogging::test {
namespace {

using std::chrono_literals::operator""ms;
using testing::HasSubstr;

/// A desktop on which the news of a focus change takes up to 150 ms, and one ordinary field that has the focus.
class LateNews : public Stage {
 public:
  LateNews() {
    set(button, "AXRole", "AXTextField");
    set(button, "AXFocused", true);
    start();
    focus(*this, button);
    platform->scriptedAccessibility().setFocusNewsDelay(150ms);
    advanceSecond();
  }
  /// The characters of the key presses recorded, one behind the other, a dot where there are none.
  std::string typed() {
    std::string result;
    for (const std::string& record : inspect().records()) {
      const std::string key = R"("eventType":"KeyPressed","character":")";
      if (const std::size_t at = record.find(key); at != std::string::npos) {
        const char c = record[at + key.size()];
        result += c == '"' ? '.' : c;
      }
    }
    return result;
  }
  /// Forwards without waiting, as a host does that injects a whole text.
  void type(const std::string& text) {
    for (const char c : text) {
      service->processExternalEvent(10, 0, 0, 1, std::string(1, c));
    }
    settle();
  }
  double now() { return platform->clock().steadyTime(); }
};

TEST(Keys, InAFieldThatKeepsTheFocusAllAreRecordedAtOnce) {
  LateNews stage;
  const double before = stage.now();
  stage.type("hello");
  EXPECT_EQ(stage.typed(), "hello");
  EXPECT_EQ(stage.now(), before);
}

TEST(Keys, AfterSomethingThatMayMoveTheFocusTheyWaitForNews) {
  for (const char* mover : {"\t", "\r", "\x1b"}) {
    LateNews stage;
    const double before = stage.now();
    stage.external(10, {}, mover);
    stage.external(10, {}, "a");
    EXPECT_EQ(stage.typed().back(), 'a') << "the focus stayed";
    EXPECT_GE(stage.now(), before + 0.15);
    EXPECT_LE(stage.now(), before + 0.5);
  }
}

TEST(Keys, WhatFollowsAKeyThatMovedTheFocusHasNoCharacters) {
  LateNews stage;
  const NodeId next = stage.add(stage.group, "next", "AXTextField", "next", CGRect{{100, 40}, {80, 24}});
  stage.set(next, "AXFocused", true);
  bool isTold = false;
  stage.platform->scriptedAccessibility().setFocusNewsDelay(150ms, [&] {
    if (!std::exchange(isTold, true)) {
      stage.platform->scriptedAccessibility().notify("AXFocusedUIElementChanged", next, 100);
    }
  });
  stage.type("a\tb");
  EXPECT_EQ(stage.typed(), "a\\.") << "what came before it, and itself, are certain";
  stage.advanceSecond();
  stage.type("c");
  EXPECT_EQ(stage.typed(), "a\\.c");
}

TEST(Keys, WhereTheElementNoLongerHasTheFocusTheyHaveNoCharacters) {
  LateNews stage;
  for (const std::optional<port::Value>& answer :
       {std::optional<port::Value>(false), std::optional<port::Value>(), std::optional<port::Value>("yes")}) {
    stage.set(stage.button, "AXFocused", answer);
    stage.type("a");
  }
  EXPECT_EQ(stage.typed(), "...");
}

TEST(Keys, NoneWaitsLongerThanHalfASecondAndNoneHoldsAClickUp) {
  LateNews stage;
  double before = stage.now();
  stage.type("abc\t");
  stage.platform->scriptedAccessibility().setFocusNewsDelay(10000ms);
  stage.type("d");
  EXPECT_EQ(stage.typed().back(), '.');
  EXPECT_LE(stage.now(), before + 0.15 + 0.51);
  stage.external(10, {}, "\t");
  bool hasClicked = false;
  stage.platform->scriptedAccessibility().setFocusNewsDelay(10000ms, [&] {
    if (!std::exchange(hasClicked, true)) {
      stage.service->processExternalEvent(1, kOnButton.x, 1080 - 1 - kOnButton.y, 1, "");
    }
  });
  before = stage.now();
  stage.type("e");
  EXPECT_TRUE(hasClicked);
  EXPECT_EQ(stage.typed().back(), '.');
  EXPECT_LE(stage.now(), before + 0.1);
}

}  // namespace
}  // namespace zqlogging::test
