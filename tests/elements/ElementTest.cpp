#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "elements/IteratedElementData.h"
#include "geometry/Geometry.h"
#include "support/ServiceFixture.h"

namespace zqlogging::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class Element : public ServiceTest {
 protected:
  [[nodiscard]] ZQAccessibilityElement element(port::NodeId node) const {
    return ZQAccessibilityElement(platform->desktop().element(node));
  }
  [[nodiscard]] std::string pathOf(port::NodeId node, bool siblings = false,
                                   std::optional<std::uint64_t> type = std::nullopt) const {
    return element(node).xPath(siblings, type).fullPath;
  }
};

TEST_F(Element, ItsNameIsTheFirstThatItHas) {
  const port::NodeId node = add(window, "node", "AXTextField", "");
  const port::NodeId label = add(window, "label", "AXStaticText", "");
  EXPECT_EQ(element(node).elementName(true), "");
  set(node, "AXDescription", "description");
  EXPECT_EQ(element(node).elementName(true), "description");
  EXPECT_EQ(element(node).elementName(false), "");
  set(node, "AXTitleUIElement", platform->desktop().element(label));
  set(label, "AXDescription", "labelled");
  EXPECT_EQ(element(node).elementName(false), "labelled") << "the label's description counts always";
  set(node, "AXValue", "value");
  EXPECT_EQ(element(node).elementName(true), "value");
  set(node, "AXPlaceholderValue", "placeholder");
  EXPECT_EQ(element(node).elementName(true), "placeholder");
  set(node, "AXHelp", "help");
  EXPECT_EQ(element(node).elementName(true), "help");
  set(node, "AXTitle", std::string(255, 'x') + "e\u0301y");
  EXPECT_EQ(element(node).elementName(true), std::string(255, 'x') + "e\u0301");
  EXPECT_EQ(pathOf(node), "Application:Notes -> Window:Preferences -> TextField:help") << "in a step the last wins";
}

TEST_F(Element, PicturesAreNotNamedByTheirDescription) {
  for (const char* role : {"AXImage", "AXIcon"}) {
    const port::NodeId picture = add(window, role, role, "");
    set(picture, "AXDescription", "Logo");
    EXPECT_EQ(element(picture).elementName(true), "");
  }
}

TEST_F(Element, TitleChainsEnd) {
  std::vector<port::NodeId> chain;
  for (int i = 0; i < 12; ++i) {
    chain.push_back(add(window, "chain" + std::to_string(i), "AXStaticText", ""));
  }
  const auto point = [&](int from, int to) {
    set(chain[from], "AXTitleUIElement", platform->desktop().element(chain[to]));
  };
  for (int i = 0; i < 11; ++i) {
    point(i, i + 1);
  }
  set(chain[8], "AXDescription", "eighth");
  EXPECT_EQ(element(chain[0]).elementName(true), "eighth");
  set(chain[8], "AXDescription", std::nullopt);
  set(chain[9], "AXTitle", "ninth");
  EXPECT_EQ(element(chain[0]).elementName(true), "") << "followed at most eight deep";
  point(2, 0);
  set(chain[1], "AXDescription", "inside the circle");
  EXPECT_EQ(element(chain[0]).elementName(true), "inside the circle");
}

TEST_F(Element, ValuesAreReadByKind) {
  struct {
    port::Value value;
    std::string text;
    std::optional<std::int64_t> integer;
  } cases[] = {{std::string("7"), "7", std::nullopt},
               {std::int64_t{-3}, "", -3},
               {2.0, "", 2},
               {2.5, "", std::nullopt},
               {std::numeric_limits<double>::quiet_NaN(), "", std::nullopt},
               {1e300, "", std::nullopt},
               {true, "", std::nullopt},
               {port::Null{}, "", std::nullopt}};
  for (const auto& [value, text, integer] : cases) {
    set(button, "AXValue", value);
    EXPECT_EQ(element(button).axValue(), text);
    EXPECT_EQ(element(button).axIntValue(), integer);
  }
  set(button, "AXURL", port::Url{"https://example.com"});
  EXPECT_EQ(element(button).axUrl(), "");
}

TEST_F(Element, ItsWindowIsAtMostTwentyFourStepsUp) {
  port::NodeId deep = window;
  std::vector<port::NodeId> chain;
  for (int i = 0; i < 30; ++i) {
    chain.push_back(deep = add(deep, "deep" + std::to_string(i), "AXGroup", "g" + std::to_string(i)));
  }
  EXPECT_EQ(element(chain[23]).window()->axTitle(), "Preferences");
  EXPECT_EQ(element(chain[29]).window()->axTitle(), "g5") << "whatever is 24 steps up";
  EXPECT_EQ(element(window).window()->axTitle(), "Preferences");
  set(chain[3], "AXParent", std::nullopt);
  EXPECT_FALSE(element(chain[5]).window());

  const ZQXPath path = element(chain[29]).xPath(false, std::nullopt);
  EXPECT_THAT(path.pathItems, SizeIs(25)) << "the element and 24 ancestors";
  EXPECT_EQ(path.pathItems.back().name, "g5");
}

