#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <systemd/sd-bus.h>

#include <cstdlib>
#include <filesystem>

#include "PrivateDesktop.h"
#include "geometry/Geometry.h"
#include "zqlogging/Desktop.h"

namespace zqlogging::testing {
namespace {

using port::NotificationName;
using ::testing::ElementsAre;

class WorkspaceTest : public ::testing::Test {
 protected:
  static void run(const std::string& command) { ASSERT_EQ(std::system(command.c_str()), 0) << command; }
  static std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
  }
  bool hasWindow(const Program& program) {
    return eventually([&] {
      const auto active = desktop.windows().activeWindow();
      return active && active->pid == program.pid();
    });
  }
  std::string identifierOf(const Program& program) {
    const auto application = workspace.runningApplication(program.pid());
    return application ? application->bundleIdentifier.value_or("none") : "not running";
  }

  LinuxPlatform platform;
  AtspiServices& desktop = static_cast<LinuxAccessibility&>(platform.accessibility()).services();
  port::Workspace& workspace = platform.workspace();
};

TEST_F(WorkspaceTest, AFlippedPointComesBackHoweverScreensStandSideBySide) {
  struct Monitor {
    int left, top, width, height;
  };
  const std::vector<Monitor> arrangements[] = {
      {{0, 0, 1280, 1024}},
      {{0, 0, 640, 1024}, {640, 0, 640, 1024}},
      {{0, 0, 640, 480}, {640, 200, 640, 824}},   // the right one lower and higher
      {{0, 300, 500, 700}, {500, 0, 780, 1024}},  // the left one begins below the right one
      {{0, 10, 400, 200}, {400, 500, 400, 300}, {800, 0, 480, 1024}},
  };
  for (const auto& monitors : arrangements) {
    SCOPED_TRACE(monitors.size());
    for (std::size_t i = 0; i < monitors.size(); ++i) {
      const auto& [left, top, width, height] = monitors[i];
      run("xrandr --setmonitor test" + std::to_string(i) + " " + std::to_string(width) + "/300x" +
          std::to_string(height) + "/200+" + std::to_string(left) + "+" + std::to_string(top) +
          (i == 0 ? " screen" : " none"));
    }
    EXPECT_EQ(workspace.screens()->size(), monitors.size());
    for (const auto& [left, top, width, height] : monitors) {
      for (const double x : {left, left + width / 2, left + width - 1}) {
        for (const double y : {top, top + height / 2, top + height - 1}) {
          const CGPoint point{x, y};
          EXPECT_EQ(carbonScreenPoint(pointFromTopLeft(platform, point), workspace), point) << x << ", " << y;
        }
      }
      EXPECT_EQ(pointFromTopLeft(platform, {double(left), top - 1.0}), CGPoint()) << "above it is no screen";
    }
    for (std::size_t i = 0; i < monitors.size(); ++i) {
      run("xrandr --delmonitor test" + std::to_string(i));
    }
  }
}

TEST_F(WorkspaceTest, AnApplicationIsNamedByTheBestThatIsKnownOfIt) {
  const std::string mark = "xdotool search --sync --onlyvisible --pid ";
  {
    const Program plain({GTK_APP});
    EXPECT_EQ(identifierOf(plain), "gtk_app") << "before it has a window, by its program";
    ASSERT_TRUE(hasWindow(plain));
    EXPECT_EQ(identifierOf(plain), "Gtk_app") << "by the class of its window";
  }
  {
    const Program gtk({GTK_APP});
    ASSERT_TRUE(hasWindow(gtk));
    run("xprop -id $(" + mark + std::to_string(gtk.pid()) +
        " | tail -1) -f _GTK_APPLICATION_ID 8u -set _GTK_APPLICATION_ID org.example.App");
    EXPECT_EQ(identifierOf(gtk), "org.example.App");
    run("xprop -id $(" + mark + std::to_string(gtk.pid()) + " | tail -1) -remove _GTK_APPLICATION_ID");
    EXPECT_EQ(identifierOf(gtk), "org.example.App") << "for as long as it runs";
  }
  const Program launched({"sh", "-c",
                          "export GIO_LAUNCHED_DESKTOP_FILE=/usr/share/applications/org.example.Entry.desktop; "
                          "export GIO_LAUNCHED_DESKTOP_FILE_PID=$$; exec " GTK_APP});
  ASSERT_TRUE(hasWindow(launched));
  EXPECT_EQ(identifierOf(launched), "org.example.Entry");
}

TEST_F(WorkspaceTest, ApplicationsThatRunAreListedOnceAndThoseThatEndedAreNot) {
  const auto timesListed = [this](pid_t pid) {
    int times = 0;
    for (const auto& each : workspace.runningApplications()) {
      times += each.pid == pid ? 1 : 0;
    }
    return times;
  };
  pid_t ended = 0;
  {
    const Program program({GTK_APP});
    ended = program.pid();
    ASSERT_TRUE(hasWindow(program));
    EXPECT_EQ(timesListed(ended), 1);
    program.send("dialog");
    EXPECT_TRUE(eventually([&] { return desktop.windows().activeWindow()->title == "Question"; }));
    EXPECT_EQ(timesListed(ended), 1);
  }
  EXPECT_TRUE(eventually([&] { return timesListed(ended) == 0; }));
  EXPECT_FALSE(workspace.runningApplication(ended));
  EXPECT_FALSE(workspace.runningApplication(-1));
}

TEST_F(WorkspaceTest, EachSwitchOfApplicationsIsToldOnceForAsLongAsSomebodyListens) {
  std::vector<std::int32_t> told;
  const auto listen = [&] {
    return workspace.subscribe(NotificationName::didActivateApplication,
                               [&](const port::Notification& each) { told.push_back(each.application->pid); });
  };
  auto subscription = listen();
  const Program first({GTK_APP, "--title", "First"});
  ASSERT_TRUE(hasWindow(first));
  const Program second({GTK_APP, "--title", "Second", "--at", "600,60"});
  ASSERT_TRUE(hasWindow(second));
  second.send("dialog");  // another window of the same application
  EXPECT_TRUE(eventually([&] { return desktop.windows().activeWindow()->title == "Question"; }));
  run("xdotool search --name '^First$' windowactivate --sync");
  EXPECT_TRUE(eventually([&] { return told.size() >= 3; }));
  EXPECT_THAT(told, ElementsAre(first.pid(), second.pid(), first.pid()));

  subscription.reset();
  told.clear();
  run("xdotool search --name '^Question$' windowactivate --sync");
  subscription = listen();
  // What was active before the listening has begun, a moment from now, has not become it.
  EXPECT_TRUE(eventually([&] {
    run("xdotool search --name '^Question$' windowactivate --sync");
    run("xdotool search --name '^First$' windowactivate --sync");
    return std::count(told.begin(), told.end(), first.pid()) > 0;
  }));
}

TEST_F(WorkspaceTest, SubscriptionsLeaveNothingBehind) {
  workspace.screens();
  const auto before = openDescriptors();
  for (int i = 0; i < 100; ++i) {
    const auto activation = workspace.subscribe(NotificationName::didActivateApplication, [](const auto&) {});
    const auto sleep = workspace.subscribe(NotificationName::willSleep, [](const auto&) {});
    GlibMainLoop::pump(std::chrono::milliseconds(0));
  }
  EXPECT_TRUE(eventually([&] { return openDescriptors() == before; })) << openDescriptors() << " were " << before;
}

TEST_F(WorkspaceTest, LookingAtTheWindowsKeepsNothing) {
  const Program program({GTK_APP});
  ASSERT_TRUE(hasWindow(program));
  const auto look = [&](int times) {
    for (int i = 0; i < times; ++i) {
      EXPECT_FALSE(desktop.windows().windows()->empty());
      EXPECT_TRUE(desktop.windows().windowAt(100, 66));
      EXPECT_FALSE(workspace.runningApplications().empty());
    }
    return mallinfo2().uordblks;
  };
  look(10);
  const std::size_t before = look(1);
  constexpr std::size_t kLittle = 20'000;  // bytes
  EXPECT_LT(look(300), before + kLittle);
}

/// A connection to the session bus that stands for the login manager or a screen saver.
class Sender {
 public:
  explicit Sender(const std::vector<const char*>& names) {
    sd_bus_open_user(&bus_);
    for (const char* name : names) {
      EXPECT_GE(sd_bus_request_name(bus_, name, 0), 0) << name;
    }
  }
  Sender(const Sender&) = delete;
  Sender& operator=(const Sender&) = delete;
  ~Sender() { sd_bus_flush_close_unref(bus_); }

