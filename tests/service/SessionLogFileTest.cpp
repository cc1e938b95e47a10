#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "service/FileCalls.h"
#include "service/LogEntries.h"
#include "service/LogFileChange.h"
#include "service/SessionLogFile.h"

namespace zqlogging {
namespace {

namespace fs = std::filesystem;
using Result = SessionLogFile::AppendResult;
using Outcome = LogFileChange::Outcome;

class LogFile : public testing::Test {
 protected:
  ~LogFile() override { fs::remove_all(root); }

  [[nodiscard]] std::string content() const {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
  }
  [[nodiscard]] unsigned modeOf(const fs::path& what) const {
    return static_cast<unsigned>(fs::status(what).permissions());
  }

  static EntrySet setOf(const std::vector<std::string>& entries) {
    std::vector<std::uint64_t> hashes;
    for (const std::string& entry : entries) {
      hashes.push_back(hashOfEntry(entry));
    }
    return EntrySet(std::move(hashes));
  }
  [[nodiscard]] Outcome change(const std::vector<std::string>& without) const {
    SessionLogFile changing(path);
    EntrySet entries = setOf(without);
    LogFileChange change(changing);
    const Outcome prepared = change.prepare(entries);
    return prepared == Outcome::done ? change.commit(entries) : prepared;
  }

  fs::path root;
  fs::path path;
  SessionLogFile file{(newRoot(), path)};

