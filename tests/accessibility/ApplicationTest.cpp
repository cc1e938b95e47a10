#include <gmock/gmock.h>

#include "accessibility/Application.h"
#include "accessibility/ThrownBy.h"
#include "support/FakePlatform.h"

namespace zqlogging {
namespace {

using port::ResultCode;
using test::FakePlatform;
using test::thrownBy;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

std::vector<std::int32_t> pids(const std::vector<std::shared_ptr<Application>>& applications) {
  std::vector<std::int32_t> result;
  for (const auto& application : applications) {
    result.push_back(application->pid());
  }
  return result;
}

class ApplicationTest : public testing::Test {
 protected:
  /// The element that stands for the process on the desktop.
  std::shared_ptr<test::FakeElement> elementOf(std::int32_t pid) {
    (void)platform.createApplicationElement(pid);
    return platform.applicationElements.at(pid);
  }

  FakePlatform platform;
};

TEST_F(ApplicationTest, LookupsLeaveOutWhatIsGone) {
  using port::RunningApplication;
  platform.running = {
      RunningApplication{.pid = 5, .bundleIdentifier = "com.example.Notes", .description = ""},
      RunningApplication{.pid = 6, .bundleIdentifier = "com.example.notes", .description = "", .activationPolicy = 1},
      RunningApplication{.pid = 7, .bundleIdentifier = "com.example.notes", .description = "", .activationPolicy = 2},
      RunningApplication{.pid = 8, .bundleIdentifier = "com.example.notes", .description = "", .terminated = true},
      RunningApplication{.pid = -1, .bundleIdentifier = "com.example.notes", .description = ""},
      RunningApplication{.pid = 3, .bundleIdentifier = std::nullopt, .description = ""},
  };
  EXPECT_THAT(pids(Application::all(platform)), ElementsAre(5, 6, 3));
  EXPECT_THAT(pids(Application::allForBundleID(platform, "com.example.notes")), ElementsAre(6, 7));
  EXPECT_THAT(pids(Application::allForBundleID(platform, "com.example")), IsEmpty());
  EXPECT_THAT(pids(Application::allForBundleID(platform, "")), IsEmpty());

  ASSERT_TRUE(Application::forProcessID(platform, 7));
  EXPECT_EQ(Application::forProcessID(platform, 7)->pid(), 7);
  for (const std::int32_t gone : {8, -1, 99}) {
    EXPECT_FALSE(Application::forProcessID(platform, gone)) << gone;
  }
}

TEST_F(ApplicationTest, WindowsAreAListOfElementsOrAFailure) {
  const auto fake = elementOf(5);
  const Application application(fake);
  const auto window = std::make_shared<test::FakeElement>(platform, "window");

  EXPECT_EQ(application.windows(), std::nullopt);
  fake->attributes["AXWindows"] = port::Array{};
  EXPECT_THAT(application.windows(), testing::Optional(IsEmpty()));
  fake->attributes["AXWindows"] = port::Array{port::ElementRef(window)};
  EXPECT_EQ(application.windows().value().at(0)->element(), window);
  fake->attributes["AXWindows"] = port::Array{port::ElementRef(window), "title"};
  EXPECT_THROW((void)application.windows(), AXError);
}

class ObserverTest : public ApplicationTest {
 protected:
  std::shared_ptr<Observer> createPlain() {
    return application.createObserver([this](Observer& observer, const std::shared_ptr<UIElement>& element,
                                             AXNotification notification) { note(observer, *element, notification); });
  }
  std::shared_ptr<Observer> createWithInfo() {
    return application.createObserver([this](Observer& observer, const std::shared_ptr<UIElement>& element,
                                             AXNotification notification, const port::Dictionary& info) {
      note(observer, *element, notification);
      delivered.back() += " " + info.begin()->first;
    });
  }
  void note(const Observer& observer, const UIElement& element, AXNotification notification) {
    delivered.push_back(std::to_string(observer.pid()) + " " + element.element()->textForm() + " " +
                        std::string(rawValue(notification)));
  }
  /// The desktop delivers a notification to the observer created last.
  void notify(const std::string& name) {
    platform.observers.back()->callback(window, name, {{"AXUIElementTitle", "Preferences"}});
  }

