#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PrivateDesktop.h"
#include "linux/atspi/AtspiStatistics.h"

namespace zqlogging::testing {
namespace {

using port::ElementRef;

constexpr std::uint32_t kEscapeKey = 0xff1b;

/// A desktop with the sample application on it, which every test finds and leaves without popups.
class GtkTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(desktop.accessibility().isProcessTrusted(false));
    app = desktop.accessibility().createApplicationElement(sample.pid());
    // The window manager puts the window in its place after it has appeared.
    ASSERT_TRUE(eventually([this] { return frameOf(window()).origin == CGPoint{40, 60}; }));
  }

  ElementRef window() { return find(app, "AXWindow", "Sample"); }
  ElementRef control(const std::string& role, const std::string& name) {
    ElementRef found = find(window(), role, name);
    EXPECT_TRUE(found) << role << " " << name;
    return found ? found : app;
  }
  ElementRef at(CGPoint point) {
    const auto hit = desktop.accessibility().createSystemWideElement()->copyElementAtPosition(
        static_cast<float>(point.x), static_cast<float>(point.y));
    return hit ? hit.value : nullptr;
  }
  /// Waits until the element at the point is the one described.
  bool comesUp(CGPoint point, const std::string& description) {
    return eventually([&] { return describe(at(point)) == description; });
  }
  bool comesUp(const ElementRef& element) {
    return eventually([&] {
      const ElementRef hit = at(middleOf(frameOf(element)));
      return hit && hit->isEqual(*element);
    });
  }

  LinuxPlatform desktop;
  Program sample{{GTK_APP}};
  Input input;
  ElementRef app;
};

struct Control {
  const char* role;
  const char* name;
  std::vector<std::pair<const char*, const char*>> attributes = {};
};

TEST_F(GtkTest, EachControlIsHitAtItsPlaceAndSaysWhatItIs) {
  const Control controls[] = {
      {"AXMenu", "File", {{"AXValue", "-"}}},
      {"AXMenuItem", "Help"},
      {"AXButton", "Press me", {{"AXDescription", "Does nothing"}, {"AXEnabled", "true"}, {"AXHelp", "-"}}},
      {"AXButton", "Tipped", {{"AXDescription", "A tip"}}},
      {"AXCheckBox", "Wrap lines", {{"AXValue", "1"}, {"AXSubrole", "-"}}},
      {"AXCheckBox", "Bold", {{"AXValue", "0"}, {"AXSubrole", "AXToggle"}}},
      {"AXRadioButton", "Left", {{"AXValue", "1"}}},
      {"AXStaticText", "City", {{"AXValue", "City"}}},
      {"AXTextField", "Vienna", {{"AXTitle", "-"}, {"AXTitleUIElement", "AXStaticText:City"}}},
      {"AXComboBox", "Green", {{"AXValue", "Green"}}},
      {"AXSlider", "", {{"AXValue", "7.00"}, {"AXMinValue", "0.00"}, {"AXMaxValue", "10.0"}}},
      {"AXStaticText", "Apples", {{"AXParent", "AXRow:"}, {"AXWindow", "AXWindow:Sample"}}},
      {"AXTextArea", "Notes", {{"AXValue", "One line\nand another"}, {"AXNumberOfCharacters", "20"}}},
      {"AXRadioButton", "General", {{"AXValue", "1"}, {"AXParent", "AXTabGroup:"}}},
      {"AXStaticText", "General page"},
      {"AXLayoutArea", "", {{"AXValue", "-"}}},
  };
  for (const Control& expected : controls) {
    SCOPED_TRACE(std::string(expected.role) + " " + expected.name);
    const ElementRef element = control(expected.role, expected.name);
    const ElementRef hit = at(middleOf(frameOf(element)));
    ASSERT_TRUE(hit);
    EXPECT_TRUE(hit->isEqual(*element)) << pathOf(hit);
    EXPECT_EQ(hit->hash(), element->hash());
    EXPECT_EQ(hit->getPid().value, sample.pid());
    for (const auto& [attribute, value] : expected.attributes) {
      EXPECT_EQ(valueOf(hit, attribute), value) << attribute;
    }
  }
}

