#include <gtest/gtest.h>
#include <malloc.h>
#include <signal.h>

#include <algorithm>

#include "PrivateDesktop.h"
#include "linux/atspi/AtspiStatistics.h"

namespace zqlogging::testing {
namespace {

using port::ElementRef;
using port::ResultCode;

constexpr const char* kFocusChanged = "AXFocusedUIElementChanged";

/// Applications and services that stop, die and come back. Time is measured in waits that ran out: each takes the
/// messaging time-out, 0.1 seconds here as in a session.
class RobustnessTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(eventually([this] { return desktop.accessibility().isProcessTrusted(false); }));
    ASSERT_EQ(everything->setMessagingTimeout(0.1F), ResultCode::success);
  }

  LinuxAccessibility& accessibility() { return static_cast<LinuxAccessibility&>(desktop.accessibility()); }
  ElementRef applicationOf(const Program& program) {
    return desktop.accessibility().createApplicationElement(program.pid());
  }
  port::Result<ElementRef> hit(CGPoint point) {
    return everything->copyElementAtPosition(static_cast<float>(point.x), static_cast<float>(point.y));
  }
  bool shows(const Program& program, CGPoint point, const std::string& description) {
    return eventually([&] {
      const auto found = hit(point);
      return found && describe(found.value) == description && found.value->getPid().value == program.pid();
    });
  }
  /// The service that owns a name ends; its pid afterwards is another one.
  static void killOwnerOf(Bus bus, const std::string& name) {
    const pid_t owner = ownerOf(bus, name);
    ASSERT_GT(owner, 1);
    ASSERT_EQ(kill(owner, SIGKILL), 0);
    ASSERT_TRUE(eventually([&] { return kill(owner, 0) != 0; }));
  }

  LinuxPlatform desktop;
  ElementRef everything = desktop.accessibility().createSystemWideElement();
  const CGPoint inTitleBar{100, 66};
};

TEST_F(RobustnessTest, AStoppedApplicationCostsOneTimeOutAnEvent) {
  const Program stopped{{GTK_APP}};
  ASSERT_TRUE(shows(stopped, inTitleBar, "AXWindow:Sample"));
  const Program other{{GTK_APP, "--title", "Other", "--at", "600,60"}};
  ASSERT_TRUE(shows(other, {700, 66}, "AXWindow:Other"));
  const ElementRef application = applicationOf(stopped);
  const ElementRef button = find(application, "AXButton", "Press me");

  stopped.signal(SIGSTOP);
  for (int event = 0; event < 2; ++event) {
    const auto scope = desktop.accessibility().openReadScope();
    const std::uint64_t before = AtspiStatistics::timeOuts;
    const auto found = hit(inTitleBar);
    EXPECT_EQ(pathOf(found.value), "AXApplication:Gtk_app/AXWindow:Sample") << "as the X server knows it";
    EXPECT_EQ(found.value->getPid().value, stopped.pid());
    EXPECT_EQ(button->copyAttributeValue("AXTitle").code, ResultCode::cannotComplete);
    EXPECT_EQ(button->copyAttributeValue("AXFrame").code, ResultCode::cannotComplete);
    for (const char* attribute : {"AXWindows", "AXMainWindow"}) {
      EXPECT_FALSE(application->copyAttributeValue(attribute)) << attribute;
    }
    EXPECT_EQ(describe(application), "AXApplication:Gtk_app");  // as the X server knows it
    EXPECT_EQ(AtspiStatistics::timeOuts - before, 1U);
  }
  // Others are not held up by it.
  const std::uint64_t before = AtspiStatistics::timeOuts;
  EXPECT_EQ(describe(hit({700, 66}).value), "AXWindow:Other");
  EXPECT_EQ(AtspiStatistics::timeOuts, before);

  stopped.signal(SIGCONT);
  EXPECT_TRUE(shows(stopped, inTitleBar, "AXWindow:Sample"));
  EXPECT_EQ(textOf(button, "AXTitle"), "Press me");
}

TEST_F(RobustnessTest, LookingForTheWindowAtAPointLeavesNothingInMemory) {
  const Program program{{GTK_APP}};
  ASSERT_TRUE(shows(program, inTitleBar, "AXWindow:Sample"));
  constexpr int kTimes = 1000;
  const auto look = [&] {
    for (int i = 0; i < kTimes; ++i) {
      accessibility().services().windows().windowAt(100, 66);
    }
  };
  look();
  const std::size_t before = mallinfo2().uordblks;
  look();
  EXPECT_LT(mallinfo2().uordblks, before + kTimes);  // not even a byte each
}

