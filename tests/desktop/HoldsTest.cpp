#include <gmock/gmock.h>

#include <algorithm>
#include <vector>

#include "Holds.h"

namespace zqlogging::testing {
namespace {

/// Far above the noise of a busy machine, far below what waiting for any of these would take.
constexpr milliseconds kBound{250};
constexpr CGPoint kInTitleBar{100, 66};

class HoldsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(eventually([this] { return session.service->checkAccessibilityPermission(false); }));
    ASSERT_TRUE(eventually([&] {
      const auto found = everything->copyElementAtPosition(kInTitleBar.x, kInTitleBar.y);
      return found && found.value->getPid().value == program.pid();
    }));
  }
  template <class MakeSickness>
  milliseconds longestHold(const MakeSickness& fallSick) {
    return session.longestHold(milliseconds(1500), [&]() -> std::shared_ptr<void> { return fallSick(); });
  }
  static auto stop(pid_t pid) {
    EXPECT_GT(pid, 1);
    return std::make_shared<Stopped>(pid);
  }

  const Program program{{GTK_APP}};
  SickDesktop session;
  const port::ElementRef everything = systemDesktop()->accessibility().createSystemWideElement();
};

TEST_F(HoldsTest, AStoppedXServer) {
  EXPECT_LT(longestHold([] { return stop(xServerPid()); }), kBound);
  EXPECT_EQ(session.host->clicks, 0) << session.host->last;
  EXPECT_GT(session.service->droppedEvents().size(), 0U);
}

TEST_F(HoldsTest, AStoppedApplication) {
  EXPECT_LT(longestHold([this] { return stop(program.pid()); }), kBound);
  EXPECT_EQ(session.host->clicks, 8) << "as the X server knows its window";
  EXPECT_THAT(session.host->text, ::testing::HasSubstr(R"("processName":"Gtk_app")"));
  EXPECT_THAT(session.host->text, ::testing::HasSubstr(R"("windowName":"Sample")"));
}

TEST_F(HoldsTest, AStoppedAccessibilityBus) {
  const pid_t bus = ownerOf(Bus::accessibility, "org.freedesktop.DBus");
  EXPECT_LT(longestHold([&] { return stop(bus); }), kBound);
}

TEST_F(HoldsTest, AStoppedRegistry) {
  const pid_t registry = ownerOf(Bus::accessibility, "org.a11y.atspi.Registry");
  EXPECT_LT(longestHold([&] { return stop(registry); }), kBound);
}

TEST_F(HoldsTest, AStoppedBusLauncher) {
  const pid_t launcher = ownerOf(Bus::session, "org.a11y.Bus");
  EXPECT_LT(longestHold([&] { return stop(launcher); }), kBound);
}

TEST_F(HoldsTest, AStoppedSessionBus) {
  const pid_t bus = ownerOf(Bus::session, "org.freedesktop.DBus");
  EXPECT_LT(longestHold([&] { return stop(bus); }), kBound);
}

TEST_F(HoldsTest, AStormOfFocusChanges) {
  EXPECT_LT(longestHold([this] {
              program.send("storm 5000 1500");
              return nullptr;
            }),
            kBound);
}

TEST_F(HoldsTest, FollowingGoesOnWhenTheXServerHasBeenLate) {
  std::vector<std::int32_t> told;
  const auto subscription = systemDesktop()->workspace().subscribe(
      port::NotificationName::didActivateApplication,
      [&](const port::Notification& each) { told.push_back(each.application->pid); });
  const Program first{{GTK_APP, "--title", "First", "--at", "600,60"}};
  ASSERT_TRUE(eventually([&] { return std::count(told.begin(), told.end(), first.pid()) > 0; }));
  {
    const auto stopped = stop(xServerPid());
    const Program late{{GTK_APP, "--title", "Late"}};
    Heartbeat().runFor(milliseconds(800));
  }
  const Program second{{GTK_APP, "--title", "Second", "--at", "600,400"}};
  EXPECT_TRUE(eventually([&] { return std::count(told.begin(), told.end(), second.pid()) > 0; }));
}

TEST_F(HoldsTest, UnderWaylandOnlyWhatThePointerIsOverIsAnXWindow) {
  Input input;
  const auto codeAt = [&](CGPoint point) {
    return everything->copyElementAtPosition(float(point.x), float(point.y)).code;
  };
  setenv("WAYLAND_DISPLAY", "wayland-0", 1);
  input.moveTo(kInTitleBar);
  EXPECT_EQ(codeAt(kInTitleBar), port::ResultCode::success);
  EXPECT_EQ(codeAt({140, 66}), port::ResultCode::cannotComplete) << "the pointer is elsewhere";
  input.moveTo({1270, 1010});
  EXPECT_EQ(codeAt({1270, 1010}), port::ResultCode::cannotComplete) << "no X window, but maybe another";
  unsetenv("WAYLAND_DISPLAY");
  EXPECT_EQ(codeAt({1270, 1010}), port::ResultCode::noValue);
}

}  // namespace
}  // namespace zqlogging::testing
