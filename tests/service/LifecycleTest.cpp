#include <gmock/gmock.h>

#include <unordered_set>

#include "diagnostics/DeveloperTiers.h"
#include "support/ServiceFixture.h"

namespace zqlogging::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

class Lifecycle : public ServiceTest {
 protected:
  /// What a completion was given, or "none".
  std::string stopped() {
    std::string answer = "none";
    service->stop([&](bool delivered) { answer = delivered ? "true" : "false"; });
    settle();
    return answer;
  }
};

TEST_F(Lifecycle, AServiceBeginsWithItsDefaults) {
  EXPECT_TRUE(service->includeSiblings());
  EXPECT_TRUE(service->iterateDOM());
  EXPECT_FALSE(service->ocrEnabled());
  EXPECT_FALSE(service->debuLogging());
  EXPECT_EQ(service->ocrDetectionSize(), (CGSize{300, 120}));
  service->modifyOcrDetectionSize([](CGSize& size) { size = {200, 80}; });
  EXPECT_EQ(inspect().croppedFrameSize(), (CGSize{200, 80}));
}

TEST_F(Lifecycle, WithoutTrustNothingStarts) {
  platform->scriptedAccessibility().setTrusted(false);
  EXPECT_FALSE(service->start("S", {}, {}));
  settle();
  EXPECT_FALSE(inspect().running());
  EXPECT_THAT(platform->scriptedDefaults().entries(), IsEmpty());
  EXPECT_EQ(platform->scriptedAccessibility().prompts(), 0);
  EXPECT_FALSE(service->checkAccessibilityPermission(true));
  EXPECT_EQ(platform->scriptedAccessibility().prompts(), 1);
  activate(100);
  EXPECT_THAT(inspect().records(), IsEmpty()) << "nothing is registered";
}

TEST_F(Lifecycle, ASecondStartIsRefusedAndChangesNothing) {
  EXPECT_TRUE(service->start("S1", {"https://A.example"}, {"NoTes.app"}));
  EXPECT_FALSE(service->start("S2", {}, {})) << "even before the main loop has turned";
  settle();
  EXPECT_FALSE(service->start("S2", {}, {}));
  EXPECT_THAT(inspect().urls(), ElementsAre("https://A.example"));
  EXPECT_THAT(inspect().processes(), ElementsAre("notes.app"));
  EXPECT_EQ(platform->scriptedDefaults().string("kSessionId"), "S1");
  advance(1s);
  command("c");
  advance(19s);
  EXPECT_THAT(delegate->chunks, SizeIs(1)) << "there is one timer";
}

TEST_F(Lifecycle, StopAnswersForEveryState) {
  EXPECT_EQ(stopped(), "false") << "idle";
  service->start("S", {}, {});
  EXPECT_EQ(stopped(), "none") << "nobody answers";
  ASSERT_THAT(delegate->chunks, SizeIs(1));
  EXPECT_TRUE(delegate->chunks[0].isLast);
  EXPECT_EQ(delegate->chunks[0].text, "");
  service->start("S", {}, {});
  settle();
  delegate->onChunk = [](const auto& answer) { answer(true); };
  EXPECT_EQ(stopped(), "true");
  service->start("S", {}, {});
  service->setDelegate(nullptr);
  EXPECT_EQ(stopped(), "none") << "no delegate";
  EXPECT_FALSE(inspect().running());
}

TEST_F(Lifecycle, AfterStopNothingFollowsTheDesktopAndNumbersBeginAnew) {
  service->start("S", {}, {});
  advance(1s);
  activate(100);
  EXPECT_EQ(inspect().eventId(), 1);
  service->stop(nullptr);
  settle();
  const std::size_t chunks = delegate->chunks.size();
  activate(100);
  platform->scriptedAccessibility().notify("AXFocusedUIElementChanged", button, 100);
  advance(60s);
  EXPECT_THAT(delegate->chunks, SizeIs(chunks)) << "the timer is gone";
  EXPECT_THAT(inspect().records(), SizeIs(1));
  command("next");
  EXPECT_THAT(inspect().records().back(), testing::HasSubstr("\"id\":1,"));
}

