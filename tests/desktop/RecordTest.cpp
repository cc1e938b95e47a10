#include <gmock/gmock.h>

#include "Recorded.h"

namespace zqlogging::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr std::uint32_t kEyA = 'a';
constexpr std::uint32_t kEyB = 'b';

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
  input.pressKey(kEyA);
  EXPECT_TRUE(eventually([&] { return countOf(recordFile(), R"("eventType":"KeyPressed")") == 1; }));
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
  input.pressKey(kEyA);
  EXPECT_TRUE(eventually([&] { return countOf(recordFile(), R"("eventType":"KeyPressed")") == 1; }));
  focusByClick(*recorder, password());
  input.pressKey(kEyB);
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

/// What a blocked element must not leave anywhere, but for the lines that tell the host of it.
void expectNoTrace(const std::string& lines, const std::string& file, const std::string& trace,
                   const std::vector<std::string>& traces) {
  std::string others;
  std::istringstream all(lines);
  for (std::string line; std::getline(all, line);) {
    if (!line.starts_with("{\"onBlackListed\"")) {
      others += line + "\n";
    }
  }
  for (const std::string& each : traces) {
    EXPECT_THAT(others, Not(HasSubstr(each)));
    EXPECT_THAT(file, Not(HasSubstr(each)));
    EXPECT_THAT(trace, Not(HasSubstr(each)));
  }
  const bool isElsewhere = trace.find("the trace is in the journal") != std::string::npos;
  EXPECT_TRUE(isElsewhere || trace.find("processMousEvent") != std::string::npos) << trace;
}

TEST_F(RecordTest, ABlockedApplicationLeavesNoTraceInTheRecord) {
  const auto recorder = record({"--block-process", "GTK_App", "--trace"});
  openSample();
  click("AXButton", "Press me");
  for (const bool down : {true, false}) {
    rapidjson::Document line;
    do {
      line = next(*recorder, "onBlackListed");
    } while (!line.HasParseError() && textAt(line, "/onBlackListed/name") != "Press me");
    EXPECT_EQ(line["onBlackListed"]["flag"].GetBool(), down);
  }
  const std::string file = recordFile();
  EXPECT_EQ(file, "");
  recorder->interrupt();
  EXPECT_EQ(next(*recorder, "onLogChunkAvailable")["onLogChunkAvailable"]["events"].Size(), 0U);
  EXPECT_EQ(recorder->wait(), 0);
  expectNoTrace(recorder->all(), file, contentOf(traceFile()), {"Press me", "Sample"});
}

TEST_F(RecordTest, WhatIsOnAPageIsRecordedWithItsAddressUnlessThatIsBlocked) {
  const Program browser(browserCommand());
  app = desktop.accessibility().createApplicationElement(browser.pid());
  const auto onPage = [this](const char* role, const char* name) {
    return find(find(app, "AXWebArea", "Order form"), role, name);
  };
  const auto at = [this](CGPoint point) {
    const auto hit = desktop.accessibility().createSystemWideElement()->copyElementAtPosition(
        static_cast<float>(point.x), static_cast<float>(point.y));
    return hit ? describe(hit.value) : std::string();
  };
  struct Control {
    const char* role;
    const char* name;
    const char* type;
    CGPoint point = {};
  };
  std::vector<Control> controls = {{"AXButton", "Order now", "Button"},
                                   {"AXCheckBox", "Gift wrapping", "CheckBox"},
                                   {"AXTextField", "Name", "TextField"},
                                   {"AXLink", "terms of sale", "Link"}};
  for (Control& control : controls) {
    const std::string wanted = std::string(control.role) + ":" + control.name;
    // The browser answers the first question about a place from memory while it asks the page.
    ASSERT_TRUE(eventually([&] {
      control.point = middleOf(frameOf(onPage(control.role, control.name)));
      return at(control.point) == wanted;
    })) << wanted;
  }
  const CGPoint link = controls.back().point;
  Reader inspector({ZQLOG, "inspect", std::to_string(link.x), std::to_string(link.y)});
  const auto described = next(inspector, "describe");
  EXPECT_EQ(textAt(described, "/describe/name"), "terms of sale");
  EXPECT_EQ(textAt(described, "/describe/window"), "Order form - Chromium");
  EXPECT_EQ(textAt(described, "/describe/url"), PAGE);

  for (const bool blocked : {false, true}) {
    SCOPED_TRACE(blocked);
    const auto recorder =
        blocked ? record({"--answer", "no", "--trace", "--block-url", PAGE}) : record({"--answer", "no"});
    const char* const what = blocked ? "onBlackListed" : "onClick";
    const std::string place = std::string("/") + what;
    for (const Control& control : controls) {
      input.click(control.point);
      for (const bool down : {true, false}) {
        auto line = next(*recorder, what);
        const auto isOfFocus = [&] {  // changes of focus are told of too, of the control before this one as well
          return textAt(line, (place + "/name").c_str()) != control.name || line[what]["flag"].GetBool() != down;
        };
        while (blocked && !HasFailure() && isOfFocus()) {
          line = next(*recorder, what);
        }
        if (HasFailure()) {
          return;
        }
        EXPECT_EQ(textAt(line, (place + "/name").c_str()), control.name);
        EXPECT_THAT(textAt(line, (place + "/url").c_str()), StartsWith(PAGE));
        EXPECT_THAT(textAt(line, (place + "/path").c_str()),
                    StartsWith("Application:Chromium -> Window:Order form - Chromium"));
      }
    }
    recorder->interrupt();
    const auto chunk = next(*recorder, "onLogChunkAvailable");
    EXPECT_EQ(recorder->wait(), 0);
    const std::string file = recordFile();  // as nothing is acknowledged
    std::string clicks;
    std::istringstream entries(file);
    for (std::string entry; std::getline(entries, entry);) {
      clicks += entry.find(R"("eventType":"Mouse")") == std::string::npos ? "" : entry;
    }
    if (blocked) {
      expectNoTrace(recorder->all(), file, contentOf(traceFile()),
                    {"Order now", "Gift wrapping", "terms of sale", "Ada", "page.html"});
      continue;
    }
    EXPECT_THAT(textAt(chunk, "/onLogChunkAvailable/text"), HasSubstr("Order now"));
    for (const Control& control : controls) {
      const std::string element =
          std::string(R"("elementName":")") + control.name + R"(","elementControlType":")" + control.type + "\"";
      EXPECT_EQ(countOf(clicks, element), 2U) << control.name;
    }
    EXPECT_EQ(countOf(clicks, R"("applicationId":"Chromium","windowName":"Order form - Chromium")"), 8U);
    std::filesystem::remove(home.path() / "zqlogging" / "slog.json");
  }
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
