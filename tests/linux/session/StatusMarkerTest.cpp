#include <gtest/gtest.h>

#include "linux/session/StatusMarker.h"
#include "support/TemporaryHome.h"

namespace zqlogging::testing {
namespace {

class StatusMarkerTest : public ::testing::Test {
 protected:
  [[nodiscard]] bool isThere() const { return std::filesystem::exists(home.path() / "accessibility-announced"); }

  TemporaryHome home{"XDG_CACHE_HOME"};
  const std::string folder = home.path();
};

TEST_F(StatusMarkerTest, OnlyTheLastHolderPutsBack) {
  EXPECT_FALSE(StatusMarker::join(folder)) << "there is none yet";
  EXPECT_FALSE(isThere());
  auto first = StatusMarker::hold(folder);
  ASSERT_TRUE(first);
  auto second = StatusMarker::join(folder);
  ASSERT_TRUE(second);
  EXPECT_FALSE(first->becomeOnlyHolder());
  first.reset();
  EXPECT_TRUE(second->becomeOnlyHolder());
  second->remove();
  EXPECT_FALSE(isThere());
}

TEST_F(StatusMarkerTest, OneThatNobodyHoldsWasLeftByACrash) {
  EXPECT_FALSE(StatusMarker::abandoned(folder));
  {
    const auto holder = StatusMarker::hold(folder);
    EXPECT_FALSE(StatusMarker::abandoned(folder)) << "it lives";
  }
  ASSERT_TRUE(isThere());
  {
    const auto left = StatusMarker::abandoned(folder);
    ASSERT_TRUE(left);
    EXPECT_FALSE(StatusMarker::abandoned(folder)) << "one puts it back";
  }
  EXPECT_TRUE(StatusMarker::join(folder)->becomeOnlyHolder()) << "or takes it over";
}

TEST_F(StatusMarkerTest, WhatIsForGoodIsPutBackByNobody) {
  const auto holder = StatusMarker::hold(folder);
  StatusMarker::remove(folder);
  EXPECT_FALSE(holder->becomeOnlyHolder());
  const auto next = StatusMarker::hold(folder);
  ASSERT_TRUE(next);
  EXPECT_FALSE(holder->becomeOnlyHolder()) << "the file is another's now";
  EXPECT_TRUE(next->becomeOnlyHolder());
}

TEST_F(StatusMarkerTest, OtherThingsInItsPlaceAreLeftAlone) {
  std::filesystem::create_symlink(folder + "/elsewhere", folder + "/accessibility-announced");
  EXPECT_FALSE(StatusMarker::hold(folder));
  EXPECT_FALSE(std::filesystem::exists(folder + "/elsewhere"));
  EXPECT_FALSE(StatusMarker::hold(folder + "/missing"));
}

}  // namespace
}  // namespace zqlogging::testing
