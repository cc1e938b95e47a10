#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "service/SessionLogFile.h"

namespace zqlogging {
namespace {

namespace fs = std::filesystem;
using Result = SessionLogFile::AppendResult;

class LogFile : public testing::Test {
 protected:
  LogFile() {
    std::string name = (fs::temp_directory_path() / "zqlogging-test-XXXXXX").string();
    root = ::mkdtemp(name.data());
    path = root / "caches" / "slog.json";
  }
  ~LogFile() override { fs::remove_all(root); }

  [[nodiscard]] std::string content() const {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
  }
  [[nodiscard]] unsigned modeOf(const fs::path& what) const {
    return static_cast<unsigned>(fs::status(what).permissions());
  }

  fs::path root;
  fs::path path;
};

TEST_F(LogFile, FileAndFolderAreTheUsersAlone) {
  SessionLogFile file(path);
  EXPECT_EQ(file.append("a,\n").result, Result::written);
  file.lookAgain();
  EXPECT_EQ(file.append("b,\n").offset, 3U);
  EXPECT_EQ(content(), "a,\nb,\n");
  EXPECT_EQ(modeOf(path), 0600U);
  EXPECT_EQ(modeOf(path.parent_path()), 0700U);
  EXPECT_FALSE(file.replace("c,\n"));
  EXPECT_EQ(modeOf(path), 0600U);
  EXPECT_EQ(content(), "c,\n");
}

TEST_F(LogFile, OnlyARegularFileIsWrittenOrRead) {
  fs::create_directory(root / "caches");
  const fs::path elsewhere = root / "precious";
  std::ofstream(elsewhere) << "precious";
  SessionLogFile file(path);

  fs::create_symlink(elsewhere, path);
  EXPECT_EQ(file.append("a,\n").result, Result::notOpened);
  EXPECT_FALSE(file.read().opened);
  EXPECT_TRUE(file.remove());
  EXPECT_TRUE(file.replace("x"));
  EXPECT_TRUE(fs::is_symlink(path));
  fs::remove(path);
  std::ifstream in(elsewhere);
  std::string text;
  in >> text;
  EXPECT_EQ(text, "precious");

  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(file.append("a,\n").result, Result::notOpened);
  EXPECT_FALSE(file.read().opened);
  EXPECT_TRUE(file.remove());
  EXPECT_TRUE(fs::is_fifo(path));
  fs::remove(path);

  fs::create_directory(path);
  EXPECT_EQ(file.append("a,\n").result, Result::notOpened);
  EXPECT_FALSE(file.read().opened);
  EXPECT_TRUE(file.remove());
  EXPECT_TRUE(file.replace("x"));
}

TEST_F(LogFile, AWriteCutShortIsTakenBack) {
  SessionLogFile file(path);
  file.append("first,\n");
  struct rlimit before {};
  ::getrlimit(RLIMIT_FSIZE, &before);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const struct rlimit tight = {12, before.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &tight);
  EXPECT_EQ(file.append("second entry,\n").result, Result::notWritten);
  EXPECT_TRUE(file.replace("a replacement that does not fit,\n"));
  ::setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(content(), "first,\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(path.parent_path()), {}), 1) << "no half-written file is left";
  EXPECT_EQ(file.append("third,\n").result, Result::written);
  EXPECT_EQ(content(), "first,\nthird,\n");
}

TEST(TornCharacter, IsAnUnfinishedSequenceAtTheEndAlone) {
  struct {
    const char* text;
    std::size_t length;
  } cases[] = {{"", 0},
               {"abc", 0},
               {"ab\xc3", 1},
               {"ab\xc3\xa9", 0},
               {"\xe2\x82", 2},
               {"\xe2\x82\xac", 0},
               {"\xf0\x9f\x91", 3},
               {"\xff", 0},
               {"\x80\x80\x80\x80\x80", 0},
               {"\xc3"
                "a",
                0}};
  for (const auto& [text, length] : cases) {
    EXPECT_EQ(lengthOfTornCharacter(text), length) << text;
  }
}

}  // namespace
}  // namespace zqlogging
