#include <gmock/gmock.h>

#include "scenario/DesktopReader.h"
#include "scripted/ScriptedDesktop.h"

namespace zqlogging::port {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// Two overlapping applications; in the second a toolbar lies over a list that sticks out of its scroll area.
constexpr const char* kDesktop = R"({
  "hits": [
    {"x": 900, "y": 900, "element": "below"},
    {"x": 901, "y": 900, "none": true},
    {"x": 20, "y": 20, "error": -25204},
    {"x": 900, "y": 900, "none": true},
    {"x": 902, "y": 900, "element": "gone"}
  ],
  "applications": [
    {"pid": 1, "element": {"id": "lower", "attributes": {"AXRole": "AXApplication"}, "children": [
      {"id": "below", "attributes": {"AXRole": "AXWindow", "AXPosition": {"point": [0, 0]}, "AXSize": {"size": [500, 500]}}}]}},
    {"pid": 2, "element": {"id": "upper", "attributes": {"AXRole": "AXApplication"}, "children": [
      {"id": "window", "attributes": {"AXRole": "AXWindow", "AXPosition": {"point": [0, 0]}, "AXSize": {"size": [100, 100]}}, "children": [
        {"id": "scroll", "attributes": {"AXPosition": {"point": [0, 0]}, "AXSize": {"size": [50, 50]}}, "children": [
          {"id": "frameless", "attributes": {"AXSize": {"size": [1, 1]}}, "children": [
            {"id": "list", "attributes": {"AXPosition": {"point": [0, 0]}, "AXSize": {"size": [100, 100]}},
              "errors": {"AXPosition": -25200}}]}]},
        {"id": "toolbar", "attributes": {"AXPosition": {"point": [0, 0]}, "AXSize": {"size": [100, 10]}}}]}]}},
    {"pid": 3, "terminated": true, "element": {"id": "ended", "attributes": {}, "children": [
      {"id": "gone", "attributes": {"AXPosition": {"point": [0, 0]}, "AXSize": {"size": [500, 500]}}}]}}
  ]})";

struct ScriptedDesktopTest : ::testing::Test {
  ElementRef element(const std::string& id) { return desktop.element(desktop.find(id).value()); }
  /// The id of what is found at a point, or the code.
  std::string hit(const ElementRef& asked, float x, float y) {
    const auto found = asked->copyElementAtPosition(x, y);
    return found ? desktop.idOf(found.value).value() : std::to_string(static_cast<int>(found.code));
  }
  std::vector<std::string> ids(const Result<Value>& elements) {
    std::vector<std::string> all;
    for (const auto& item : std::get<Array>(elements.value)) {
      all.push_back(desktop.idOf(std::get<ElementRef>(item)).value());
    }
    return all;
  }

  std::shared_ptr<ScriptedPlatform> platform = desktopFromJson(kDesktop);
  ScriptedDesktop& desktop = platform->desktop();
};