TEST_F(GtkTest, AFieldShowsItsPlaceholderAndAPasswordNothing) {
  std::vector<ElementRef> fields;
  for (const ElementRef& child : childrenOf(childrenOf(window()).front())) {
    if (textOf(child, "AXRole") == "AXTextField") {
      fields.push_back(child);
    }
    for (const ElementRef& inner : childrenOf(child)) {
      if (textOf(inner, "AXPlaceholderValue") == "Search here") {
        fields.push_back(inner);
      }
    }
  }
  ASSERT_EQ(fields.size(), 2U);
  EXPECT_EQ(valueOf(fields[0], "AXValue"), "-");

  const ElementRef& password = fields[1];
  EXPECT_EQ(textOf(password, "AXSubrole"), "AXSecureTextField");
  EXPECT_EQ(valueOf(password, "AXContainsProtectedContent"), "true");
  // Its role is the one thing that it is asked for: the text is left alone.
  const std::uint64_t before = AtspiStatistics::calls;
  EXPECT_EQ(password->copyAttributeValue("AXValue").code, port::ResultCode::noValue);
  EXPECT_EQ(AtspiStatistics::calls - before, 1U);
}

TEST_F(GtkTest, TheTreeEndsAtTheApplication) {
  const ElementRef apple = control("AXStaticText", "Apples");
  EXPECT_EQ(pathOf(apple), "AXApplication:gtk_app/AXWindow:Sample/AXGroup:/AXList:/AXRow:/AXStaticText:Apples");
  EXPECT_EQ(app->copyAttributeValue("AXParent").code, port::ResultCode::attributeUnsupported);
  EXPECT_EQ(app->copyAttributeValue("AXPosition").code, port::ResultCode::attributeUnsupported);
  const auto parent = window()->copyAttributeValue("AXParent");
  ASSERT_TRUE(parent);
  EXPECT_TRUE(std::get<ElementRef>(parent.value)->isEqual(*app));
  EXPECT_EQ(std::get<ElementRef>(parent.value)->hash(), app->hash());
  EXPECT_EQ(textOf(app, "AXIdentifier"), "Gtk_app");
}

TEST_F(GtkTest, WhatIsNotOnTheScreenHasNoFrame) {
  EXPECT_EQ(control("AXMenuItem", "Open")->copyAttributeValue("AXFrame").code, port::ResultCode::noValue);
  EXPECT_EQ(control("AXStaticText", "Details page")->copyAttributeValue("AXPosition").code, port::ResultCode::noValue);
}

TEST_F(GtkTest, OpenMenusLieAboveTheWindow) {
  input.click(middleOf(frameOf(control("AXMenu", "File"))));
  const ElementRef save = control("AXMenuItem", "Save");
  ASSERT_TRUE(comesUp(save));
  EXPECT_EQ(pathOf(at(middleOf(frameOf(save)))),
            "AXApplication:gtk_app/AXWindow:Sample/AXGroup:/AXMenuBar:/AXMenu:File/AXMenuItem:Save");
  EXPECT_EQ(valueOf(control("AXMenuItem", "Wrap"), "AXValue"), "1");

  input.moveTo(middleOf(frameOf(control("AXMenu", "Recent"))));
  EXPECT_TRUE(comesUp(control("AXMenuItem", "Second")));
}

TEST_F(GtkTest, TheListOfAComboBoxLiesAboveTheWindow) {
  const ElementRef combo = control("AXComboBox", "Green");
  input.click(middleOf(frameOf(combo)));
  const ElementRef red = find(combo, "AXMenuItem", "Red");
  ASSERT_TRUE(red);
  EXPECT_TRUE(comesUp(red));
}

