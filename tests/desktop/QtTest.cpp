#include <gtest/gtest.h>

#include "PrivateDesktop.h"

namespace zqlogging::testing {
namespace {

using port::ElementRef;

class QtTest : public ::testing::Test {
 protected:
  void SetUp() override {
    app = desktop.accessibility().createApplicationElement(sample.pid());
    ASSERT_TRUE(eventually([this] {
      const ElementRef file = find(app, "AXMenuItem", "File");
      return frameOf(find(app, "AXWindow", "Sample")).origin == CGPoint{40, 60} && file && isHit(file);
    }));
  }

  bool isHit(const ElementRef& element) {
    const CGPoint point = middleOf(frameOf(element));
    const auto hit = desktop.accessibility().createSystemWideElement()->copyElementAtPosition(
        static_cast<float>(point.x), static_cast<float>(point.y));
    return hit && hit.value->isEqual(*element);
  }

  LinuxPlatform desktop;
  Program sample{{QT_APP}};
  Input input;
  ElementRef app;
};

TEST_F(QtTest, ControlsAreHitAndReadAndTheApplicationLives) {
  struct {
    const char* role;
    const char* name;
    const char* value;
  } const controls[] = {
      {"AXMenuItem", "File", "-"},       {"AXButton", "Press me", "-"},
      {"AXCheckBox", "Wrap lines", "1"}, {"AXStaticText", "City", "-"},
      {"AXTextField", "City", "Vienna"}, {"AXComboBox", "Green", "-"},
      {"AXRow", "Pears", "-"},           {"AXTextArea", "One line\nand another", "One line\nand another"},
      {"AXRadioButton", "Details", "0"}, {"AXIncrementor", "", "7.00"},
  };
  for (const auto& expected : controls) {
    SCOPED_TRACE(std::string(expected.role) + " " + expected.name);
    const ElementRef element = find(app, expected.role, expected.name);
    ASSERT_TRUE(element);
    EXPECT_TRUE(isHit(element));
    if (element->copyAttributeNames().value.size() > 8) {
      for (const std::string& name : element->copyAttributeNames().value) {
        (void)element->copyAttributeValue(name);
      }
    }
    EXPECT_EQ(valueOf(element, "AXValue"), expected.value);
    EXPECT_EQ(valueOf(element, "AXWindow"), "AXWindow:Sample");
  }
  EXPECT_TRUE(sample.isRunning());
  EXPECT_EQ(pathOf(find(app, "AXRow", "Pears")), "AXApplication:qt_app/AXWindow:Sample/AXGroup:/AXList:/AXRow:Pears");
  EXPECT_EQ(textOf(app, "AXDescription"), "");
}

TEST_F(QtTest, AWindowIsWhatLiesDirectlyUnderTheApplication) {
  const Program plain{{QT_APP, "--at", "600,60", "--plain"}};
  const ElementRef other = desktop.accessibility().createApplicationElement(plain.pid());
  ASSERT_TRUE(eventually([&] { return find(other, "AXButton", "Framed") != nullptr; }));
  const ElementRef button = find(other, "AXButton", "Framed");
  EXPECT_EQ(pathOf(button), "AXApplication:qt_app/AXWindow:Plain/AXGroup:/AXButton:Framed");
  EXPECT_EQ(valueOf(button, "AXWindow"), "AXWindow:Plain");
  EXPECT_TRUE(eventually([&] { return isHit(button); }));
  EXPECT_TRUE(eventually([&] { return valueOf(other, "AXMainWindow") == "AXWindow:Plain"; }));
}

TEST_F(QtTest, TheFocusIsFoundBelowATabThatClaimsIt) {
  const ElementRef field = find(app, "AXTextField", "Inside");
  ASSERT_TRUE(field);
  input.click(middleOf(frameOf(field)));
  EXPECT_TRUE(eventually([&] {
    const auto focused = app->copyAttributeValue("AXFocusedUIElement");
    return focused && std::get<ElementRef>(focused.value)->isEqual(*field);
  })) << valueOf(app, "AXFocusedUIElement");
}

TEST_F(QtTest, ItemsOfPopupsAreHit) {
  input.click(middleOf(frameOf(find(app, "AXMenuItem", "File"))));
  const ElementRef save = find(app, "AXMenuItem", "Save");
  ASSERT_TRUE(save);
  EXPECT_TRUE(eventually([&] { return isHit(save); }));
  constexpr std::uint32_t kEscapeKey = 0xff1b;
  input.pressKey(kEscapeKey);

  const ElementRef combo = find(app, "AXComboBox", "Green");
  EXPECT_TRUE(eventually([&] { return isHit(combo); }));
  input.click(middleOf(frameOf(combo)));
  EXPECT_TRUE(eventually([&] {
    const ElementRef red = find(combo, "AXRow", "Red");
    return red && isHit(red);
  }));
}

}  // namespace
}  // namespace zqlogging::testing
