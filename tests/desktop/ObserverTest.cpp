#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "PrivateDesktop.h"

namespace zqlogging::testing {
namespace {

using port::ElementRef;
using port::ResultCode;
using ::testing::ElementsAre;

constexpr std::uint32_t kTabKey = 0xff09;
constexpr const char* kMainWindowChanged = "AXMainWindowChanged";
constexpr const char* kFocusChanged = "AXFocusedUIElementChanged";

class ObserverTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(desktop.accessibility().isProcessTrusted(false)); }

  ElementRef applicationOf(const Program& program) {
    return desktop.accessibility().createApplicationElement(program.pid());
  }
  /// Waits until the window of the program is the active one.
  bool comesForward(const Program& program) {
    return eventually([&] { return valueOf(applicationOf(program), "AXFrontmost") == "true"; });
  }
  /// An observer that notes what it hears, e.g. "AXFocusedUIElementChanged AXButton:OK".
  std::unique_ptr<port::NotificationObserver> observe(const Program& program) {
    auto created = desktop.accessibility().createObserver(
        program.pid(), [this](const ElementRef& element, const std::string& notification, const port::Dictionary&) {
          heard.push_back(notification + " " + describe(element));
        });
    EXPECT_TRUE(created);
    created.value->hookIntoCurrentLoop();
    for (const char* name : {kMainWindowChanged, kFocusChanged}) {
      EXPECT_EQ(created.value->addNotification(*applicationOf(program), name), ResultCode::success);
    }
    return std::move(created.value);
  }
  bool hears(const std::string& expected) {
    return eventually([&] { return std::find(heard.begin(), heard.end(), expected) != heard.end(); });
  }
  /// Moves the focus until the observer's registration has reached the application.
  bool isListenedTo(const Program& program) {
    bool other = false;
    const bool reached = eventually([&] {
      program.send((other = !other) ? "focus search" : "focus text");
      return !heard.empty();
    });
    program.send("focus check");
    return reached && hears("AXFocusedUIElementChanged AXCheckBox:Wrap lines");
  }

  LinuxPlatform desktop;
  Input input;
  std::vector<std::string> heard;
};

TEST_F(ObserverTest, FocusChangesAreHeardOnceEach) {
  const Program sample{{GTK_APP}};
  ASSERT_TRUE(comesForward(sample));
  const auto observer = observe(sample);
  ASSERT_TRUE(isListenedTo(sample));

  heard.clear();
  input.pressKey(kTabKey);
  ASSERT_TRUE(hears("AXFocusedUIElementChanged AXCheckBox:Bold"));
  input.click(middleOf(frameOf(find(applicationOf(sample), "AXTextField", "Vienna"))));
  ASSERT_TRUE(hears("AXFocusedUIElementChanged AXTextField:"));
  sample.send("focus button");
  ASSERT_TRUE(hears("AXFocusedUIElementChanged AXButton:Press me"));
  EXPECT_THAT(heard, ElementsAre("AXFocusedUIElementChanged AXCheckBox:Bold", "AXFocusedUIElementChanged AXTextField:",
                                 "AXFocusedUIElementChanged AXButton:Press me"));
}

