#include <gmock/gmock.h>

#include "Recorded.h"

namespace zqlogging::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr std::uint32_t keyA = 'a';
constexpr std::uint32_t keyB = 'b';

using RecordTest = Recorded;

TEST_F(RecordTest, WhatARemoteControlProgramDoesIsRecordedAndHandedOver) {
  const auto recorder = record();
  openSample();
  click("AXButton", "Press me");
  for (const bool down : {true, false}) {
    const auto line = next(*recorder, "onClick");
    EXPECT_EQ(textAt(line, "/onClick/name"), "Press me");
    EXPECT_THAT(textAt(line, "/onClick/path"), HasSubstr("Application:gtk_app -> Window:Sample"));
    EXPECT_EQ(line["onClick"]["down"].GetBool(), down);
  }
  focusByClick(*recorder, find(app, "AXTextField", "Vienna"));
  input.pressKey(keyA);
  click("AXCheckBox", "Wrap lines");
  next(*recorder, "onClick");
  next(*recorder, "onClick");
  recorder->interrupt();
  const auto chunk = next(*recorder, "onLogChunkAvailable");
  EXPECT_TRUE(chunk["onLogChunkAvailable"]["last"].GetBool());
  // Of one second no more than eleven events are handed over: what comes last may be missing.
  std::vector<std::string> events = eventsOf(chunk);
  events.resize(3);
  EXPECT_THAT(events, ElementsAre("remote click Press me", "remote click Vienna", HasSubstr("remote key 'a' ")));
  EXPECT_TRUE(next(*recorder, "stopped")["stopped"].GetBool());
  EXPECT_EQ(recorder->wait(), 0);
  EXPECT_EQ(recordFile(), "") << "what was acknowledged is deleted";
}

TEST_F(RecordTest, WhatIsTypedIntoAPasswordFieldIsNotRecorded) {
  const auto recorder = record({"--answer", "no"});
  openSample();
  focusByClick(*recorder, find(app, "AXTextField", "Vienna"));
  input.pressKey(keyA);
  focusByClick(*recorder, password());
  input.pressKey(keyB);
  click("AXCheckBox", "Wrap lines");  // is recorded after the keys
  next(*recorder, "onClick");
  next(*recorder, "onClick");
  recorder->interrupt();
  EXPECT_EQ(recorder->wait(), 0);
  const std::string records = recordFile();
  EXPECT_EQ(countOf(records, "\"character\":\"a\""), 1U);
  EXPECT_EQ(countOf(records, "\"character\":\"\""), 1U);
  EXPECT_EQ(countOf(records, "\"character\""), 2U);
  EXPECT_THAT(records, Not(HasSubstr("secret")));
}

TEST_F(RecordTest, ABlockedApplicationLeavesNoTraceInTheRecord) {
  const auto recorder = record({"--block-process", "GTK_App"});
  openSample();
  click("AXButton", "Press me");
  for (const bool down : {true, false}) {
    rapidjson::Document line;
    do {
      line = next(*recorder, "onBlackListed");
    } while (!line.HasParseError() && textAt(line, "/onBlackListed/name") != "Press me");
    EXPECT_EQ(line["onBlackListed"]["flag"].GetBool(), down);
  }
  EXPECT_EQ(recordFile(), "");
  recorder->interrupt();
  EXPECT_EQ(next(*recorder, "onLogChunkAvailable")["onLogChunkAvailable"]["events"].Size(), 0U);
  EXPECT_EQ(recorder->wait(), 0);
}

TEST_F(RecordTest, WhatIsNotAcknowledgedComesAgainWithTheNextSession) {
  {
    const auto recorder = record({"--answer", "no"});
    openSample();
    click("AXButton", "Press me");
    next(*recorder, "onClick");
    next(*recorder, "onClick");
    recorder->interrupt();
    EXPECT_FALSE(next(*recorder, "stopped")["stopped"].GetBool());
    EXPECT_EQ(recorder->wait(), 0);
    EXPECT_THAT(recordFile(), HasSubstr("Press me"));
  }
  Reader recorder({ZQLOG, "record", "--seconds", "0.5"});
  const auto chunk = next(recorder, "onLogChunkAvailable");
  EXPECT_FALSE(chunk["onLogChunkAvailable"]["last"].GetBool());
  EXPECT_THAT(eventsOf(chunk), ::testing::Contains("remote click Press me"));
  EXPECT_TRUE(next(recorder, "stopped")["stopped"].GetBool());
  EXPECT_EQ(recorder.wait(), 0) << "it ends by itself";
  EXPECT_EQ(recordFile(), "");
}

TEST_F(RecordTest, InspectTellsWhatIsAtAPointAndInAnApplication) {
  openSample();
  const CGPoint point = middleOf(frameOf(find(app, "AXButton", "Press me")));
  Reader inspector({ZQLOG, "inspect", std::to_string(point.x), std::to_string(point.y)});
  const auto line = next(inspector, "describe");
  EXPECT_EQ(textAt(line, "/describe/name"), "Press me");
  EXPECT_EQ(textAt(line, "/describe/window"), "Sample");
  EXPECT_EQ(line["frame"].Size(), 4U);
  EXPECT_EQ(inspector.wait(), 0);

  Reader tree({ZQLOG, "inspect", "--pid", std::to_string(sample->pid())});
  while (!tree.line().empty()) {
  }
  EXPECT_THAT(tree.all(), HasSubstr("\n  AXWindow \"Sample\" ["));
  EXPECT_THAT(tree.all(), HasSubstr("AXButton \"Press me\" ["));
  EXPECT_THAT(tree.all(), Not(HasSubstr("secret")));

  Reader nothing({ZQLOG, "inspect", "1270", "1010"});
  EXPECT_EQ(nothing.line(), "");
  EXPECT_EQ(nothing.wait(), 1);
}

}  // namespace
}  // namespace zqlogging::testing
