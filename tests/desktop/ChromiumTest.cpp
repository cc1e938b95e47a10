#include <gtest/gtest.h>

#include "PrivateDesktop.h"
#include "linux/atspi/AtspiStatistics.h"

namespace zqlogging::testing {
namespace {

using port::ElementRef;

/// One browser for all tests: it takes its time to start.
class ChromiumTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { browser = std::make_unique<Program>(browserCommand()); }
  static void TearDownTestSuite() { browser.reset(); }

  void SetUp() override {
    app = desktop.accessibility().createApplicationElement(browser->pid());
    const bool shown = eventually([this] { return frameOf(page("AXButton", "Order now")).size.width > 0; });
    ASSERT_TRUE(shown) << describe(find(app, "AXWebArea", "Order form"));
  }

  ElementRef page(const std::string& role, const std::string& name) {
    return find(find(app, "AXWebArea", "Order form"), role, name);
  }
  ElementRef at(CGPoint point) {
    const auto hit = desktop.accessibility().createSystemWideElement()->copyElementAtPosition(
        static_cast<float>(point.x), static_cast<float>(point.y));
    return hit ? hit.value : nullptr;
  }
  bool isHit(const ElementRef& element) {
    const ElementRef hit = element ? at(middleOf(frameOf(element))) : nullptr;
    return hit && hit->isEqual(*element);
  }

  static inline std::unique_ptr<Program> browser;
  LinuxPlatform desktop;
  Input input;
  ElementRef app;
};

TEST_F(ChromiumTest, WhatIsOnAPageIsHitAndRead) {
  struct {
    const char* role;
    const char* name;
    std::vector<std::pair<const char*, const char*>> attributes;
  } const contents[] = {
      {"AXButton", "Order now", {{"AXDescription", "Sends the order"}, {"AXIdentifier", "order"}, {"AXValue", "-"}}},
      {"AXLink", "terms of sale", {{"AXURL", "<" PAGE "#terms>"}, {"AXValue", "-"}}},
      {"AXTextField", "Name", {{"AXValue", "Ada"}}},
      {"AXTextField", "Find an article", {{"AXValue", "-"}}},
      {"AXTextField", "Secret", {{"AXValue", "-"}, {"AXSubrole", "AXSecureTextField"}}},
      {"AXCheckBox", "Gift wrapping", {{"AXValue", "1"}}},
      {"AXComboBox", "Size", {{"AXValue", "Large"}}},
      {"AXTextArea", "Note", {{"AXValue", "Leave at the door"}}},
      {"AXStaticText", "Pencils", {{"AXValue", "Pencils"}, {"AXParent", "AXRow:"}}},
  };
  for (const auto& expected : contents) {
    SCOPED_TRACE(std::string(expected.role) + " " + expected.name);
    const ElementRef element = page(expected.role, expected.name);
    ASSERT_TRUE(element);
    // The browser answers the first question about a place from memory while it asks the page.
    EXPECT_TRUE(eventually([&] { return isHit(element); })) << pathOf(at(middleOf(frameOf(element))));
    for (const auto& [attribute, value] : expected.attributes) {
      EXPECT_EQ(valueOf(element, attribute), value) << attribute;
    }
    EXPECT_EQ(valueOf(element, "AXWindow"), "AXWindow:Order form - Chromium");
  }
  EXPECT_EQ(valueOf(find(app, "AXWebArea", "Order form"), "AXURL"), "<" PAGE ">");
}

TEST_F(ChromiumTest, WhatHoldsOtherThingsHasNoFillersForAValue) {
  std::vector<ElementRef> open{find(app, "AXWindow", "Order form - Chromium")};
  std::size_t seen = 0;
  const auto scope = desktop.accessibility().openReadScope();
  while (!open.empty()) {
    const ElementRef element = open.back();
    open.pop_back();
    ++seen;
    EXPECT_EQ(textOf(element, "AXValue").find("\xEF\xBF\xBC"), std::string::npos) << pathOf(element);
    for (const ElementRef& child : childrenOf(element)) {
      open.push_back(child);
    }
  }
  EXPECT_GT(seen, 100U);
}

TEST_F(ChromiumTest, TheFrameworkOfTheBrowserIsHit) {
  EXPECT_TRUE(eventually([&] { return isHit(find(app, "AXButton", "Reload")); }));
  EXPECT_EQ(valueOf(app, "AXMainWindow"), "AXWindow:Order form - Chromium");
}

TEST_F(ChromiumTest, ItemsOfPopupsAreHit) {
  constexpr std::uint32_t kEscapeKey = 0xff1b;
  const CGRect combo = frameOf(page("AXComboBox", "Size"));
  input.click(middleOf(combo));
  const CGPoint firstItem{middleOf(combo).x, combo.origin.y + combo.size.height + 12};
  EXPECT_TRUE(eventually([&] { return describe(at(firstItem)) == "AXMenuItem:Small"; })) << pathOf(at(firstItem));
  input.pressKey(kEscapeKey);
  ASSERT_TRUE(eventually([&] { return textOf(at(firstItem), "AXRole") != "AXMenuItem"; }));

  const CGPoint free{700, 800};
  input.click(free, 3);
  EXPECT_TRUE(eventually([&] {
    const ElementRef reload = find(app, "AXMenu", "") ? find(app, "AXMenuItem", "Reload Ctrl+R") : nullptr;
    return reload && isHit(reload);
  }));
  input.pressKey(kEscapeKey);
  EXPECT_TRUE(eventually([&] { return textOf(at(free), "AXRole") != "AXMenuItem"; }));
}

TEST_F(ChromiumTest, AClickWaitsForTheBusLittleMoreThanTheElementIsDeep) {
  const ElementRef element = page("AXButton", "Order now");
  ASSERT_TRUE(eventually([&] { return isHit(element); }));
  const auto readRecord = [&] {
    const auto scope = desktop.accessibility().openReadScope();
    const ElementRef hit = at(middleOf(frameOf(element)));
    std::uint64_t depth = 0;
    std::vector<ElementRef> relatives = childrenOf(hit);
    for (auto parent = hit->copyAttributeValue("AXParent"); parent; ++depth) {
      const ElementRef above = std::get<ElementRef>(parent.value);
      if (depth == 0) {
        for (const ElementRef& sibling : childrenOf(above)) {
          relatives.push_back(sibling);
        }
        desktop.accessibility().expectReads(relatives);
        for (const ElementRef& relative : relatives) {
          (void)textOf(relative, "AXTitle");
        }
      }
      for (const char* attribute : {"AXRole", "AXTitle", "AXValue", "AXDescription", "AXHelp"}) {
        textOf(above, attribute);
      }
      parent = above->copyAttributeValue("AXParent");
    }
    for (const char* attribute : {"AXPosition", "AXSize", "AXWindow", "AXURL"}) {
      (void)hit->copyAttributeValue(attribute);
    }
    return depth;
  };
  readRecord();
  const CGRect frame = frameOf(element);
  ASSERT_GT(frame.size.width, 0);
  const std::uint64_t before = AtspiStatistics::waits;
  const std::uint64_t depth = readRecord();
  EXPECT_GT(depth, 8U);
  EXPECT_LE(AtspiStatistics::waits - before, depth + 6);
}

}  // namespace
}  // namespace zqlogging::testing
