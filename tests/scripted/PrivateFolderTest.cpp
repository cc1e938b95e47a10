#include <gmock/gmock.h>

#include <fstream>

#include "scripted/PrivateFolder.h"

namespace zqlogging::port {
namespace {

namespace fs = std::filesystem;
using ::testing::Eq;
using ::testing::Optional;
using Block = PrivateFolder::Block;

TEST(PrivateFolderTest, ABlockedFileIsUnusableAndComesBackUnlessANewerOneStandsThere) {
  for (const Block how : {Block::directory, Block::noParent}) {
    for (const bool newer : {false, true}) {
      const PrivateFolder folder;
      const fs::path file = fs::path(folder.path()) / "slog.json";
      folder.writeFile("before");
      folder.block(how);
      EXPECT_EQ(folder.readFile(), std::nullopt);
      if (newer) {
        fs::remove(file);
        fs::create_directories(file.parent_path());
      }
      std::ofstream(file, std::ios::app) << "newer";
      folder.unblock();
      EXPECT_THAT(folder.readFile(), Optional(Eq(newer ? "newer" : "before")));
    }
  }
}

TEST(PrivateFolderTest, WritingOrBlockingOtherwiseEndsABlockAndEverythingIsGoneWithTheObject) {
  for (const Block how : {Block::directory, Block::noParent}) {
    std::optional<PrivateFolder> folder{std::in_place};
    folder->block(how);
    folder->writeFile("written");
    EXPECT_THAT(folder->readFile(), Optional(Eq("written")));
    folder->block(how);
    folder->block(Block::directory);
    folder->unblock();
    EXPECT_THAT(folder->readFile(), Optional(Eq("written")));
    folder->block(how);
    const fs::path root = fs::path(folder->path()).parent_path().parent_path();
    EXPECT_TRUE(fs::exists(root));
    folder.reset();
    EXPECT_FALSE(fs::exists(root));
  }
}

}  // namespace
}  // namespace zqlogging::port