TEST_F(ObserverTest, ADialogBecomesTheMainWindowAndAPopupDoesNot) {
  const Program sample{{GTK_APP}};
  ASSERT_TRUE(comesForward(sample));
  const auto observer = observe(sample);
  ASSERT_TRUE(isListenedTo(sample));

  heard.clear();
  constexpr std::uint32_t kEscapeKey = 0xff1b;
  const ElementRef combo = find(applicationOf(sample), "AXComboBox", "Green");
  input.click(middleOf(frameOf(combo)));
  const ElementRef list = find(combo, "AXMenu", "");
  ASSERT_TRUE(eventually([&] { return frameOf(list).size.width > 0; }));
  input.pressKey(kEscapeKey);
  ASSERT_TRUE(eventually([&] { return frameOf(list).size.width == 0; }));
  sample.send("dialog");
  ASSERT_TRUE(hears("AXMainWindowChanged AXWindow:Question"));
  ASSERT_TRUE(eventually([&] { return valueOf(applicationOf(sample), "AXFocusedUIElement") == "AXButton:Accept"; }));
  input.pressKey(kEscapeKey);
  ASSERT_TRUE(hears("AXMainWindowChanged AXWindow:Sample"));
  std::erase_if(heard, [](const std::string& one) { return !one.starts_with(kMainWindowChanged); });
  EXPECT_THAT(heard, ElementsAre("AXMainWindowChanged AXWindow:Question", "AXMainWindowChanged AXWindow:Sample"));
}

TEST_F(ObserverTest, OnlyTheObservedProcessAndElementAreHeard) {
  const Program sample{{GTK_APP}};
  ASSERT_TRUE(comesForward(sample));
  const Program other{{GTK_APP, "--title", "Other", "--at", "600,60"}};
  ASSERT_TRUE(comesForward(other));
  const auto observer = observe(other);
  ASSERT_TRUE(isListenedTo(other));

  std::vector<std::string> heardOfOne;
  const ElementRef button = find(applicationOf(other), "AXButton", "Press me");
  auto ofOne = desktop.accessibility().createObserver(
      other.pid(), [&](const ElementRef& element, const std::string&, const port::Dictionary&) {
        heardOfOne.push_back(describe(element));
      });
  ofOne.value->hookIntoCurrentLoop();
  ASSERT_EQ(ofOne.value->addNotification(*button, kFocusChanged), ResultCode::success);

  heard.clear();
  sample.send("focus toggle");
  other.send("focus button");
  ASSERT_TRUE(eventually([&] { return !heardOfOne.empty(); }));  // or the next one may take its place
  other.send("focus text");
  ASSERT_TRUE(hears("AXFocusedUIElementChanged AXTextArea:Notes"));
  EXPECT_THAT(heard, ::testing::Not(::testing::Contains("AXFocusedUIElementChanged AXCheckBox:Bold")));
  EXPECT_THAT(heardOfOne, ElementsAre("AXButton:Press me"));
}

TEST_F(ObserverTest, AnApplicationThatComesToTheBusLaterIsHeard) {
  // The observer is there before the application has said a word.
  const Program sample{{GTK_APP}};
  const auto observer = observe(sample);
  EXPECT_TRUE(isListenedTo(sample));
}

TEST_F(ObserverTest, NothingIsHeardAfterUnhookingOrTheEnd) {
  const Program sample{{GTK_APP}};
  ASSERT_TRUE(comesForward(sample));
  auto stopped = observe(sample);
  ASSERT_TRUE(isListenedTo(sample));
  stopped->unhookFromCurrentLoop();

  std::vector<std::string> heardByAnother;
  std::unique_ptr<port::NotificationObserver> another;
  another = std::move(desktop.accessibility()
                          .createObserver(sample.pid(),
                                          [&](const ElementRef& element, const std::string&, const port::Dictionary&) {
                                            heardByAnother.push_back(describe(element));
                                            if (heardByAnother.size() == 2) {
                                              another.reset();  // while it is called
                                            }
                                          })
                          .value);
  another->hookIntoCurrentLoop();
  ASSERT_EQ(another->addNotification(*applicationOf(sample), kFocusChanged), ResultCode::success);
  heard.clear();
  bool onText = false;
  ASSERT_TRUE(eventually([&] {
    sample.send((onText = !onText) ? "focus text" : "focus button");
    return heardByAnother.size() == 2;
  }));
  EXPECT_TRUE(heard.empty());

  stopped->hookIntoCurrentLoop();
  ASSERT_TRUE(isListenedTo(sample));
  EXPECT_EQ(heardByAnother.size(), 2U);
  // From another thread, as when the last owner is a worker.
  std::thread([&] { stopped.reset(); }).join();
  heard.clear();
  auto fresh = observe(sample);
  ASSERT_TRUE(isListenedTo(sample));
  EXPECT_EQ(std::count(heard.begin(), heard.end(), heard.back()), 1) << "the destroyed one has been heard as well";
}