  std::shared_ptr<test::FakeElement> window = std::make_shared<test::FakeElement>(platform, "window");
  Application application{elementOf(5)};
  std::vector<std::string> delivered;
};

TEST_F(ObserverTest, IsLiveFromItsCreationToItsEnd) {
  auto observer = createPlain();
  const auto state = platform.observers.back();
  EXPECT_EQ(state->pid, 5);
  EXPECT_TRUE(state->hooked);
  observer->stop();
  EXPECT_FALSE(state->hooked);
  observer->start();
  EXPECT_TRUE(state->hooked);
  observer.reset();
  EXPECT_FALSE(state->hooked);
  EXPECT_TRUE(state->destroyed);
  notify("AXMainWindowChanged");
  EXPECT_THAT(delivered, IsEmpty());
}

TEST_F(ObserverTest, DeliversKnownNotificationsAndReportsOthersInThePlainFormOnly) {
  const auto withInfo = createWithInfo();
  notify("AXUIElementDestroyed");
  notify("AXMadeUp");
  platform.observers.back()->callback(nullptr, "AXCreated", {});
  EXPECT_THAT(delivered, ElementsAre("5 window AXUIElementDestroyed AXUIElementTitle"));
  EXPECT_THAT(platform.general, IsEmpty());

  const auto plain = createPlain();
  notify("AXMainWindowChanged");
  notify("AXMadeUp");
  EXPECT_THAT(delivered, ElementsAre(testing::_, "5 window AXMainWindowChanged"));
  EXPECT_THAT(platform.general, ElementsAre("Unknown AX notification AXMadeUp received"));
}

TEST_F(ObserverTest, ItsCallbackMayDropIt) {
  std::shared_ptr<Observer> observer;
  std::int32_t pidAfterwards = 0;
  observer = application.createObserver([&](Observer& self, const std::shared_ptr<UIElement>&, AXNotification) {
    observer.reset();
    pidAfterwards = self.pid();
    EXPECT_FALSE(platform.observers.back()->destroyed);
  });
  notify("AXMainWindowChanged");
  EXPECT_EQ(pidAfterwards, 5);
  EXPECT_TRUE(platform.observers.back()->destroyed);
}

TEST_F(ObserverTest, RegisteringTwiceOrUnregisteringWhatIsNotRegisteredIsNoError) {
  using enum ResultCode;
  const auto observer = createPlain();
  const auto state = platform.observers.back();
  for (const ResultCode code : {success, notificationAlreadyRegistered, notificationNotRegistered, cannotComplete}) {
    state->answer = code;
    EXPECT_EQ(thrownBy([&] { observer->addNotification(AXNotification::created, UIElement(window)); }),
              code == notificationAlreadyRegistered ? success : code);
    EXPECT_EQ(thrownBy([&] { observer->removeNotification(AXNotification::moved, UIElement(window)); }),
              code == notificationNotRegistered ? success : code);
  }
  EXPECT_THAT(state->added, testing::Each(Pair("window", "AXCreated")));
  EXPECT_THAT(state->removed, testing::Each(Pair("window", "AXMoved")));
}

TEST_F(ObserverTest, MakesItsApplicationFromTheProcessIdOnce) {
  const auto observer = Observer::create(platform, 40, Observer::Callback([](auto&&...) {}));
  EXPECT_FALSE(platform.applicationElements.contains(40));
  const auto made = observer->application();
  EXPECT_EQ(made->pid(), 40);
  EXPECT_EQ(observer->application(), made);
}

TEST_F(ObserverTest, NoneIsCreatedForAnApplicationThatFails) {
  const auto fake = elementOf(5);
  fake->answer = ResultCode::invalidUIElement;
  EXPECT_FALSE(createPlain());
  fake->answer = ResultCode::success;
  platform.observerAnswer = ResultCode::invalidUIElement;
  EXPECT_FALSE(createWithInfo());
  EXPECT_THAT(platform.general, IsEmpty());

  platform.observerAnswer = ResultCode::cannotComplete;
  EXPECT_FALSE(createPlain());
  fake->answer = ResultCode::apiDisabled;
  EXPECT_FALSE(createWithInfo());
  fake->answer = ResultCode::success;
  fake->processId = -3;
  EXPECT_FALSE(createPlain());
  EXPECT_THAT(platform.general, ElementsAre("Caught unexpected error creating observer: AXError.CannotComplete",
                                            "Caught unexpected error creating observer: AXError.APIDisabled",
                                            "Caught unexpected error creating observer: AXError.IllegalArgument"));
}

}  // namespace
}  // namespace zqlogging
