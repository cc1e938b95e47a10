#include <gmock/gmock.h>

#include "support/ServiceFixture.h"

namespace zqlogging::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using std::chrono_literals::operator""ms;

class Tracking : public ServiceTest {
 protected:
  Tracking() {
    add(notes, "second", "AXWindow", "Second", CGRect{{0, 0}, {10, 10}});
    set(window, "AXMain", true);
  }
  void start(const std::vector<std::string>& processes = {}) {
    ASSERT_TRUE(service->start("S", {}, processes));
    advance(500ms);
  }
  void notify(const char* name, port::NodeId node, std::int32_t pid = 100) {
    platform->scriptedAccessibility().notify(name, node, pid);
    settle();
  }
  /// The paths of the records.
  std::vector<std::string> paths() {
    std::vector<std::string> result;
    for (const std::string& record : inspect().records()) {
      const std::string key = "\"elementXpath\":\"";
      const std::size_t from = record.find(key) + key.size();
      result.push_back(record.substr(from, record.find('"', from) - from));
    }
    return result;
  }

  port::NodeId mail = addApplication(200, "Mail");
  port::NodeId inbox = add(mail, "inbox", "AXWindow", "Inbox", CGRect{{0, 0}, {640, 480}});
};

TEST_F(Tracking, AnActivationRecordsTheApplicationAndItsMainWindow) {
  start();
  EXPECT_EQ(inspect().watchedPid(), std::nullopt);
  activate(100);
  EXPECT_THAT(paths(), ElementsAre("Application:Notes", "Application:Notes -> Window:Preferences"));
  EXPECT_THAT(inspect().records()[1],
              AllOf(HasSubstr(R"("eventType":"Focus")"), HasSubstr(R"("windowRect":"0, 25, 800, 600")"),
                    HasSubstr(R"("isRemoteControlEvent":false})")));
  EXPECT_EQ(inspect().watchedPid(), 100);
  activate(200);
  EXPECT_EQ(inspect().watchedPid(), 200);
  notify("AXMainWindowChanged", window, 100);
  EXPECT_THAT(inspect().records(), SizeIs(3)) << "Notes is no longer watched";
  notify("AXMainWindowChanged", inbox, 200);
  EXPECT_THAT(paths().back(), "Application:Mail -> Window:Inbox");
  EXPECT_EQ(inspect().focusedElement(), nullptr);
}

TEST_F(Tracking, UnusableActivationsAreIgnored) {
  start();
  auto& workspace = platform->scriptedWorkspace();
  using port::NotificationName;
  workspace.post({NotificationName::didActivateApplication, std::nullopt});
  workspace.post({NotificationName::didActivateApplication, port::RunningApplication{100, std::nullopt, "", 0, false}});
  workspace.post({NotificationName::didActivateApplication, port::RunningApplication{9, "com.none", "", 0, false}});
  platform->desktop().raiseOnRead(notes, "AXTitle", "gone mad");
  activate(100);
  EXPECT_THAT(inspect().records(), IsEmpty());
  EXPECT_EQ(inspect().watchedPid(), std::nullopt);
}

TEST_F(Tracking, WhatIsBlacklistedIsToldAndTheWatcherStays) {
  start({"mail", "preferences"});
  activate(200);
  EXPECT_THAT(inspect().records(), IsEmpty());
  ASSERT_THAT(delegate->blackListed, SizeIs(1));
  EXPECT_TRUE(delegate->blackListed[0].isDown);
  activate(100);
  EXPECT_THAT(paths(), ElementsAre("Application:Notes")) << "the window is blacklisted";
  EXPECT_EQ(delegate->blackListed[1].path, "Application:Notes -> Window:Preferences");
  EXPECT_EQ(inspect().watchedPid(), std::nullopt);
}

TEST_F(Tracking, FocusChangesAreRecordedAndCarryTheKeys) {
  start();
  activate(100);
  notify("AXFocusedUIElementChanged", button);
  EXPECT_EQ(platform->desktop().idOf(inspect().focusedElement()), "ok");
  notify("AXFocusedUIElementChanged", window);
  EXPECT_THAT(inspect().records(), SizeIs(3)) << "the new element fills the old one's window";
  EXPECT_EQ(platform->desktop().idOf(inspect().focusedElement()), "ok");
  external(10, {}, "x");
  EXPECT_THAT(inspect().records().back(), AllOf(HasSubstr(R"("character":"x")"), HasSubstr("Button:OK")));
  notify("AXFocusedUIElementChanged", group);
  EXPECT_THAT(inspect().records().back(), AllOf(HasSubstr("Focus"), HasSubstr(R"("isRemoteControlEvent":true)")))
      << "after a remote key";
  service->pause();
  notify("AXFocusedUIElementChanged", button);
  EXPECT_THAT(inspect().records(), SizeIs(5));
  activate(100);
  EXPECT_THAT(inspect().records(), SizeIs(7)) << "activations are recorded all the same";
}

TEST_F(Tracking, AnApplicationThatEndsWhileItIsWatchedDisturbsNothing) {
  start();
  activate(100);
  platform->desktop().terminate(100);
  activate(200);
  EXPECT_EQ(inspect().watchedPid(), 200);
  notify("AXFocusedUIElementChanged", inbox, 200);
  EXPECT_THAT(paths().back(), "Application:Mail -> Window:Inbox");
  external(10, {}, "x");
  EXPECT_THAT(inspect().records().back(), HasSubstr(R"("character":"x")"));
}

}  // namespace
}  // namespace zqlogging::test