TEST_F(GtkTest, AContextMenuLiesAboveTheWindow) {
  const CGPoint point = middleOf(frameOf(control("AXLayoutArea", "")));
  input.click(point, 3);
  ASSERT_TRUE(comesUp({point.x + 20, point.y + 15}, "AXMenuItem:Cut"));
  input.pressKey(kEscapeKey);
  EXPECT_TRUE(comesUp(point, "AXLayoutArea:"));
}

TEST_F(GtkTest, AModalDialogLiesAboveTheWindow) {
  sample.send("dialog");
  ElementRef accept;
  ASSERT_TRUE(eventually([&] { return (accept = find(app, "AXButton", "Accept")) != nullptr; }));
  EXPECT_TRUE(comesUp(accept));
  EXPECT_EQ(valueOf(accept, "AXWindow"), "AXWindow:Question");
  const ElementRef dialog = find(app, "AXWindow", "Question");
  EXPECT_EQ(textOf(dialog, "AXSubrole"), "AXDialog");
  EXPECT_EQ(valueOf(dialog, "AXModal"), "true");
  EXPECT_TRUE(eventually([&] { return valueOf(dialog, "AXMain") == "true"; }));
  EXPECT_EQ(valueOf(window(), "AXMain"), "false");
  EXPECT_EQ(valueOf(app, "AXMainWindow"), "AXWindow:Question");
  EXPECT_EQ(valueOf(app, "AXFocusedUIElement"), "AXButton:Accept");
}

TEST_F(GtkTest, AToolTipIsHitAndNotWhatLiesBelow) {
  const CGPoint point = middleOf(frameOf(control("AXButton", "Tipped")));
  input.moveTo({point.x - 1, point.y});
  input.moveTo(point);
  const CGPoint below{point.x, point.y + 40};
  ASSERT_TRUE(comesUp(below, "AXHelpTag:"));
  EXPECT_EQ(pathOf(at(below)), "AXApplication:gtk_app/AXHelpTag:");
  EXPECT_TRUE(frameOf(at(below)).contains(below));
}

TEST_F(GtkTest, TheTopmostOfTwoWindowsIsHit) {
  const CGPoint shared{400, 360};
  const ElementRef underneath = at(shared);
  const Program other{{GTK_APP, "--title", "Other", "--at", "300,300"}};
  const ElementRef otherApp = desktop.accessibility().createApplicationElement(other.pid());
  ASSERT_TRUE(eventually([&] {
    const ElementRef hit = at(shared);
    return hit && hit->getPid().value == other.pid();
  }));
  EXPECT_EQ(valueOf(at(shared), "AXWindow"), "AXWindow:Other");
  EXPECT_EQ(valueOf(otherApp, "AXFrontmost"), "true");
  EXPECT_EQ(valueOf(app, "AXFrontmost"), "false");
  EXPECT_EQ(valueOf(window(), "AXMain"), "true");  // still the one to come forward with its application

  const auto own = app->copyElementAtPosition(static_cast<float>(shared.x), static_cast<float>(shared.y));
  ASSERT_TRUE(own);
  EXPECT_TRUE(own.value->isEqual(*underneath));
  input.click({60, 66});
  EXPECT_TRUE(eventually([&] { return at(shared)->isEqual(*underneath); }));
}

TEST_F(GtkTest, AWindowWithoutAccessibilityIsDescribedByTheServer) {
  // Only so much of its own accessibility can be switched off by an application.
  const Program stranger{{"env", "NO_AT_BRIDGE=1", GTK_APP, "--title", "Stranger", "--at", "600,300"}};
  const CGPoint point{800, 500};
  ASSERT_TRUE(comesUp(point, "AXGroup:"));
  EXPECT_EQ(pathOf(at(point)), "AXApplication:Gtk_app/AXWindow:Stranger/AXGroup:");
  EXPECT_TRUE(frameOf(at(point)).contains(point));
  EXPECT_EQ(at(point)->getPid().value, stranger.pid());
  const ElementRef application = desktop.accessibility().createApplicationElement(stranger.pid());
  EXPECT_EQ(describe(find(application, "AXWindow", "Stranger")), "AXWindow:Stranger");
}