TEST_F(RobustnessTest, ElementsOfADeadApplicationSaySo) {
  ElementRef button, application;
  {
    const Program program{{GTK_APP}};
    ASSERT_TRUE(shows(program, inTitleBar, "AXWindow:Sample"));
    application = applicationOf(program);
    button = find(application, "AXButton", "Press me");
  }
  EXPECT_EQ(button->copyAttributeValue("AXTitle").code, ResultCode::invalidUIElement);
  EXPECT_EQ(button->copyAttributeValue("AXParent").code, ResultCode::invalidUIElement);
  EXPECT_EQ(application->copyAttributeValue("AXRole").code, ResultCode::invalidUIElement);
  EXPECT_EQ(application->copyAttributeNames().code, ResultCode::invalidUIElement);
  EXPECT_TRUE(eventually([&] { return hit(inTitleBar).code == ResultCode::noValue; }));
}

TEST_F(RobustnessTest, TheRegistryMayDieAndComeBack) {
  const Program program{{GTK_APP}};
  ASSERT_TRUE(shows(program, inTitleBar, "AXWindow:Sample"));
  std::vector<std::string> heard;
  const auto observer = desktop.accessibility().createObserver(
      program.pid(), [&](const ElementRef& element, const std::string&, const port::Dictionary&) {
        heard.push_back(describe(element));
      });
  observer.value->hookIntoCurrentLoop();
  ASSERT_EQ(observer.value->addNotification(*applicationOf(program), kFocusChanged), ResultCode::success);

  killOwnerOf(Bus::accessibility, "org.a11y.atspi.Registry");
  EXPECT_TRUE(eventually([&] { return !desktop.accessibility().isProcessTrusted(false); }));
  EXPECT_EQ(describe(hit(inTitleBar).value), "AXWindow:Sample");  // its application is still there

  const Program newcomer{{GTK_APP, "--title", "Newcomer", "--at", "600,60"}};  // brings the registry back
  ASSERT_TRUE(shows(newcomer, {700, 66}, "AXWindow:Newcomer"));
  EXPECT_TRUE(eventually([&] { return desktop.accessibility().isProcessTrusted(false); }));
  Input().click(inTitleBar);
  bool onText = false;
  EXPECT_TRUE(eventually([&] {
    program.send((onText = !onText) ? "focus text" : "focus button");
    return std::count(heard.begin(), heard.end(), "AXTextArea:Notes") > 0;
  }));
}

TEST_F(RobustnessTest, TheBusMayDieAndComeBack) {
  const Program before{{GTK_APP}};
  ASSERT_TRUE(shows(before, inTitleBar, "AXWindow:Sample"));
  const ElementRef button = find(applicationOf(before), "AXButton", "Press me");
  std::vector<std::int32_t> activated;
  const auto subscription = accessibility().subscribeActivation(
      [&](std::int32_t pid) { desktop.returnToMain([&, pid] { activated.push_back(pid); }); });

  killOwnerOf(Bus::accessibility, "org.freedesktop.DBus");
  EXPECT_FALSE(button->copyAttributeValue("AXTitle"));
  // Asked for, the bus comes back, without its applications of old: their windows are still seen.
  EXPECT_TRUE(eventually([&] { return desktop.accessibility().isProcessTrusted(false); }));
  EXPECT_EQ(button->copyAttributeValue("AXTitle").code, ResultCode::invalidUIElement);
  EXPECT_TRUE(shows(before, inTitleBar, "AXWindow:Sample"));

  const Program after{{GTK_APP, "--title", "After", "--at", "600,60"}};
  ASSERT_TRUE(shows(after, {700, 66}, "AXWindow:After"));
  EXPECT_TRUE(find(applicationOf(after), "AXButton", "Press me"));
  Input input;
  bool other = false;
  EXPECT_TRUE(eventually([&] {
    input.click((other = !other) ? inTitleBar : CGPoint{700, 66});
    return std::count(activated.begin(), activated.end(), after.pid()) > 0;
  }));
}

TEST_F(RobustnessTest, AServiceThatLeavesItsBusBehindIsNoticed) {
  const std::uint32_t before = accessibility().services().bus().address().number;
  killOwnerOf(Bus::session, "org.a11y.Bus");
  // Asked about, the service starts again, with a bus of its own. The old bus still answers.
  EXPECT_TRUE(eventually([&] {
    return desktop.accessibility().isProcessTrusted(false) &&
           accessibility().services().bus().address().number != before;
  }));
  const Program program{{GTK_APP}};
  EXPECT_TRUE(eventually([&] { return find(applicationOf(program), "AXButton", "Press me") != nullptr; }));
}

}  // namespace
}  // namespace zqlogging::testing