 private:
  void newRoot() {
    std::string name = (fs::temp_directory_path() / "zqlogging-test-XXXXXX").string();
    root = ::mkdtemp(name.data());
    path = root / "caches" / "slog.json";
  }
};

TEST_F(LogFile, FileAndFolderAreTheUsersAlone) {
  EXPECT_EQ(file.append("a,\n").result, Result::written);
  EXPECT_EQ(modeOf(path), 0600U);
  EXPECT_EQ(modeOf(path.parent_path()), 0700U);
  EXPECT_EQ(change({"a"}), Outcome::done);
  EXPECT_FALSE(fs::exists(path));
  file.append("b,\nc,\n");
  EXPECT_EQ(change({"b"}), Outcome::done);
  EXPECT_EQ(modeOf(path), 0600U);
  EXPECT_EQ(content(), "c,\n");
}

TEST_F(LogFile, OnlyARegularFileIsTouched) {
  fs::create_directory(root / "caches");
  const fs::path elsewhere = root / "precious";
  std::ofstream(elsewhere) << "precious";
  const auto link = [&] { fs::create_symlink(elsewhere, path); };
  const auto fifo = [&] { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); };
  const auto folder = [&] { fs::create_directory(path); };
  const auto device = [&] {
    if (::mknod(path.c_str(), S_IFCHR | 0600, makedev(1, 3)) != 0) {  // for the superuser alone
      fs::create_directory(path);
    }
  };
  const auto foreign = [&] {
    std::ofstream(path) << "theirs";
    if (::chown(path.c_str(), 12345, 12345) != 0) {
      fs::remove(path);
      fs::create_directory(path);
    }
  };
  for (const std::function<void()>& put : {std::function<void()>(link), {fifo}, {folder}, {device}, {foreign}}) {
    put();
    const auto before = fs::symlink_status(path);
    EXPECT_EQ(file.append("a,\n").result, Result::notOpened);
    EXPECT_FALSE(file.open().file.isOpen());
    EXPECT_EQ(change({"a"}), Outcome::later);
    EXPECT_TRUE(file.remove([](Descriptor) {}));
    EXPECT_EQ(fs::symlink_status(path), before) << "left alone";
    fs::remove(path);
  }
  fs::remove(path.parent_path());
  fs::create_directory_symlink(root, path.parent_path());
  EXPECT_EQ(file.append("a,\n").result, Result::notOpened) << "a folder that is a link";
  EXPECT_EQ(std::distance(fs::directory_iterator(root), {}), 2) << "the link and the precious file";
}

TEST_F(LogFile, AWriteCutShortIsTakenBack) {
  file.append("first,\n");
  struct rlimit before {};
  ::getrlimit(RLIMIT_FSIZE, &before);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const struct rlimit tight = {12, before.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &tight);
  const auto appended = file.append("second entry,\n");
  ::setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(appended.result, Result::notWritten);
  EXPECT_TRUE(appended.mayWorkLater);
  EXPECT_EQ(content(), "first,\n");
  EXPECT_EQ(file.append("third,\n").result, Result::written);
  EXPECT_EQ(content(), "first,\nthird,\n");
}

TEST_F(LogFile, AChangeTakesOutWhatItIsGivenOnceForEachTime) {
  const std::string long1(std::size_t{17} << 20U, 'x');
  const std::string text = "a,\nb,\na,\n" + std::string(2, '\0') + ",\n" + long1 + ",\n ,\na,\ntail";
  struct {
    std::vector<std::string> without;
    std::string remains;
  } cases[] = {{{"a"}, "b,\na,\n" + long1 + ",\na,\ntail"},
               {{"a", "tail", "a"}, "b,\n" + long1 + ",\na,\n"},
               {{long1, "nobody's"}, "a,\nb,\na,\na,\ntail"}};
  for (const auto& [without, remains] : cases) {
    fs::create_directory(root / "caches");
    std::ofstream(path) << text;
    EXPECT_EQ(change(without), Outcome::done);
    EXPECT_TRUE(content() == remains) << content().size() << " bytes of " << remains.size();
    EXPECT_EQ(std::distance(fs::directory_iterator(path.parent_path()), {}), 1) << "nothing stays beside it";
  }
}

TEST_F(LogFile, WhatOthersAppendDuringAChangeStays) {
  SessionLogFile other(path);
  file.append("a,\nb,\n");
  other.append("theirs 1,\n");
  EntrySet without = setOf({"a", "b"});
  SessionLogFile changing(path);
  LogFileChange change(changing);
  ASSERT_EQ(change.prepare(without), Outcome::done);
  other.append("theirs 2,\n");

  LogFileChange second(file);
  EXPECT_EQ(second.prepare(without), Outcome::later) << "one at a time, and nobody waits";

  ASSERT_EQ(change.commit(without), Outcome::done);
  EXPECT_EQ(content(), "theirs 1,\ntheirs 2,\n");
  EXPECT_EQ(other.append("theirs 3,\n").copies, 1);
  EXPECT_EQ(content(), "theirs 1,\ntheirs 2,\ntheirs 3,\n");
}

/// Lets something happen between an append's write and its look at the path.
struct InterruptedAppend final : FileCalls {
  ssize_t write(int fd, const void* from, std::size_t length) override {
    const ssize_t written = FileCalls::write(fd, from, length);
    if (const auto happens = std::exchange(meanwhile, nullptr)) {
      happens();
    }
    return written;
  }
  std::function<void()> meanwhile;
};

TEST_F(LogFile, AnAppendToAFileThatWasReplacedIsMadeAgain) {
  file.append("a,\n");
  InterruptedAppend calls;
  FileCalls::use(&calls);
  calls.meanwhile = [&] {
    fs::rename(path, root / "old");
    std::ofstream(path) << "new,\n";
  };
  EXPECT_EQ(file.append("b,\n").copies, 2);
  EXPECT_EQ(content(), "new,\nb,\n");
  calls.meanwhile = [&] { fs::remove(path); };
  EXPECT_EQ(file.append("c,\n").copies, 2);
  EXPECT_EQ(content(), "c,\n");
  FileCalls::use(nullptr);
}

TEST_F(LogFile, WhatAKilledChangeHasLeftIsTakenOver) {
  file.append("a,\nb,\n");
  std::ofstream(path.string() + ".next") << "b,\nc,\n,\ntorn";
  EXPECT_EQ(change({}), Outcome::done);
  EXPECT_EQ(content(), "a,\nb,\nc,\n");
  EXPECT_FALSE(fs::exists(path.string() + ".next"));
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
