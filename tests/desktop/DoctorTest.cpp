#include <gmock/gmock.h>
#include <systemd/sd-bus.h>

#include <algorithm>

#include "Recorded.h"
#include "zqlogging/Diagnosis.h"

namespace zqlogging::testing {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

/// Runs in a session whose programs are not told that somebody listens.
class DoctorTest : public Recorded {
 protected:
  static bool isListenerAnnounced() {
    sd_bus* session = nullptr;
    int value = -1;
    sd_bus_open_user(&session);
    EXPECT_GE(sd_bus_get_property_trivial(session, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Status", "IsEnabled",
                                          nullptr, 'b', &value),
              0);
    sd_bus_close_unref(session);
    return value == 1;
  }
  static void switchOff() {
    ASSERT_EQ(std::system("gdbus call --session -d org.a11y.Bus -o /org/a11y/bus -m org.freedesktop.DBus.Properties.Set"
                          " org.a11y.Status IsEnabled '<false>' >/dev/null"),
              0);
  }
  void waitForWindow(const Program& program) {
    ASSERT_TRUE(eventually([&] {
      const auto windows = static_cast<LinuxAccessibility&>(desktop.accessibility()).services().windows().windows();
      return std::any_of(windows.value.begin(), windows.value.end(),
                         [&](const auto& window) { return window.pid == program.pid() && !window.title.empty(); });
    }));
  }
  static std::string about(const std::vector<Finding>& findings, const Program& program) {
    for (const Finding& finding : findings) {
      if (finding.subject.find("process " + std::to_string(program.pid())) != std::string::npos) {
        return finding.code + ": " + finding.subject.substr(0, finding.subject.find(',')) + ")";
      }
    }
    return "nothing";
  }
  std::string about(const Program& program) { return about(diagnose(desktop), program); }
  static std::vector<std::string> browser() {
    std::vector<std::string> command = browserCommand();
    std::erase(command, "--force-renderer-accessibility");
    return command;
  }
  [[nodiscard]] bool hasMarker() const {
    return std::filesystem::exists(home.path() / "zqlogging" / "accessibility-announced");
  }
};

TEST_F(DoctorTest, ProgramsThatTellTooLittleAreNamed) {
  const Program gtk({GTK_APP});
  const Program qt({QT_APP, "--at", "600,60"});
  const Program chromium(browser());
  waitForWindow(gtk);
  waitForWindow(qt);
  waitForWindow(chromium);
  const auto findings = diagnose(desktop);
  const auto announced = std::find_if(findings.begin(), findings.end(),
                                      [](const auto& finding) { return finding.code == "listener-not-announced"; });
  ASSERT_NE(announced, findings.end());
  EXPECT_TRUE(announced->repairable);
  EXPECT_EQ(about(findings, gtk), "nothing");
  EXPECT_EQ(about(findings, qt), "application-missing: qt_app (Qt 5)");
  EXPECT_EQ(about(findings, chromium), "application-missing: Chromium (Chromium)");
  EXPECT_FALSE(isListenerAnnounced()) << "a look changes nothing";

  Reader doctor({ZQLOG, "doctor", "--json"});
  std::vector<std::string> codes;
  for (std::string line = doctor.line(); !line.empty(); line = doctor.line()) {
    rapidjson::Document finding;
    finding.Parse(line.c_str());
    ASSERT_TRUE(finding.IsObject()) << line;
    codes.push_back(textAt(finding, "/code"));
  }
  EXPECT_EQ(doctor.wait(), 3);
  EXPECT_THAT(codes, Contains("listener-not-announced"));
  EXPECT_THAT(codes, Contains("application-missing").Times(2));
}

TEST_F(DoctorTest, WhatDoesNotAnswerHoldsItUpForALittle) {
  const Program first({GTK_APP});
  const Program second({GTK_APP, "--title", "Second"});
  waitForWindow(first);
  waitForWindow(second);
  ASSERT_TRUE(eventually([&] { return about(first) == "nothing" && about(second) == "nothing"; }));
  const auto expectQuick = [&](const char* code) {
    constexpr std::chrono::seconds kBound(10);
    const auto begin = std::chrono::steady_clock::now();
    std::vector<std::string> codes;
    for (const Finding& finding : diagnose(desktop)) {
      codes.push_back(finding.code);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kBound) << code;
    EXPECT_THAT(codes, Contains(code));
  };
  first.signal(SIGSTOP);
  second.signal(SIGSTOP);
  EXPECT_EQ(about(first), "application-silent: Gtk_app (GTK 3)");
  expectQuick("application-silent");
  first.signal(SIGCONT);
  second.signal(SIGCONT);
  EXPECT_TRUE(eventually([&] { return about(first) == "nothing"; }));

  const pid_t parts[] = {ownerOf(Bus::accessibility, "org.a11y.atspi.Registry"),
                         ownerOf(Bus::accessibility, "org.freedesktop.DBus"), ownerOf(Bus::session, "org.a11y.Bus")};
  const char* const codes[] = {"registry-silent", "accessibility-bus-silent", "accessibility-bus-silent"};
  for (std::size_t i = 0; i < std::size(parts); ++i) {
    ASSERT_GT(parts[i], 1);
    kill(parts[i], SIGSTOP);
    expectQuick(codes[i]);
    kill(parts[i], SIGCONT);
  }
}

TEST_F(DoctorTest, ARecorderTellsProgramsThatItListensAndTakesThatBack) {
  const Program before({QT_APP});
  waitForWindow(before);
  {
    const auto silent = record({"--no-enable-accessibility"});
    EXPECT_FALSE(isListenerAnnounced());
    silent->interrupt();
    EXPECT_EQ(silent->wait(), 0);
  }
  const auto recorder = record();
  ASSERT_TRUE(eventually([] { return isListenerAnnounced(); }));
  const std::string complaint = "qt_app (process " + std::to_string(before.pid()) + ") must be started again";
  EXPECT_TRUE(eventually([&] { return contentOf(traceFile()).find(complaint) != std::string::npos; }));
  openSample();  // is still told what it needs
  EXPECT_EQ(about(before), "application-missing: qt_app (Qt 5)") << "it was told too late";
  const auto second = record();
  recorder->interrupt();
  EXPECT_EQ(recorder->wait(), 0);
  EXPECT_TRUE(isListenerAnnounced()) << "the other one still listens";
  second->interrupt();
  EXPECT_EQ(second->wait(), 0);
  EXPECT_TRUE(eventually([] { return !isListenerAnnounced(); }));
  EXPECT_FALSE(hasMarker());
}

TEST_F(DoctorTest, WhatACrashHasLeftIsTakenBackAtTheNextStart) {
  {
    const auto recorder = record();
    ASSERT_TRUE(eventually([] { return isListenerAnnounced(); }));
    kill(recorder->pid(), SIGKILL);
    recorder->wait();
  }
  EXPECT_TRUE(isListenerAnnounced());
  EXPECT_TRUE(hasMarker());
  const auto next = record({"--no-enable-accessibility"});
  EXPECT_TRUE(eventually([] { return !isListenerAnnounced(); }));
  EXPECT_TRUE(eventually([&] { return !hasMarker(); }));
}

TEST_F(DoctorTest, AScreenReaderThatHasComeMeanwhileKeepsWhatItNeeds) {
  const auto recorder = record();
  ASSERT_TRUE(eventually([] { return isListenerAnnounced(); }));
  const auto screenReader = [](const char* state) {
    const std::string call =
        "gdbus call --session -d org.a11y.Bus -o /org/a11y/bus -m org.freedesktop.DBus.Properties.Set org.a11y.Status "
        "ScreenReaderEnabled '<" +
        std::string(state) + ">' >/dev/null";
    EXPECT_EQ(std::system(call.c_str()), 0);
  };
  screenReader("true");
  recorder->interrupt();
  EXPECT_EQ(recorder->wait(), 0);
  EXPECT_FALSE(hasMarker());
  EXPECT_TRUE(isListenerAnnounced());
  screenReader("false");
  switchOff();
}

TEST_F(DoctorTest, AnApplicationThatComesToTheBusLaterIsFollowedFromThenOn) {
  const auto recorder = record();
  const Program late({"env", "NO_AT_BRIDGE=1", GTK_APP});
  waitForWindow(late);
  EXPECT_TRUE(eventually([&] { return countOf(recordFile(), R"("elementControlType":"Application")") == 1; }));
  EXPECT_EQ(about(late), "application-missing: Gtk_app (GTK 3)");
  late.send("join");
  ASSERT_TRUE(eventually([&] { return about(late) == "nothing"; }));
  app = desktop.accessibility().createApplicationElement(late.pid());
  port::ElementRef field;
  ASSERT_TRUE(eventually([&] {
    field = find(app, "AXTextField", "Vienna");
    return frameOf(field).origin.x > 0;
  }));
  focusByClick(*recorder, field);
  constexpr std::uint32_t kEyA = 'a';
  input.pressKey(kEyA);
  EXPECT_TRUE(eventually([&] { return countOf(recordFile(), R"("character":"a")") == 1; })) << recordFile();
  EXPECT_THAT(recordFile().substr(recordFile().rfind('{')), HasSubstr("TextField:"));
}

TEST_F(DoctorTest, WhatTheDoctorFixesStays) {
  switchOff();
  const auto run = [](std::vector<std::string> command) {
    Reader doctor(command);
    while (!doctor.line().empty()) {
    }
    EXPECT_EQ(doctor.wait(), 0) << doctor.all();
    return doctor.all();
  };
  EXPECT_THAT(run({ZQLOG, "doctor", "--fix"}), HasSubstr("done  listener-not-announced"));
  EXPECT_TRUE(isListenerAnnounced());
  EXPECT_THAT(run({ZQLOG, "doctor"}), Not(HasSubstr("poor")));
  const auto recorder = record();
  recorder->interrupt();
  EXPECT_EQ(recorder->wait(), 0);
  EXPECT_TRUE(isListenerAnnounced());
  switchOff();
}

}  // namespace
}  // namespace zqlogging::testing
