#include <gmock/gmock.h>

#include <thread>

#include "scenario/DesktopReader.h"
#include "scripted/ScriptedAccessibility.h"

namespace zqlogging::port {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct ScriptedAccessibilityTest : ::testing::Test {
  /// Virtual seconds that a read of the hung application takes, in milliseconds.
  long readTakes() {
    const double before = platform->clock().steadyTime();
    EXPECT_EQ(hung->copyAttributeValue("AXRole").code, ResultCode::cannotComplete);
    return std::lround((platform->clock().steadyTime() - before) * 1000);
  }
  std::unique_ptr<NotificationObserver> observe(std::int32_t pid) {
    return std::move(accessibility
                         .createObserver(pid,
                                         [this](const ElementRef& element, const std::string& name, const Dictionary&) {
                                           delivered.push_back(*platform->desktop().idOf(element) + " " + name);
                                         })
                         .value);
  }
  void notify(const std::string& name, const std::string& id, std::int32_t pid = 1) {
    platform->scriptedAccessibility().notify(name, *platform->desktop().find(id), pid);
  }

  std::shared_ptr<ScriptedPlatform> platform = desktopFromJson(R"({"applications": [
    {"pid": 1, "element": {"id": "app", "attributes": {}, "children": [
      {"id": "one", "attributes": {}}, {"id": "two", "attributes": {}}]}},
    {"pid": 2, "hung": true, "element": {"id": "hung", "attributes": {}, "children": [
      {"id": "window", "attributes": {"AXPosition": {"point": [0, 0]}, "AXSize": {"size": [9, 9]}}}]}}]})");
  Accessibility& accessibility = platform->accessibility();
  ElementRef desktop = accessibility.createSystemWideElement();
  ElementRef app = accessibility.createApplicationElement(1);
  ElementRef hung = accessibility.createApplicationElement(2);
  std::vector<std::string> delivered;
};

TEST_F(ScriptedAccessibilityTest, ARequestToAHungApplicationTakesItsTimeoutElseTheDesktopsElseTheDefault) {
  EXPECT_EQ(readTakes(), 6000);
  desktop->setMessagingTimeout(0.1F);
  EXPECT_EQ(readTakes(), 100);
  hung->setMessagingTimeout(0.5F);
  EXPECT_EQ(readTakes(), 500);
  hung->setMessagingTimeout(0);
  EXPECT_EQ(readTakes(), 100);
  EXPECT_EQ(hung->setMessagingTimeout(-1), ResultCode::illegalArgument);

  const double before = platform->clock().steadyTime();
  EXPECT_EQ(desktop->copyElementAtPosition(5, 5).code, ResultCode::cannotComplete);
  EXPECT_NEAR(platform->clock().steadyTime() - before, 0.1, 1e-9);
  EXPECT_EQ(desktop->copyElementAtPosition(10, 5).code, ResultCode::noValue);
  EXPECT_EQ(hung->getPid().value, 2);
}

TEST_F(ScriptedAccessibilityTest, InsideAReadScopeAHungApplicationIsWaitedForOnce) {
  desktop->setMessagingTimeout(0.1F);
  {
    const auto scope = accessibility.openReadScope();
    EXPECT_EQ(readTakes(), 100);
    EXPECT_EQ(readTakes(), 0);
    EXPECT_EQ(desktop->copyElementAtPosition(5, 5).code, ResultCode::cannotComplete);
    const auto inner = accessibility.openReadScope();
    EXPECT_EQ(readTakes(), 0);
    std::thread([&] { EXPECT_EQ(readTakes(), 100) << "the scope is another thread's"; }).join();
    EXPECT_EQ(app->copyAttributeNames().code, ResultCode::success);
  }
  EXPECT_EQ(readTakes(), 100);
}

TEST_F(ScriptedAccessibilityTest, NotificationsReachHookedObserversThatRegisteredTheElementOrItsApplication) {
  const auto one = platform->desktop().element(*platform->desktop().find("one"));
  const auto observer = observe(1);
  EXPECT_EQ(observer->addNotification(*one, "AXMoved"), ResultCode::success);
  EXPECT_EQ(observer->addNotification(*one, "AXMoved"), ResultCode::notificationAlreadyRegistered);
  EXPECT_EQ(observer->addNotification(*app, "AXResized"), ResultCode::success);
  notify("AXMoved", "one");
  EXPECT_THAT(delivered, IsEmpty()) << "not hooked yet";

  observer->hookIntoCurrentLoop();
  notify("AXMoved", "one");
  notify("AXMoved", "two");
  notify("AXResized", "two");
  notify("AXMoved", "one", 2);
  EXPECT_THAT(delivered, ElementsAre("one AXMoved", "two AXResized"));

  EXPECT_EQ(observer->removeNotification(*one, "AXMoved"), ResultCode::success);
  EXPECT_EQ(observer->removeNotification(*one, "AXMoved"), ResultCode::notificationNotRegistered);
  notify("AXMoved", "one");
  observer->unhookFromCurrentLoop();
  notify("AXResized", "two");
  EXPECT_EQ(delivered.size(), 2);
}

TEST_F(ScriptedAccessibilityTest, NobodyObservesWhatIsGoneOrHangs) {
  const auto observer = observe(1);
  EXPECT_EQ(observer->addNotification(*hung, "AXMoved"), ResultCode::cannotComplete);
  platform->desktop().terminate(1);
  EXPECT_EQ(observer->addNotification(*app, "AXMoved"), ResultCode::invalidUIElement);
  EXPECT_EQ(observer->removeNotification(*app, "AXMoved"), ResultCode::notificationNotRegistered) << "ended with it";
  EXPECT_EQ(accessibility.createObserver(1, nullptr).code, ResultCode::invalidUIElement);
  EXPECT_EQ(accessibility.createObserver(3, nullptr).code, ResultCode::invalidUIElement);
}

TEST_F(ScriptedAccessibilityTest, AnObserverMayEndItselfAndOthersInItsCallback) {
  std::vector<std::unique_ptr<NotificationObserver>> observers;
  int calls = 0;
  for (int i = 0; i < 2; ++i) {
    auto created = accessibility.createObserver(1, [&](const auto&, const auto&, const auto&) {
      ++calls;
      observers.clear();
    });
    created.value->addNotification(*app, "AXMoved");
    created.value->hookIntoCurrentLoop();
    observers.push_back(std::move(created.value));
  }
  notify("AXMoved", "app");
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace zqlogging::port
