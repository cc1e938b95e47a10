#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <functional>
#include <iterator>

#include "linux/system/LinuxDefaults.h"
#include "support/TemporaryHome.h"

namespace zqlogging {
namespace {

namespace fs = std::filesystem;
using testing::permissionsOf;

class DefaultsTest : public ::testing::Test {
 protected:
  /// As the next launch of the host reads it.
  static std::optional<std::string> readAnew(const std::string& key) { return LinuxDefaults().string(key); }

  testing::TemporaryHome home{"XDG_CONFIG_HOME"};
  fs::path file = LinuxDefaults::filePath();
  LinuxDefaults defaults;
};

TEST_F(DefaultsTest, TextsOfEveryKindOutliveTheProcess) {
  const std::pair<const char*, const char*> texts[] = {
      {"kSessionId", "S-42"},
      {"empty", ""},
      {"lines", "one\ntwo\r\n\ttabbed"},
      {"blanks", "  around  "},
      {"backslash", "a\\nb\\"},
      {"list", "a;b;c"},
      {"comment", "#[Defaults]"},
      {"umlauts", "Grüße 👩‍👩‍👧"},
      {"a key = odd", "kept"},
      {"[group]", "kept too"},
      {" ", "a blank"},
      {"", "no key"},
      {"schlüssel", "also"},
  };
  for (const auto& [key, value] : texts) {
    defaults.setString(key, value);
  }
  for (const auto& [key, value] : texts) {
    EXPECT_EQ(readAnew(key), value) << key;
    EXPECT_EQ(defaults.string(key), value) << key;
  }
  EXPECT_EQ(readAnew("never set"), std::nullopt);
}

TEST_F(DefaultsTest, WhatIsNoFileOfTheUserIsLeftAloneAndNeverWaitedFor) {
  fs::create_directories(file.parent_path());
  const auto fifo = [&] { ASSERT_EQ(mkfifo(file.c_str(), 0600), 0); };
  const auto link = [&] { fs::create_symlink(home.path() / "elsewhere", file); };
  for (const std::function<void()>& put : {std::function<void()>(fifo), {link}}) {
    put();
    const auto before = fs::symlink_status(file);
    defaults.setString("key", "value");
    EXPECT_EQ(defaults.string("key"), "value") << "for this process";
    EXPECT_EQ(readAnew("key"), std::nullopt);
    EXPECT_EQ(fs::symlink_status(file), before);
    fs::remove(file);
  }
  EXPECT_TRUE(fs::is_empty(home.path() / "zqlogging"));
}

TEST_F(DefaultsTest, OnlyTheUserMayReadThem) {
  const mode_t before = umask(0);
  defaults.setString("key", "value");
  EXPECT_EQ(permissionsOf(file), "600");
  EXPECT_EQ(permissionsOf(file.parent_path()), "700");
  fs::permissions(file, fs::perms::all);
  defaults.setString("key", "other");
  EXPECT_EQ(permissionsOf(file), "600") << "a file of others' making is replaced";
  umask(before);
}

TEST_F(DefaultsTest, AChangeReplacesTheFileAsAWhole) {
  defaults.setString("first", "1");
  std::ifstream reader(file);
  defaults.setString("second", "2");
  const std::string seen{std::istreambuf_iterator<char>(reader), {}};
  EXPECT_NE(seen.find("first"), std::string::npos);
  EXPECT_EQ(seen.find("second"), std::string::npos) << "who has the old file open reads the old file";
  EXPECT_EQ(readAnew("first"), "1");
  EXPECT_EQ(std::distance(fs::directory_iterator(file.parent_path()), fs::directory_iterator()), 1)
      << "nothing is left beside it";
}

TEST_F(DefaultsTest, WhatCannotBeWrittenHoldsInThisProcess) {
  std::ofstream(file.parent_path()) << "a file where the folder should be";
  EXPECT_NO_THROW(defaults.setString("key", "value"));
  EXPECT_EQ(defaults.string("key"), "value");
  EXPECT_EQ(readAnew("key"), std::nullopt);
}

TEST_F(DefaultsTest, AFileThatIsNoKeyFileCountsAsNone) {
  fs::create_directories(file.parent_path());
  std::ofstream(file) << "\x01\x02 no key file";
  EXPECT_EQ(defaults.string("key"), std::nullopt);
  defaults.setString("key", "value");
  EXPECT_EQ(readAnew("key"), "value");
}

TEST_F(DefaultsTest, IllFormedTextIsKeptReadable) {
  defaults.setString("key", "a\xff");
  EXPECT_EQ(readAnew("key"), "a\xEF\xBF\xBD");
}

}  // namespace
}  // namespace zqlogging
