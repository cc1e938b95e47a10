#include <gmock/gmock.h>

#include <string>
#include <thread>
#include <vector>

#include "scripted/VirtualTime.h"

namespace zqlogging::port {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct VirtualTimeTest : ::testing::Test {
  Task note(const std::string& what) {
    return [this, what] { happened.push_back(what + "@" + std::to_string(std::llround(time.steadyTime() * 1000))); };
  }
  void advance(std::chrono::milliseconds duration) { time.advance(duration, note("settled")); }

  VirtualTime time;
  std::vector<std::string> happened;
};

TEST_F(VirtualTimeTest, RunsWhatFallsDueInTheOrderOfTheDueTimesEachAtItsTime) {
  time.runAfter(400ms, note("late"));
  time.runAfter(100ms, note("first"));
  time.runAfter(100ms, note("second"));
  time.runAfter(401ms, note("not yet"));
  advance(400ms);
  EXPECT_THAT(happened,
              ElementsAre("first@100", "settled@100", "second@100", "settled@100", "late@400", "settled@400"));
}

TEST_F(VirtualTimeTest, QueuedTasksRunOnlyWhenAskedForAndRunWhatTheyQueue) {
  time.runSoon([&] {
    happened.emplace_back("one");
    time.runSoon(note("two"));
  });
  advance(1000ms);
  EXPECT_THAT(happened, IsEmpty());
  EXPECT_TRUE(time.runQueued());
  EXPECT_FALSE(time.runQueued());
  EXPECT_THAT(happened, ElementsAre("one", "two@1000"));
}

TEST_F(VirtualTimeTest, ATimerKeepsItsRhythmAndLeavesOutTurnsThatWentByWhileSomeoneWaited) {
  const auto timer = time.startRepeatingTimer(20s, [&](const Timer&) { note("tick")(); });
  advance(50s);
  time.pass(35s);
  happened.clear();
  advance(20s);
  EXPECT_THAT(happened, ElementsAre("tick@85000", "settled@85000", "tick@100000", "settled@100000"));
}

TEST_F(VirtualTimeTest, ATimerEndsByItsHandleOrByInvalidateAlsoWhileItFires) {
  std::unique_ptr<Timer> dropped;
  std::unique_ptr<Timer> ended;
  dropped = time.startRepeatingTimer(10s, [&](const Timer&) {
    dropped.reset();
    note("dropped")();
  });
  ended = time.startRepeatingTimer(10s, [&](const Timer&) {
    ended->invalidate();
    note("ended")();
  });
  time.advance(60s, [] {});
  EXPECT_THAT(happened, ElementsAre("dropped@10000", "ended@10000"));
}

TEST_F(VirtualTimeTest, StepsOfATenthOfASecondAddUp) {
  time.setWallTime(1700000000.0);
  time.runAfter(400ms, note("due"));
  for (int i = 0; i < 4; ++i) {
    time.advance(100ms, [] {});
  }
  EXPECT_THAT(happened, ElementsAre("due@400"));
  EXPECT_EQ(time.wallTime(), 1700000000.4);
}

TEST_F(VirtualTimeTest, OneThreadIsTheMainThread) {
  EXPECT_TRUE(time.isMainThread());
  std::thread([&] {
    EXPECT_FALSE(time.isMainThread());
    time.adoptMainThread();
    EXPECT_TRUE(time.isMainThread());
  }).join();
  EXPECT_FALSE(time.isMainThread());
}

}  // namespace
}  // namespace zqlogging::port
