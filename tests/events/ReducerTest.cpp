#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "events/RunningReduction.h"
#include "events/ZQLogEventReducer.h"
#include "events/ZQUILogFocusEvent.h"
#include "events/ZQUILogMouseEvent.h"

namespace zqlogging {
namespace {

LogEvent mouse(std::int64_t time, const char* type, const char* point = "100, 200") {
  auto record = std::make_shared<ZQUILogMouseEvent>();
  record->timestamp = time;
  record->mouseEventType = type;
  record->eventPoint = point;
  return record;
}

LogEvent focus(std::int64_t time) {
  auto record = std::make_shared<ZQUILogFocusEvent>();
  record->timestamp = time;
  return record;
}

/// "time:kind" of each record.
std::vector<std::string> namesOf(const std::vector<LogEvent>& records) {
  std::vector<std::string> result;
  for (const LogEvent& record : records) {
    const auto* event = dynamic_cast<const ZQUILogMouseEvent*>(record.get());
    result.push_back(std::to_string(record->date()) + ":" + (event == nullptr ? "Focus" : event->mouseEventType));
  }
  return result;
}

std::vector<std::string> reduced(const std::vector<LogEvent>& records) {
  return namesOf(ZQLogEventReducer::filter(records));
}

TEST(Reducer, ARunningReductionHasTheNewestOfTheWholeOnesResult) {
  constexpr std::size_t kNewest = 5;
  std::mt19937 random(3);
  const char* kinds[] = {"LeftDown", "LeftUp", "RightDown", "RightUp"};
  for (int list = 0; list < 200; ++list) {
    RunningReduction running(kNewest);
    std::vector<LogEvent> records;
    std::int64_t time = 0;
    for (int i = 0; i < 60; ++i) {
      time += static_cast<std::int64_t>(random() % 300);
      records.push_back(random() % 5 == 0 ? focus(time) : mouse(time, kinds[random() % 4]));
      running.add(records.back());
      std::vector<std::string> expected = reduced(records);
      expected.erase(expected.begin(),
                     expected.end() - static_cast<std::ptrdiff_t>(std::min(kNewest, expected.size())));
      ASSERT_EQ(namesOf(running.result()), expected);
    }
  }
}

TEST(Reducer, FoldsAPressAndItsReleaseOnlyWhenTheyBelongTogether) {
  struct {
    const char* what;
    std::vector<LogEvent> records;
    std::vector<std::string> expected;
  } cases[] = {
      {"a click", {mouse(0, "LeftDown"), mouse(120, "LeftUp")}, {"0:Click"}},
      {"just in time", {mouse(0, "RightDown"), mouse(399, "RightUp")}, {"0:Click"}},
      {"too late", {mouse(0, "LeftDown"), mouse(400, "LeftUp")}, {"0:Click", "400:Click"}},
      {"moved", {mouse(0, "LeftDown"), mouse(9, "LeftUp", "101, 200")}, {"0:Click", "9:Click"}},
      {"other button", {mouse(0, "RightDown"), mouse(9, "LeftUp")}, {"0:Click", "9:Click"}},
      {"release first", {mouse(0, "LeftUp"), mouse(9, "LeftDown")}, {"0:Click", "9:Click"}},
      {"two clicks",
       {mouse(0, "LeftDown"), mouse(100, "LeftUp"), mouse(200, "LeftDown"), mouse(300, "LeftUp")},
       {"0:Click", "200:Click"}},
      {"a release opens no pair",
       {mouse(0, "LeftDown"), mouse(1, "LeftUp"), mouse(2, "LeftUp")},
       {"0:Click", "2:Click"}},
      {"something in between",
       {mouse(0, "LeftDown"), focus(50), mouse(100, "LeftUp"), focus(150)},
       {"0:Click", "50:Focus", "150:Focus"}},
      {"read-back order", {mouse(500, "LeftDown"), mouse(100, "LeftUp")}, {"500:Click"}},
      {"nothing", {}, {}},
  };
  for (const auto& [what, records, expected] : cases) {
    EXPECT_EQ(reduced(records), expected) << what;
  }
}

std::vector<LogEvent> focusAt(const std::vector<std::int64_t>& times) {
  std::vector<LogEvent> records;
  for (const std::int64_t time : times) {
    records.push_back(focus(time));
  }
  return records;
}

TEST(Reducer, AWindowOfASecondPassesElevenRecords) {
  std::vector<std::int64_t> times;
  for (int i = 0; i < 15; ++i) {
    times.push_back(i * 50);
  }
  EXPECT_EQ(reduced(focusAt(times)).size(), 11U);

  times.assign(1, 0);
  times.insert(times.end(), 20, 500);
  times.push_back(1500);
  const auto left = reduced(focusAt(times));
  EXPECT_EQ(left.size(), 12U);
  EXPECT_EQ(left.back(), "1500:Focus");
}

TEST(Reducer, AWindowLastsUntilARecordOneSecondAfterItsFirst) {
  // The 12th record of the first window is dropped and opens none; time running backwards stays inside.
  std::vector<std::int64_t> times(11, 0);
  times.insert(times.end(), {999, -5000, 1000});
  times.insert(times.end(), 11, 1001);
  const auto left = reduced(focusAt(times));
  EXPECT_EQ(left.size(), 11U + 11U);
  EXPECT_EQ(left[10], "0:Focus");
  EXPECT_EQ(left[11], "1000:Focus");
}

}  // namespace
}  // namespace zqlogging