  void emit(const std::string& path, const char* interface, const char* member, std::optional<bool> flag) {
    sd_bus_message* signal = nullptr;
    sd_bus_message_new_signal(bus_, &signal, path.c_str(), interface, member);
    if (flag) {
      sd_bus_message_append(signal, "b", *flag ? 1 : 0);
    }
    sd_bus_send(bus_, signal, nullptr);
    sd_bus_message_unref(signal);
    sd_bus_flush(bus_);
  }

 private:
  sd_bus* bus_ = nullptr;
};

TEST_F(WorkspaceTest, SleepPowerOffAndLockingAreToldOnceWhoeverTellsThem) {
  setenv("DBUS_SYSTEM_BUS_ADDRESS", std::getenv("DBUS_SESSION_BUS_ADDRESS"), 1);
  setenv("XDG_SESSION_ID", "c1", 1);
  std::string told;
  std::vector<std::unique_ptr<port::Subscription>> subscriptions;
  const std::pair<NotificationName, char> names[] = {{NotificationName::willPowerOff, 'P'},
                                                     {NotificationName::willSleep, 'S'},
                                                     {NotificationName::screensDidWake, 'W'},
                                                     {NotificationName::screenLocked, 'L'},
                                                     {NotificationName::screenUnlocked, 'U'}};
  for (const auto& [name, letter] : names) {
    subscriptions.push_back(workspace.subscribe(name, [&told, l = letter](const auto&) { told += l; }));
  }

  const char* const login = "org.freedesktop.login1";
  const char* const manager = "org.freedesktop.login1.Manager";
  const char* const session = "org.freedesktop.login1.Session";
  const char* const saver = "org.freedesktop.ScreenSaver";
  const char* const gnomeSaver = "org.gnome.ScreenSaver";
  const std::string root = "/org/freedesktop/login1";
  Sender real({login, saver, gnomeSaver});
  Sender stranger({});
  // The recorder's side connects while its main loop runs: until then it hears nothing.
  ASSERT_TRUE(eventually([&] {
    real.emit(root, manager, "PrepareForSleep", true);
    return !told.empty();
  }));
  ASSERT_TRUE(eventually([&] {
    real.emit("/saver", saver, "ActiveChanged", false);
    return told.back() == 'U';
  }));
  told.clear();

  // The two buses may overtake each other: what tells nothing is followed by something of the same bus that does.
  struct Step {
    Sender& sender;
    std::string path;
    const char* interface;
    const char* member;
    std::optional<bool> flag;
    const char* tells;
  };
  const Step steps[] = {
      {real, root, manager, "PrepareForSleep", true, "S"},
      {real, root, manager, "PrepareForSleep", false, "W"},
      {real, root + "/session/c1", session, "Lock", {}, "L"},
      {real, "/org/gnome/ScreenSaver", gnomeSaver, "ActiveChanged", true, ""},
      {real, "/org/gnome/ScreenSaver", gnomeSaver, "ActiveChanged", false, "U"},
      {real, root + "/session/c1", session, "Unlock", {}, ""},
      {real, root + "/session/c2", session, "Lock", {}, ""},
      {stranger, root, manager, "PrepareForSleep", true, ""},
      {real, root, manager, "PrepareForShutdown", false, ""},
      {real, root, manager, "PrepareForShutdown", true, "P"},
      {stranger, "/saver", saver, "ActiveChanged", true, ""},
      {real, "/saver", saver, "ActiveChanged", false, ""},
      {real, "/saver", saver, "ActiveChanged", true, "L"},
  };
  std::string expected;
  for (const Step& step : steps) {
    step.sender.emit(step.path, step.interface, step.member, step.flag);
    expected += step.tells;
    EXPECT_TRUE(eventually([&] { return told.size() >= expected.size(); }));
  }
  EXPECT_EQ(told, expected);
}

}  // namespace
}  // namespace zqlogging::testing