TEST_F(GtkTest, TheBareDesktopHasNoElement) {
  const auto system = desktop.accessibility().createSystemWideElement();
  EXPECT_EQ(system->copyElementAtPosition(1270, 1010).code, port::ResultCode::noValue);
  EXPECT_EQ(system->copyElementAtPosition(-5, 1e9F).code, port::ResultCode::noValue);
}

TEST_F(GtkTest, ManyAttributesAreReadAtOnce) {
  const auto values = control("AXCheckBox", "Wrap lines")
                          ->copyMultipleAttributeValues({"AXRole", "AXTitle", "AXHelp", "AXValue", "AXNoSuch"});
  ASSERT_TRUE(values);
  ASSERT_EQ(values.value.size(), 5U);
  EXPECT_EQ(std::get<std::string>(values.value[1]), "Wrap lines");
  EXPECT_EQ(std::get<port::ResultCode>(values.value[2]), port::ResultCode::noValue);
  EXPECT_EQ(std::get<std::int64_t>(values.value[3]), 1);
  EXPECT_EQ(std::get<port::ResultCode>(values.value[4]), port::ResultCode::attributeUnsupported);
}

TEST_F(GtkTest, PartsOfAListAreReadAlone) {
  const ElementRef box = childrenOf(window()).front();
  const auto count = box->getAttributeValueCount("AXChildren");
  ASSERT_TRUE(count);
  const auto part = box->copyAttributeValues("AXChildren", 1, 2);
  ASSERT_TRUE(part);
  ASSERT_EQ(part.value.size(), 2U);
  EXPECT_EQ(describe(std::get<ElementRef>(part.value[0])), "AXButton:Press me");
  const auto past = box->copyAttributeValues("AXChildren", count.value, 5);
  ASSERT_TRUE(past);
  EXPECT_TRUE(past.value.empty());
  EXPECT_EQ(box->copyAttributeValues("AXTitle", 0, 1).code, port::ResultCode::noValue);
}

TEST_F(GtkTest, ActionsAndSettingsReachTheControl) {
  const ElementRef check = control("AXCheckBox", "Wrap lines");
  EXPECT_THAT(check->copyActionNames().value, ::testing::ElementsAre("AXPress"));
  EXPECT_EQ(check->performAction("AXPress"), port::ResultCode::success);
  EXPECT_TRUE(eventually([&] { return valueOf(check, "AXValue") == "0"; }));
  EXPECT_EQ(check->performAction("AXCancel"), port::ResultCode::actionUnsupported);

  const ElementRef city = control("AXTextField", "Vienna");
  ASSERT_TRUE(city->isAttributeSettable("AXValue").value);
  EXPECT_EQ(city->setAttributeValue("AXValue", port::Value(std::string("Graz"))), port::ResultCode::success);
  EXPECT_EQ(valueOf(city, "AXValue"), "Graz");
  EXPECT_FALSE(city->isAttributeSettable("AXRole").value);
}

TEST_F(GtkTest, AReadScopeRemembersAndAScopelessReadDoesNot) {
  const ElementRef check = control("AXCheckBox", "Wrap lines");
  auto scope = desktop.accessibility().openReadScope();
  EXPECT_EQ(valueOf(check, "AXValue"), "1");
  EXPECT_EQ(check->performAction("AXPress"), port::ResultCode::success);
  const std::uint64_t before = AtspiStatistics::calls;
  EXPECT_EQ(valueOf(check, "AXValue"), "1");
  EXPECT_EQ(AtspiStatistics::calls, before);
  scope.reset();
  EXPECT_TRUE(eventually([&] { return valueOf(check, "AXValue") == "0"; }));
}

}  // namespace
}  // namespace zqlogging::testing