TEST_F(ScriptedDesktopTest, TheHitTestFindsTheDeepestElementOnTop) {
  const auto everything = platform->accessibility().createSystemWideElement();
  const auto lower = element("below");
  const struct {
    const char* what;
    ElementRef asked;
    float x, y;
    const char* found;
  } cases[] = {
      {"below an element without a frame, although reading its position fails", everything, 30, 30, "list"},
      {"the maximum edge is outside, and what sticks out of an ancestor is not there", everything, 50, 30, "window"},
      {"a later sibling is on top", everything, 30, 9, "toolbar"},
      {"a later application is on top, one that has ended is not there", everything, 99, 99, "window"},
      {"an earlier application where the later one is not", everything, 100, 99, "below"},
      {"nothing", everything, 600, 99, "-25212"},
      {"an application looks at itself alone", lower, 30, 30, "below"},
      {"the first entry of the list for a point decides", everything, 900, 900, "below"},
      {"an entry without element", everything, 901, 900, "-25212"},
      {"an entry with a failure hides the tree", everything, 20, 20, "-25204"},
      {"an entry may find what is gone", everything, 902, 900, "gone"},
      {"the list is the whole desktop's", lower, 20, 20, "below"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(hit(c.asked, c.x, c.y), c.found) << c.what;
  }
}

TEST_F(ScriptedDesktopTest, TreeAttributesFollowFromTheTreeUnlessGiven) {
  EXPECT_THAT(ids(element("window")->copyAttributeValue("AXChildren")), ElementsAre("scroll", "toolbar"));
  EXPECT_EQ(desktop.idOf(std::get<ElementRef>(element("list")->copyAttributeValue("AXParent").value)), "frameless");
  EXPECT_THAT(ids(element("upper")->copyAttributeValue("AXWindows")), ElementsAre("window"));
  EXPECT_EQ(element("window")->copyAttributeValue("AXWindows").code, ResultCode::attributeUnsupported);
  EXPECT_EQ(element("list")->copyAttributeValue("AXChildren").code, ResultCode::attributeUnsupported);

  desktop.edit(*desktop.find("window"),
               {.attributes = {{"AXRole", "AXSheet"}, {"AXChildren", Value(Array())}}, .errors = {}});
  EXPECT_THAT(ids(element("upper")->copyAttributeValue("AXWindows")), IsEmpty());
  EXPECT_THAT(ids(element("window")->copyAttributeValue("AXChildren")), IsEmpty());
  desktop.edit(*desktop.find("window"), {.attributes = {{"AXParent", std::nullopt}}, .errors = {}});
  EXPECT_EQ(element("window")->copyAttributeValue("AXParent").code, ResultCode::attributeUnsupported);
  EXPECT_THAT(element("window")->copyAttributeNames().value,
              UnorderedElementsAre("AXRole", "AXPosition", "AXSize", "AXChildren"));
}

TEST_F(ScriptedDesktopTest, ARemovedElementIsGoneWithEverythingBelowIt) {
  const auto list = element("list");
  desktop.remove(*desktop.find("scroll"));
  EXPECT_EQ(list->copyAttributeValue("AXSize").code, ResultCode::invalidUIElement);
  EXPECT_EQ(hit(platform->accessibility().createSystemWideElement(), 30, 30), "window");
  EXPECT_THAT(ids(element("window")->copyAttributeValue("AXChildren")), ElementsAre("toolbar"));
}

TEST_F(ScriptedDesktopTest, AnApplicationThatEndsIsStillKnownByItsPid) {
  EXPECT_EQ(desktop.runningApplications().size(), 2);
  desktop.terminate(2);
  EXPECT_EQ(desktop.runningApplications().size(), 1);
  EXPECT_TRUE(desktop.application(2)->terminated);
  EXPECT_FALSE(desktop.application(4).has_value());
  for (const auto& gone : {element("list"), platform->accessibility().createApplicationElement(4)}) {
    EXPECT_EQ(gone->copyAttributeValue("AXRole").code, ResultCode::invalidUIElement);
    EXPECT_EQ(gone->getPid().code, ResultCode::invalidUIElement);
    EXPECT_EQ(gone->setMessagingTimeout(1), ResultCode::invalidUIElement);
  }
}

TEST_F(ScriptedDesktopTest, ReferencesToOneElementAreEqual) {
  const auto application = platform->accessibility().createApplicationElement(2);
  EXPECT_TRUE(application->isEqual(*element("upper")));
  EXPECT_EQ(application->hash(), element("upper")->hash());
  EXPECT_FALSE(application->isEqual(*element("lower")));
  EXPECT_FALSE(application->isEqual(*desktopFromJson(kDesktop)->accessibility().createApplicationElement(2)));
}

TEST_F(ScriptedDesktopTest, ReadsAnswerWithTheCodesOfTheAccessibilityInterface) {
  const auto node = *desktop.find("list");
  desktop.edit(node, {.attributes = {{"AXTitle", "List"}, {"AXRows", Value(Array{1, 2, 3})}},
                      .errors = {{"AXValue", ResultCode::noValue}}});
  desktop.setActions(node, {"AXPress"});
  desktop.raiseOnRead(node, "AXHelp", "no such selector");
  const auto list = element("list");
  EXPECT_EQ(list->copyAttributeValue("AXValue").code, ResultCode::noValue);
  EXPECT_THROW((void)list->copyAttributeValue("AXHelp"), PlatformException);

  EXPECT_EQ(list->copyAttributeValues("AXRows", 1, 5).value.size(), 2);
  EXPECT_EQ(list->copyAttributeValues("AXRows", 4, 1).code, ResultCode::illegalArgument);
  EXPECT_EQ(list->copyAttributeValues("AXTitle", 0, 1).code, ResultCode::illegalArgument);
  EXPECT_EQ(list->copyAttributeValues("AXTitle", 0, 0).code, ResultCode::success);
  EXPECT_EQ(list->copyAttributeValues("AXNothing", 0, 0).code, ResultCode::attributeUnsupported);
  EXPECT_EQ(list->getAttributeValueCount("AXRows").value, 3);
  EXPECT_EQ(list->getAttributeValueCount("AXTitle").code, ResultCode::illegalArgument);

  const auto several = list->copyMultipleAttributeValues({"AXTitle", "AXValue", "AXNothing"});
  EXPECT_EQ(std::get<std::string>(several.value.at(0)), "List");
  EXPECT_EQ(std::get<ResultCode>(several.value.at(1)), ResultCode::noValue);
  EXPECT_EQ(std::get<ResultCode>(several.value.at(2)), ResultCode::attributeUnsupported);

  EXPECT_EQ(list->setAttributeValue("AXTitle", "Renamed"), ResultCode::success);
  EXPECT_EQ(std::get<std::string>(list->copyAttributeValue("AXTitle").value), "Renamed");
  EXPECT_FALSE(list->isAttributeSettable("AXParent").value);
  EXPECT_EQ(list->setAttributeValue("AXNothing", "x"), ResultCode::attributeUnsupported);
  EXPECT_EQ(list->performAction("AXPress"), ResultCode::success);
  EXPECT_EQ(list->performAction("AXPick"), ResultCode::actionUnsupported);
}

}  // namespace
}  // namespace zqlogging::port