TEST_F(ObserverTest, RegistrationsAreAnswered) {
  const Program sample{{GTK_APP}};
  ASSERT_TRUE(comesForward(sample));
  const auto observer = observe(sample);
  const ElementRef app = applicationOf(sample);
  EXPECT_EQ(observer->addNotification(*app, kFocusChanged), ResultCode::notificationAlreadyRegistered);
  EXPECT_EQ(observer->removeNotification(*app, kFocusChanged), ResultCode::success);
  EXPECT_EQ(observer->removeNotification(*app, kFocusChanged), ResultCode::notificationNotRegistered);
  EXPECT_EQ(observer->addNotification(*app, "AXNoSuchThing"), ResultCode::notificationUnsupported);
  const ElementRef stranger = desktop.accessibility().createApplicationElement(getpid());
  EXPECT_EQ(observer->addNotification(*stranger, kFocusChanged), ResultCode::illegalArgument);
  const auto nobody = desktop.accessibility().createObserver(0x3ffffff, [](auto&&...) {});
  EXPECT_EQ(nobody.code, ResultCode::invalidUIElement);
}

TEST_F(ObserverTest, AThousandObserversLeaveNothingBehind) {
  const Program first{{GTK_APP}};
  ASSERT_TRUE(comesForward(first));
  const Program second{{GTK_APP, "--title", "Other", "--at", "600,60"}};
  ASSERT_TRUE(comesForward(second));
  auto observer = observe(second);
  ASSERT_TRUE(isListenedTo(second));
  const std::size_t descriptors = entriesOf("/proc/self/fd");
  const std::size_t threads = entriesOf("/proc/self/task");
  const std::size_t rules = matchRules();
  EXPECT_GT(rules, 0U);
  for (int i = 0; i < 1000; ++i) {
    observer = observe(i % 2 ? second : first);
    if (i % 100 == 0) {
      const Program passing{{GTK_APP, "--title", "Passing"}};
      const auto brief = observe(passing);
      g_main_context_iteration(nullptr, FALSE);
    }
  }
  ASSERT_TRUE(isListenedTo(second));
  EXPECT_TRUE(eventually([&] { return entriesOf("/proc/self/fd") <= descriptors + 2; }));
  EXPECT_LE(entriesOf("/proc/self/task"), threads);
  EXPECT_TRUE(eventually([&] { return matchRules() == rules; })) << matchRules() << " were " << rules;
  observer.reset();
  EXPECT_TRUE(eventually([&] { return entriesOf("/proc/self/task") < threads; })) << "the desktop thread ends";
}

TEST_F(ObserverTest, ActivationIsToldByTheAccessibilityBusToo) {
  std::vector<std::int32_t> activated;
  const auto subscription =
      static_cast<LinuxAccessibility&>(desktop.accessibility()).subscribeActivation([&](std::int32_t pid) {
        desktop.returnToMain([&, pid] { activated.push_back(pid); });
      });
  const Program sample{{GTK_APP}};
  ASSERT_TRUE(comesForward(sample));
  const Program other{{GTK_APP, "--title", "Other", "--at", "600,60"}};
  ASSERT_TRUE(comesForward(other));
  bool turn = false;
  EXPECT_TRUE(eventually([&] {
    input.click((turn = !turn) ? CGPoint{100, 66} : CGPoint{700, 66});
    return std::count(activated.begin(), activated.end(), sample.pid()) > 0 &&
           std::count(activated.begin(), activated.end(), other.pid()) > 0;
  }));
}

}  // namespace
}  // namespace zqlogging::testing