TEST_F(Lifecycle, SystemNotificationsTakeANumberAndRecordNothing) {
  service->start("S", {}, {});
  using port::NotificationName;
  for (const auto name : {NotificationName::willPowerOff, NotificationName::willSleep, NotificationName::screensDidWake,
                          NotificationName::screenLocked, NotificationName::screenUnlocked}) {
    platform->scriptedWorkspace().post({name, std::nullopt});
  }
  command("c");
  EXPECT_THAT(inspect().records(), SizeIs(1));
  EXPECT_THAT(inspect().records()[0], testing::HasSubstr("\"id\":6,"));
}

TEST_F(Lifecycle, ReleasedWithoutStopItLeavesNothingBehind) {
  service->start("S", {}, {});
  settle();
  activate(100);
  const std::weak_ptr<ZQLoggingervice> gone = service;
  service.reset();
  EXPECT_TRUE(gone.expired());
  platform->time().advance(60s, [] {});
  platform->scriptedAccessibility().notify("AXMainWindowChanged", window, 100);
  EXPECT_THAT(delegate->chunks, IsEmpty());
}

TEST_F(Lifecycle, AServiceWithoutASharedOwnerSaysSo) {
  ZQLoggingervice alone(platform);
  EXPECT_THROW(alone.start("S", {}, {}), std::logic_error);
  EXPECT_THROW(alone.processExternalEvent(1, 0, 0, 0, ""), std::logic_error);
}

TEST_F(Lifecycle, TheTraceIsSwitchedForTheWholeProcess) {
  std::vector<std::string> lines;
  platform->scriptedLogs().listen([&](const port::ScriptedLogLine& line) {
    lines.push_back(line.subsystem + "|" + line.category + "|" + line.message);
  });
  ZQDeveloperLogger& log = ZQDeveloperLogger::log();
  log.log(ZQDeveloperLogTier::enhancedlogging, "off");
  service->setDebuLogging(true);
  service->setDebuLogging(true);
  EXPECT_THAT(DeveloperTiers::get(), ElementsAre(ZQDeveloperLogTier::enhancedlogging));
  log.log(ZQDeveloperLogTier::http, "other tier");
  log.log(ZQDeveloperLogTier::enhancedlogging, "main");
  platform->setHostIdentifier("com.example.host");
  external(5, kOnButton);
  service->modifyDebuLogging([](bool& on) { on = false; });
  log.log(ZQDeveloperLogTier::enhancedlogging, "off again");
  EXPECT_THAT(lines, ElementsAre("zqlogging|enhancedlogging|🔴 [UI][EnhancedLogging] main",
                                 "com.example.host|enhancedlogging|🔵 [BG][EnhancedLogging] "
                                 "ObjC.perform inside obtainReadableDataOfElement"));
}

TEST(DeveloperTier, ComparesAndHashesByItsRawValue) {
  using Tier = ZQDeveloperLogTier;
  EXPECT_FALSE(Tier::fromRawValue("rawSocket"));
  std::vector<Tier> tiers;
  for (const char* rawValue : {"enhancedlogging", "http", "rawsocket", "signalling", "webrtc"}) {
    tiers.push_back(Tier::fromRawValue(rawValue).value());
    EXPECT_EQ(tiers.back().rawValue(), rawValue);
  }
  for (const Tier a : tiers) {
    for (const Tier b : tiers) {
      EXPECT_EQ(a < b, a.rawValue() < b.rawValue());
      EXPECT_EQ(a == b, a.rawValue() == b.rawValue());
    }
  }
  EXPECT_TRUE(Tier::enhancedlogging < Tier::http && tiers[1] == Tier::http && Tier::webrtc != tiers[1]);
  EXPECT_EQ(std::unordered_set<Tier>(tiers.begin(), tiers.end()).size(), tiers.size());
}

TEST_F(Lifecycle, WatchingNoApplicationIsRefused) {
  EXPECT_THROW(service->startAppWatcher(nullptr), std::invalid_argument);
}

}  // namespace
}  // namespace zqlogging::test