TEST_F(Element, APathWeavesNamesOfChildrenAndSiblingsIn) {
  add(group, "logo", "AXImage", "");
  add(group, "cancel", "AXButton", "Cancel");
  add(button, "inner", "AXStaticText", "inner");
  EXPECT_EQ(pathOf(button), "Application:Notes -> Window:Preferences{inner} -> Button:OK");
  EXPECT_EQ(pathOf(button, true), "Application:Notes -> Window:Preferences{OK, Cancel}{inner} -> Button:OK");
  set(group, "AXDescription", "Box");
  EXPECT_EQ(pathOf(button, true),
            "Application:Notes -> Window:Preferences -> Group:Box{OK, Cancel}{inner} -> Button:OK");
  set(button, "AXParent", std::nullopt);
  EXPECT_EQ(pathOf(button, true), "Button:OK") << "without a parent";
  set(button, "AXTitle", std::nullopt);
  set(button, "AXRole", "Custom");
  EXPECT_EQ(pathOf(button), "Custom");
  EXPECT_THAT(element(button).xPath(false, {}).pathItems, ElementsAre(ZQXPathItem{"Custom", ""}));
}

TEST_F(Element, ACheckBoxTellsItsNewStateOnRelease) {
  set(button, "AXRole", "AXCheckBox");
  const auto ending = [&](std::optional<std::uint64_t> type) {
    return element(button).xPath(false, type).pathItems[0].name;
  };
  EXPECT_EQ(ending(2), "OK-> State Changed to Enabled(On)");
  set(button, "AXValue", std::int64_t{0});
  EXPECT_EQ(ending(2), "OK-> State Changed to Disabled(Off)");
  EXPECT_EQ(ending(1), "OK");
  EXPECT_EQ(ending({}), "OK");
}

TEST_F(Element, APathIsCutAtAThousandCharactersAndThenTrimmed) {
  for (int i = 0; i < 6; ++i) {
    add(button, "child" + std::to_string(i), "AXButton", std::string(200, 'c'));
  }
  set(window, "AXTitle", "é");
  const std::string path = pathOf(button);
  EXPECT_EQ(path.size(), 1000U) << "999 characters, one of two bytes: the leading blank counted and went";
  EXPECT_TRUE(path.starts_with("Application:Notes -> Window:é{ccc"));
  set(window, "AXTitle", std::string(957, 'w') + "  ");
  platform->desktop().remove(group);
  EXPECT_EQ(pathOf(window), "Application:Notes -> Window:" + std::string(256, 'w'));
}

TEST_F(Element, APathKnowsThePageOfItsHighestWebArea) {
  const port::NodeId outer = add(window, "outer", "AXWebArea", "");
  const port::NodeId inner = add(outer, "inner", "AXWebArea", "");
  const port::NodeId link = add(inner, "link", "AXLink", "Link");
  set(inner, "AXURL", port::Url{"https://inner.example/"});
  set(outer, "AXURL", port::Url{"https://outer.example/x"});
  EXPECT_EQ(element(link).xPath(false, {}).url, "https://outer.example/x");
  set(outer, "AXURL", "https://text.example");
  EXPECT_EQ(element(link).xPath(false, {}).url, "");
  EXPECT_EQ(ZQAccessibilityElement::xPathUsingElements({{{}, element(link)}, {{}, element(inner)}}, false).url,
            "https://inner.example/");
}

TEST_F(Element, AMenuItemTakesTheAddressOfItsApplicationsPage) {
  const port::NodeId page = add(window, "page", "AXWebArea", "", CGRect{{0, 0}, {800, 600}});
  add(page, "text", "AXStaticText", "t", CGRect{{0, 0}, {800, 600}});
  const port::NodeId menu = add(notes, "menu", "AXMenuItem", "Copy");
  set(page, "AXURL", port::Url{"https://page.example/"});
  set(window, "AXPosition", CGPoint{50, 0});
  EXPECT_EQ(element(menu).xPath(false, {}).url, "https://page.example/") << "the probe is at (150, 500)";
  set(page, "AXSize", CGSize{800, 490});
  EXPECT_EQ(element(menu).xPath(false, {}).url, "") << "the probe misses the page";
}

TEST_F(Element, PointsFlipOnTheLastScreenThatHoldsThem) {
  auto& workspace = platform->workspace();
  EXPECT_EQ(carbonScreenPoint({100, 200}, workspace), (CGPoint{100, 879}));
  EXPECT_EQ(carbonScreenPoint({1920, 200}, workspace), CGPoint());
  EXPECT_EQ(carbonScreenPoint({std::nan(""), 200}, workspace), CGPoint());
  platform->desktop().setScreens({{{0, 0}, {1920, 1080}}, {{1000, 0}, {800, 600}}});
  EXPECT_EQ(carbonScreenPoint({1000, 10}, workspace), (CGPoint{1000, 589}));
  platform->desktop().setScreens({});
  EXPECT_EQ(carbonScreenPoint({1, 1}, workspace), CGPoint());
}

TEST(Geometry, NumbersAreWrittenWhole) {
  EXPECT_EQ(toString(CGRect{{10.9, -3.2}, {100, 50.5}}), "10, -3, 100, 50");
  EXPECT_EQ(toString(CGPoint{-0.5, std::nan("")}), "0, 0");
  EXPECT_EQ(toString(CGPoint{1e300, -1e300}), "9223372036854775807, -9223372036854775808");
  EXPECT_EQ(toString(CGPoint{std::numeric_limits<double>::infinity(), 0}), "0, 0");
}

}  // namespace
}  // namespace zqlogging::test
