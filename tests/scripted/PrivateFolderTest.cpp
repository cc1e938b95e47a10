#include <gmock/gmock.h>
#include <sys/stat.h>

#include <fstream>

#include "scripted/PrivateFolder.h"

namespace zqlogging::port {
namespace {

namespace fs = std::filesystem;
using ::testing::Eq;
using ::testing::Optional;

struct PrivateFolderTest : ::testing::TestWithParam<PrivateFolder::Block> {
  void append(const std::string& text) const { std::ofstream(file, std::ios::app) << text; }

  std::optional<PrivateFolder> folder{std::in_place};
  fs::path file = fs::path(folder->path()) / "slog.json";
};

TEST_P(PrivateFolderTest, ABlockedFileIsUnusableAndComesBackAsItWas) {
  folder->writeFile("before");
  folder->block(GetParam());
  EXPECT_EQ(folder->readFile(), std::nullopt);
  mkdir(folder->path().c_str(), 0700);
  append("lost");
  folder->unblock();
  EXPECT_THAT(folder->readFile(), Optional(Eq("before")));
}

TEST_P(PrivateFolderTest, WhatIsNewerThanTheBlockStays) {
  folder->writeFile("before");
  folder->block(GetParam());
  fs::remove(file);
  fs::create_directories(folder->path());
  append("newer");
  folder->unblock();
  EXPECT_THAT(folder->readFile(), Optional(Eq("newer")));
}

TEST_P(PrivateFolderTest, WritingOrBlockingOtherwiseEndsABlock) {
  folder->block(GetParam());
  folder->writeFile("written");
  EXPECT_THAT(folder->readFile(), Optional(Eq("written")));
  folder->block(GetParam());
  folder->block(PrivateFolder::Block::directory);
  folder->unblock();
  EXPECT_THAT(folder->readFile(), Optional(Eq("written")));
}

TEST_P(PrivateFolderTest, EverythingIsGoneWithTheObject) {
  folder->writeFile("x");
  folder->block(GetParam());
  const fs::path root = fs::path(folder->path()).parent_path().parent_path();
  EXPECT_TRUE(fs::exists(root));
  folder.reset();
  EXPECT_FALSE(fs::exists(root));
}

INSTANTIATE_TEST_SUITE_P(Blocks, PrivateFolderTest,
                         ::testing::Values(PrivateFolder::Block::directory, PrivateFolder::Block::noParent),
                         [](const auto& block) {
                           return block.param == PrivateFolder::Block::directory ? "directory" : "noParent";
                         });

}  // namespace
}  // namespace zqlogging::port
