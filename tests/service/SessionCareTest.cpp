#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "support/ServiceFixture.h"

namespace zqlogging::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using std::chrono_literals::operator""s;

/// A session made of data.
struct FakeSession : port::Session {
  struct Told : port::Announcement {
    explicit Told(FakeSession& owner) : session(owner) { ++session.announcements; }
    Told(const Told&) = delete;
    Told& operator=(const Told&) = delete;
    ~Told() override { --session.announcements; }
    FakeSession& session;
  };

  FakeSession() {
    facts.kind = port::SessionFacts::Kind::x11;
    facts.displayServer = facts.sessionBus = facts.accessibilityBus = facts.registry = port::Answer::inTime;
    facts.listenerAnnounced = true;
  }
  port::SessionFacts look() override { return facts; }
  std::unique_ptr<port::Announcement> announceListener(std::chrono::milliseconds) override {
    return canBeTold ? std::make_unique<Told>(*this) : nullptr;
  }
  bool announceListenerForGood() override { return canBeTold; }
  void putBackLeftovers() override { ++putBack; }
  bool repairCachesFolder() override { return false; }

  port::SessionFacts facts;
  bool canBeTold = true;
  std::atomic<int> announcements = 0;  ///< in force
  std::atomic<int> putBack = 0;
};

class SessionCare : public ServiceTest {
 protected:
  SessionCare() {
    platform->setSession(&session);
    platform->scriptedLogs().listen([this](const port::ScriptedLogLine& line) {
      const std::lock_guard lock(mutex);
      if (line.sink == port::ScriptedLogLine::Sink::general) {
        lines.push_back(line.message);
      }
    });
  }
  ~SessionCare() override {
    finishTasks();  // they use the session
    platform->scriptedLogs().listen(nullptr);
  }
  /// Asks for accessibility and waits for what came of it: what was begun before is done by then.
  EnabledAccessibility enable() {
    std::optional<EnabledAccessibility> result;
    service->enableAccessibility([&](const EnabledAccessibility& enabled) { result = enabled; });
    while (!result) {
      platform->time().runQueued();
      std::this_thread::yield();
    }
    return *result;
  }
  void finishTasks() {
    enable();
    service->stop(nullptr);
    settle();
  }
  std::vector<std::string> told() {
    const std::lock_guard lock(mutex);
    return lines;
  }
  bool start(const std::vector<std::string>& processes = {}) { return service->start("S", {}, processes); }

  FakeSession session;
  std::mutex mutex;
  std::vector<std::string> lines;
};

TEST_F(SessionCare, AStartTellsOnceWhatWillMakeRecordsPoor) {
  session.facts.listenerAnnounced = false;
  platform->scriptedAccessibility().setTrusted(false);
  EXPECT_FALSE(start());
  platform->scriptedAccessibility().setTrusted(true);
  EXPECT_TRUE(start());
  EXPECT_FALSE(start());
  enable();
  EXPECT_THAT(told(), ElementsAre(StartsWith("ZQLogging: some records will be poor. Programs are not told")));
  EXPECT_EQ(session.putBack, 2) << "a running session is not looked at again";

  session.facts.listenerAnnounced = true;
  service->stop(nullptr);
  EXPECT_TRUE(start());
  enable();
  EXPECT_THAT(told(), SizeIs(1)) << "all is well";
}

TEST_F(SessionCare, AccessibilityIsEnabledUntilTheStop) {
  using Application = port::SeenApplication;
  session.facts.applications = {{7, "Browser", "", Application::Presence::missing, Application::Heeds::whenStarted},
                                {8, "Editor", "", Application::Presence::complete, Application::Heeds::whenTold}};
  const EnabledAccessibility result = enable();
  EXPECT_TRUE(result.enabled);
  EXPECT_THAT(result.needRestart, ElementsAre("Browser (process 7)"));
  EXPECT_TRUE(start());
  settle();
  EXPECT_EQ(session.announcements, 1);
  service->stop(nullptr);
  EXPECT_EQ(session.announcements, 0);

  enable();
  EXPECT_EQ(session.announcements, 1);
  restart();
  EXPECT_EQ(session.announcements, 0) << "nor does it outlive the service";

  session.canBeTold = false;
  EXPECT_FALSE(enable().enabled);
}

TEST_F(SessionCare, AStopWhileAccessibilityIsBeingEnabledEndsItToo) {
  std::optional<EnabledAccessibility> result;
  service->enableAccessibility([&](const EnabledAccessibility& enabled) { result = enabled; });
  service->stop(nullptr);
  while (!result) {
    platform->time().runQueued();
    std::this_thread::yield();
  }
  EXPECT_FALSE(result->enabled);
  EXPECT_EQ(session.announcements, 0);
}

TEST_F(SessionCare, TheApplicationInFrontIsFollowedFromTheStartWhereThatIsAskedFor) {
  set(window, "AXMain", true);
  activate(100);
  start();
  settle();
  EXPECT_THAT(inspect().records(), IsEmpty());
  service->stop(nullptr);
  settle();

  service->setFollowsFromStart(true);
  start();
  settle();
  EXPECT_THAT(inspect().records(), ElementsAre(HasSubstr("\"Application:Notes\""), HasSubstr("Window:Preferences")));
  EXPECT_EQ(inspect().watchedPid(), 100);
  service->stop(nullptr);
  service->clearLogs();
  settle();

  start({"notes"});
  settle();
  EXPECT_THAT(inspect().records(), IsEmpty());
  EXPECT_THAT(delegate->blackListed, SizeIs(1));
}

TEST_F(SessionCare, AMainLoopThatNobodyDrivesIsToldOnceWithTheNextEvent) {
  const auto forward = [this] {
    service->processExternalEvent(1, 15, 1000, 1, "");
    inspect().waitForWorker();
  };
  start();
  platform->time().pass(40s);
  forward();
  EXPECT_THAT(told(), IsEmpty()) << "two ticks are not over";
  platform->time().pass(1s);
  forward();
  forward();
  EXPECT_THAT(told(), ElementsAre(HasSubstr("nothing has driven the main loop for 41 s")));

  settle();  // makes the timer
  advance(20s);
  platform->time().pass(39s);
  forward();
  EXPECT_THAT(told(), SizeIs(1)) << "it has been driven";
  platform->time().pass(2s);
  command("ls");
  EXPECT_THAT(told(), SizeIs(2)) << "and no more";

  service->stop(nullptr);
  platform->time().pass(100s);
  forward();
  EXPECT_THAT(told(), SizeIs(2)) << "no session needs it";
}

}  // namespace
}  // namespace zqlogging::test
