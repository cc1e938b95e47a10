#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

#include "linux/session/ApplicationIdentity.h"

namespace zqlogging {
namespace {

/// A process that waits to be killed, with an environment of its own in which "PID" stands for its process id.
class Child {
 public:
  explicit Child(const std::string& settings) {
    int ready[2];
    EXPECT_EQ(pipe(ready), 0);
    EXPECT_EQ(pipe(input_), 0);
    pid_ = fork();
    if (pid_ == 0) {
      dup2(input_[0], STDIN_FILENO);
      dup2(ready[1], STDOUT_FILENO);
      const std::string script = "PID=$$; " + settings + " exec sh -c 'echo ready; read never'";
      execl("/bin/sh", "sh", "-c", script.c_str(), nullptr);
      _exit(127);
    }
    close(ready[1]);
    char line[8];
    EXPECT_GT(read(ready[0], line, sizeof line), 0);
    close(ready[0]);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    close(input_[0]);
    close(input_[1]);
  }
  [[nodiscard]] pid_t pid() const { return pid_; }

 private:
  pid_t pid_;
  int input_[2];
};

TEST(ApplicationIdentityTest, ADesktopEntryIsNamedByItsPlaceBelowTheApplicationsFolder) {
  const std::pair<const char*, const char*> entries[] = {
      {"/usr/share/applications/org.gnome.gedit.desktop", "org.gnome.gedit"},
      {"/usr/share/applications/kde4/kate.desktop", "kde4-kate"},
      {"/home/applications/me/.local/share/applications/a.b.desktop", "a.b"},
      {"/somewhere/else/tool.desktop", "tool"},
      {"tool", "tool"},
  };
  for (const auto& [path, identifier] : entries) {
    EXPECT_EQ(desktopEntryIdentifier(path), identifier) << path;
  }
}

TEST(ApplicationIdentityTest, TheEntryOfTheLauncherCountsForTheProcessThatItLaunched) {
  const std::string entry = "export GIO_LAUNCHED_DESKTOP_FILE=/usr/share/applications/org.example.App.desktop; ";
  const std::pair<std::string, std::optional<std::string>> environments[] = {
      {entry + "export GIO_LAUNCHED_DESKTOP_FILE_PID=$PID;", "org.example.App"},
      {entry + "export GIO_LAUNCHED_DESKTOP_FILE_PID=1;", std::nullopt},  // inherited from the process launched
      {entry, std::nullopt},
      {"export GIO_LAUNCHED_DESKTOP_FILE=; export GIO_LAUNCHED_DESKTOP_FILE_PID=$PID;", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& [settings, expected] : environments) {
    const Child child(settings);
    EXPECT_EQ(launchedDesktopEntry(child.pid()), expected) << settings;
  }
}

TEST(ApplicationIdentityTest, AProcessHasAStartTimeUntilItEnds) {
  const pid_t pid = fork();
  if (pid == 0) {
    pause();
    _exit(0);
  }
  const auto started = startTime(pid);
  EXPECT_TRUE(started);
  EXPECT_EQ(startTime(pid), started);
  kill(pid, SIGKILL);
  siginfo_t information;
  waitid(P_PID, static_cast<id_t>(pid), &information, WEXITED | WNOWAIT);
  EXPECT_EQ(startTime(pid), std::nullopt) << "ended, though not collected";
  waitpid(pid, nullptr, 0);
  EXPECT_EQ(startTime(pid), std::nullopt);
  EXPECT_EQ(executableName(pid), std::nullopt);
  EXPECT_EQ(launchedDesktopEntry(pid), std::nullopt);
}

}  // namespace
}  // namespace zqlogging
