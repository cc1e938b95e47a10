#include <glib.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>

#include "linux/loop/GlibMainLoop.h"

namespace zqlogging {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;

class MainLoopTest : public ::testing::Test {
 protected:
  /// Runs the loop until a task asks for the end.
  void runUntilEnd() {
    while (!ended) {
      GlibMainLoop::pump(hours(1));
    }
  }
  port::Task note(char letter) {
    return [this, letter] { order += letter; };
  }

  GlibMainLoop loop;
  std::string order;
  bool ended = false;
  port::Task end = [this] { ended = true; };
};

TEST_F(MainLoopTest, TasksRunInOrderAndThoseOfATaskAfterThoseThatWait) {
  loop.runSoon([this] {
    order += 'a';
    loop.runSoon(note('c'));
    loop.runSoon(end);
  });
  loop.runSoon(note('b'));
  EXPECT_EQ(order, "");
  runUntilEnd();
  EXPECT_EQ(order, "abc");
}

TEST_F(MainLoopTest, AHostThatIsBusyDrawingDoesNotHoldTasksUp) {
  int frames = 0;
  const guint drawing = g_idle_add_full(
      G_PRIORITY_HIGH_IDLE,  // that of toolkits' layout and redrawing, always ready here
      [](gpointer count) -> gboolean { return ++*static_cast<int*>(count), G_SOURCE_CONTINUE; }, &frames, nullptr);
  loop.runSoon(end);
  while (!ended && frames < 100) {
    GlibMainLoop::pump(hours(1));
  }
  g_source_remove(drawing);
  EXPECT_TRUE(ended);
}

TEST_F(MainLoopTest, DelayedTasksRunByTheirTimeAndNotByTheirOrder) {
  loop.runAfter(milliseconds(60), end);
  loop.runAfter(milliseconds(30), note('b'));
  loop.runAfter(milliseconds(1), note('a'));
  loop.runAfter(hours(24 * 365), note('x'));
  runUntilEnd();
  EXPECT_EQ(order, "ab");
}

TEST_F(MainLoopTest, WhatATaskThrowsGoesNoFurther) {
  int fired = 0;
  const auto timer = loop.startRepeatingTimer(milliseconds(1), [&](const port::Timer&) {
    if (++fired == 2) {
      ended = true;
    }
    throw std::runtime_error("thrown by a timer");
  });
  loop.runSoon([] { throw std::runtime_error("thrown by a task"); });
  loop.runSoon([] { throw 1; });
  loop.runSoon(note('a'));
  EXPECT_NO_THROW(runUntilEnd());
  EXPECT_EQ(order, "a");
}

TEST_F(MainLoopTest, AThrowingTaskIsNotRunAgain) {
  loop.runSoon([this] {
    order += 'a';
    throw 1;
  });
  loop.runAfter(milliseconds(10), end);
  runUntilEnd();
  EXPECT_EQ(order, "a");
}

TEST_F(MainLoopTest, AnInvalidatedTimerNeverFiresAgain) {
  using Invalidate = void (*)(std::unique_ptr<port::Timer>&);
  const std::pair<const char*, Invalidate> ways[] = {
      {"invalidated", [](auto& timer) { timer->invalidate(); }},
      {"destroyed", [](auto& timer) { timer.reset(); }},
      {"invalidated on another thread", [](auto& timer) { std::thread([&] { timer->invalidate(); }).join(); }},
      {"destroyed on another thread", [](auto& timer) { std::thread([&] { timer.reset(); }).join(); }},
  };
  for (const auto& [how, invalidate] : ways) {
    for (const bool insideItself : {true, false}) {
      SCOPED_TRACE(std::string(how) + (insideItself ? " inside its own call" : " outside"));
      ended = false;
      int fired = 0;
      int firedBefore = 1;
      std::unique_ptr<port::Timer> timer;
      timer = loop.startRepeatingTimer(milliseconds(1), [&, chosen = invalidate](const port::Timer&) {
        ++fired;
        if (insideItself) {
          chosen(timer);
        }
        loop.runAfter(milliseconds(20), end);
      });
      if (!insideItself) {
        loop.runSoon([&, chosen = invalidate] {
          firedBefore = fired;
          chosen(timer);
        });
        loop.runAfter(milliseconds(20), end);
      }
      runUntilEnd();
      EXPECT_EQ(fired, firedBefore);
    }
  }
}

TEST_F(MainLoopTest, WhatATimerHoldsIsLetGoWithIt) {
  auto held = std::make_shared<int>(1);
  auto timer = loop.startRepeatingTimer(hours(1), [held](const port::Timer&) {});
  EXPECT_EQ(held.use_count(), 2);
  timer->invalidate();
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(MainLoopTest, AWaitEndsWithTheFirstTaskOfAnotherThread) {
  std::thread other;
  loop.runSoon([&] { other = std::thread([this] { loop.runSoon(note('b')); }); });
  GlibMainLoop::pump(hours(1));
  GlibMainLoop::pump(hours(1));
  other.join();
  EXPECT_EQ(order, "b");
}

TEST_F(MainLoopTest, AWaitEndsWhenItIsWokenAndAWakeIsNotLost) {
  std::thread other([] { GlibMainLoop::wake(); });
  GlibMainLoop::pump(hours(1));
  other.join();
  GlibMainLoop::wake();
  loop.runSoon(note('a'));
  GlibMainLoop::pump(hours(1));
  EXPECT_EQ(order, "a") << "what is due runs even so";
}

TEST_F(MainLoopTest, WithoutWaitingOnlyWhatIsDueRuns) {
  loop.runAfter(hours(1), note('b'));
  GlibMainLoop::pump(milliseconds(0));
  loop.runSoon(note('a'));
  GlibMainLoop::pump(milliseconds(0));
  EXPECT_EQ(order, "a");
}

TEST_F(MainLoopTest, TheMainThreadIsTheOneThatRunsTheLoop) {
  bool other = true;
  std::thread([&] { other = loop.isMainThread(); }).join();
  EXPECT_TRUE(loop.isMainThread()) << "no thread has run it: the process's first one";
  EXPECT_FALSE(other);
  std::thread([&] {
    GlibMainLoop::pump(milliseconds(1));
    loop.runSoon([&] { other = loop.isMainThread(); });
    GlibMainLoop::pump(hours(1));
    EXPECT_TRUE(loop.isMainThread());
  }).join();
  EXPECT_TRUE(other);
  EXPECT_FALSE(loop.isMainThread());
}

}  // namespace
}  // namespace zqlogging
