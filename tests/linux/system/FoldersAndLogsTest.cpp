#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <string>

#include "linux/LinuxPlatform.h"
#include "linux/system/LinuxLogs.h"
#include "linux/system/XdgFolders.h"
#include "support/TemporaryHome.h"

namespace zqlogging {
namespace {

namespace fs = std::filesystem;

TEST(FoldersTest, TheCachesFolderIsMadeForTheUserAlone) {
  const testing::TemporaryHome home("XDG_CACHE_HOME");
  const mode_t before = umask(0);
  const fs::path nested = home.path() / "not" / "there";
  setenv("XDG_CACHE_HOME", nested.c_str(), 1);
  const fs::path folder = LinuxPlatform().cachesFolder();
  umask(before);
  EXPECT_EQ(folder, nested / "zqlogging");
  EXPECT_EQ(testing::permissionsOf(folder), "700");
  EXPECT_EQ(testing::permissionsOf(nested), "700");
}

TEST(FoldersTest, OnlyAbsoluteFoldersOfTheEnvironmentCount) {
  const testing::TemporaryHome home("HOME");
  for (const char* const ignored : {"relative/folder", ""}) {
    setenv("XDG_CACHE_HOME", ignored, 1);
    setenv("XDG_CONFIG_HOME", ignored, 1);
    EXPECT_TRUE(fs::path(userCacheFolder()).is_absolute()) << ignored;
    EXPECT_TRUE(userCacheFolder().ends_with("/.cache")) << userCacheFolder();
    EXPECT_TRUE(userConfigFolder().ends_with("/.config")) << userConfigFolder();
  }
  unsetenv("XDG_CACHE_HOME");
  unsetenv("XDG_CONFIG_HOME");
}

/// Standard output as a pipe, for the time of a test.
class OutputPipe {
 public:
  OutputPipe() : before_(dup(STDOUT_FILENO)) {
    EXPECT_EQ(pipe(ends_.data()), 0);
    dup2(ends_[1], STDOUT_FILENO);
    close(ends_[1]);
  }
  OutputPipe(const OutputPipe&) = delete;
  OutputPipe& operator=(const OutputPipe&) = delete;
  ~OutputPipe() {
    dup2(before_, STDOUT_FILENO);
    close(before_);
    closeReader();
  }
  void closeReader() { close(std::exchange(ends_[0], -1)); }
  std::string take() {
    std::string text(1 << 20, '\0');
    fcntl(ends_[0], F_SETFL, O_NONBLOCK);
    const ssize_t count = read(ends_[0], text.data(), text.size());
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return text;
  }

 private:
  int before_;
  std::array<int, 2> ends_{};
};

TEST(LogsTest, ALineOfOutputIsWholeAndEndsInALineFeed) {
  OutputPipe output;
  LinuxLogs().standardOutput("Unrecognized attribute: AXÖdd");
  LinuxLogs().standardOutput("");
  EXPECT_EQ(output.take(), "Unrecognized attribute: AXÖdd\n\n");
}

TEST(LogsTest, OutputThatNobodyReadsNeitherEndsNorHoldsUpTheProcess) {
  {
    OutputPipe output;
    output.closeReader();
    LinuxLogs().standardOutput("nobody");
  }
  OutputPipe output;
  const std::string line(1000, 'x');
  for (int i = 0; i < 1000; ++i) {
    LinuxLogs().standardOutput(line);
  }
  EXPECT_GT(output.take().size(), line.size());
  LinuxLogs().standardOutput("again");
  EXPECT_TRUE(output.take().ends_with("again\n"));
}

TEST(LogsTest, TheSystemLogTakesAnything) {
  EXPECT_NO_THROW(LinuxLogs().systemLog("sub%s", "cat%n", "100%s %n\nline\xff"));
  EXPECT_NO_THROW(LinuxLogs().systemLog("", "", ""));
  EXPECT_NO_THROW(LinuxLogs().generalLog("100%s %n"));
}

}  // namespace
}  // namespace zqlogging
