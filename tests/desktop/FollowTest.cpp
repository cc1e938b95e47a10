#include <gmock/gmock.h>

#include <algorithm>

#include "Recorded.h"

namespace zqlogging::testing {
namespace {

using port::ElementRef;
using Texts = std::vector<std::string>;

constexpr std::uint32_t kTabKey = 0xff09;
constexpr std::uint32_t kEyA = 'a';
constexpr std::uint32_t kEyB = 'b';

/// Several applications, followed by one recorder.
class FollowTest : public Recorded {
 protected:
  struct Track {
    Texts focus;  ///< what got it: "Window Sample", "TextField Vienna"
    Texts deeds;  ///< what the user did: "remote LeftDown Vienna", "remote 'a' TextField in Sample"
  };
  /// All that has been recorded.
  const Track& recorded() {
    const std::string file = recordFile();
    for (std::size_t end = 0; (end = file.find(",\n", parsed)) != std::string::npos; parsed = end + 2) {
      rapidjson::Document record;
      record.Parse(file.data() + parsed, end - parsed);
      const auto field = [&](const char* name) { return textAt(record, (std::string("/") + name).c_str()); };
      const std::string type = field("eventType");
      const std::string origin = record["isRemoteControlEvent"].GetBool() ? "remote " : "local ";
      const std::string path = field("elementXpath");
      const std::size_t arrow = path.rfind("-> ");
      const std::string step = arrow == std::string::npos ? path : path.substr(arrow + 3);
      const std::string place = " in " + field("windowName");
      if (type == "Mouse") {
        track.deeds.push_back(origin + field("mouseEventType") + " " + field("elementName") + place);
      }
      if (type == "KeyPressed") {
        track.deeds.push_back(origin + "'" + field("character") + "' " + step.substr(0, step.find(':')) + place);
      }
      // Applications are named differently as long as they are not on the accessibility bus.
      const std::string control = field("elementControlType");
      if (type == "Focus") {
        track.focus.push_back(control == "Application" ? control : control + " " + field("elementName"));
      }
    }
    return track;
  }
  /// Waits for what is recorded next. What the user does and what follows from it are recorded on two threads, so that
  /// each kind has its order.
  void expect(const Texts& focus, const Texts& deeds = {}) {
    if (HasFailure()) {
      return;
    }
    const Track& now = track;
    eventually([&] {
      recorded();
      return now.focus.size() >= seen.focus + focus.size() && now.deeds.size() >= seen.deeds + deeds.size();
    });
    const auto from = [](const Texts& texts, std::size_t& count) {
      const Texts news(texts.begin() + static_cast<std::ptrdiff_t>(std::min(count, texts.size())), texts.end());
      count = texts.size();
      return news;
    };
    EXPECT_EQ(from(now.focus, seen.focus), focus);
    EXPECT_EQ(from(now.deeds, seen.deeds), deeds);
  }
  static void activate(const std::string& title) {
    const std::string command = "xdotool search --name '^" + title + "' windowactivate --sync 2>/dev/null";
    ASSERT_TRUE(eventually([&] { return std::system(command.c_str()) == 0; }));  // it stumbles over windows that close
  }
  ElementRef applicationOf(const Program& program) {
    return desktop.accessibility().createApplicationElement(program.pid());
  }
  /// Waits until the program has put its window in its place.
  ElementRef shown(const Program& program, const char* title) {
    const ElementRef application = applicationOf(program);
    EXPECT_TRUE(eventually([&] {
      const CGPoint origin = frameOf(find(application, "AXWindow", title)).origin;
      return origin == CGPoint{40, 60} || origin == CGPoint{600, 60};
    }));
    return application;
  }

  Track track;
  std::size_t parsed = 0;
  struct {
    std::size_t focus = 0, deeds = 0;
  } seen;
};

TEST_F(FollowTest, WhatHappensInSeveralApplicationsIsRecordedInOrderAndOnce) {
  const Program first({GTK_APP, "--title", "First"});
  const ElementRef firstApp = shown(first, "First");
  auto browser = std::make_unique<Program>(browserCommand());
  const ElementRef page = applicationOf(*browser);
  ASSERT_TRUE(eventually([&] { return frameOf(find(page, "AXTextField", "Name")).size.width > 0; }));
  const auto recorder = record({"--answer", "no"});
  expect({"Application", "Window Order form - Chromium", "WebArea Order form"});  // in front from the start

  activate("First");
  expect({"Application", "Window First", "Button Press me"});
  click(find(firstApp, "AXTextField", "Vienna"));
  expect({"TextField Vienna"}, {"remote LeftDown Vienna in First", "remote LeftUp Vienna in First"});
  input.pressKey(kEyA);
  input.pressLocalKey(kEyB);
  expect({}, {"remote 'a' TextField in First", "local '' TextField in First"});
  input.pressKey(kTabKey);
  expect({"TextField Search here"}, {"remote '\t' TextField in First"});
  first.send("dialog");
  expect({"Window Question", "Button Accept"});
  first.send("answer");
  expect({"Window First", "TextField Search here"});

  // Of the same identifier as the first one, and started after the recorder, as is the next.
  const Program second({GTK_APP, "--title", "Second", "--at", "600,60"});
  expect({"Application", "Window Second", "Button Press me"});
  second.send("focus password");
  expect({"TextField "});
  const Program qt({QT_APP});
  expect({"Application", "Window Sample", "Button Press me"});
  click(find(shown(qt, "Sample"), "AXTextField", "City"));
  expect({"TextField City"}, {"remote LeftDown City in Sample", "remote LeftUp City in Sample"});

  activate("Order form");
  expect({"Application", "Window Order form - Chromium", "WebArea Order form"});
  click(find(page, "AXTextField", "Name"));
  expect({"TextField Name"},
         {"remote LeftDown Name in Order form - Chromium", "remote LeftUp Name in Order form - Chromium"});
  input.pressKey(kEyA);
  expect({}, {"remote 'a' TextField in Order form - Chromium"});
  input.pressKey(kTabKey);
  expect({"TextField Find an article"}, {"remote '\t' TextField in Order form - Chromium"});

  browser.reset();  // is killed; the window manager goes back to the one before
  expect({"Application", "Window Sample", "TextField City"});
  activate("Second");
  expect({"Application", "Window Second", "TextField "});
  input.pressKey(kEyA);
  expect({}, {"remote '' TextField in Second"});
  second.send("quit");
  expect({"Application", "Window Sample", "TextField City"});
  activate("First");
  expect({"Application", "Window First", "TextField Search here"});
  input.pressKey(kEyA);
  expect({}, {"remote 'a' TextField in First"});
}

TEST_F(FollowTest, AStoppedApplicationHoldsNobodyUp) {
  const Program first({GTK_APP, "--title", "First"});
  const ElementRef firstApp = shown(first, "First");
  const Program second({GTK_APP, "--title", "Second", "--at", "600,60"});
  const ElementRef secondApp = shown(second, "Second");
  const auto recorder = record({"--answer", "no"});
  const CGPoint inFirst = middleOf(frameOf(find(firstApp, "AXTextField", "Vienna")));
  const CGPoint inSecond = middleOf(frameOf(find(secondApp, "AXTextField", "Vienna")));
  const auto isLast = [&](Texts Track::*texts, const char* expected) {
    return eventually([&] { return !(recorded().*texts).empty() && (track.*texts).back() == expected; });
  };

  expect({"Application", "Window Second", "Button Press me"});
  activate("First");
  expect({"Application", "Window First", "Button Press me"});
  first.signal(SIGSTOP);
  activate("Second");
  expect({"Application", "Window Second", "Button Press me"});
  const std::size_t before = track.focus.size();
  input.click(inFirst);
  EXPECT_TRUE(eventually([&] { return recorded().focus.size() > before; })) << "it has come forward";
  input.click(inSecond);
  EXPECT_TRUE(isLast(&Track::focus, "TextField Vienna"));
  EXPECT_TRUE(isLast(&Track::deeds, "remote LeftUp Vienna in Second"));
  EXPECT_EQ(track.deeds, Texts({"remote LeftDown  in First", "remote LeftUp  in First",
                                "remote LeftDown Vienna in Second", "remote LeftUp Vienna in Second"}))
      << "of the stopped one, what the X server knows";
  input.pressKey(kEyA);
  EXPECT_TRUE(isLast(&Track::deeds, "remote 'a' TextField in Second"));

  first.signal(SIGCONT);
  activate("First");
  EXPECT_TRUE(eventually([&] {
    const Texts& focus = recorded().focus;
    return std::count(focus.begin(), focus.end(), "Window First") == 2;
  }));
  EXPECT_TRUE(isLast(&Track::focus, "TextField Vienna"));
  input.pressKey(kEyA);
  EXPECT_TRUE(isLast(&Track::deeds, "remote 'a' TextField in First"));
}

/// Those of the focus that follow each other quickly are told by the toolkit as one.
TEST_F(FollowTest, AThousandChangesLeaveNothingBehind) {
  const Program first({GTK_APP, "--title", "First"});
  shown(first, "First");
  const Program second({GTK_APP, "--title", "Second", "--at", "600,60"});
  shown(second, "Second");
  const auto recorder = record({"--answer", "no"});
  /// Whether that window was the last to come forward, and its focus has been told.
  const auto isFollowed = [&](const std::string& title) {
    const Texts& focus = recorded().focus;
    const auto window =
        std::find_if(focus.rbegin(), focus.rend(), [](auto& text) { return text.starts_with("Window "); });
    return window != focus.rend() && *window == "Window " + title && window != focus.rbegin();
  };
  const auto activateBoth = [&](int focusChanges) {
    for (const auto& [title, program] : {std::pair("First", &first), {"Second", &second}}) {
      activate(title);
      EXPECT_TRUE(eventually([&, name = title] { return isFollowed(name); }));
      for (int i = 0; i < focusChanges; ++i) {
        program->send(i % 2 ? "focus check" : "focus search");
      }
    }
  };
  const std::string process = "/proc/" + std::to_string(recorder->pid());
  activateBoth(0);
  const std::size_t descriptors = entriesOf(process + "/fd"), threads = entriesOf(process + "/task");
  const std::size_t rules = matchRules();
  for (int i = 0; i < 25 && !HasFailure(); ++i) {
    activateBoth(19);
    if (i % 5 == 0) {
      const Program passing({GTK_APP, "--title", "Passing"});
      const std::size_t before = recorded().focus.size();
      eventually([&] { return recorded().focus.size() > before; });
    }
  }
  activateBoth(0);
  EXPECT_EQ(entriesOf(process + "/fd"), descriptors);
  EXPECT_EQ(entriesOf(process + "/task"), threads);
  EXPECT_TRUE(eventually([&] { return matchRules() == rules; })) << matchRules() << " were " << rules;
}

/// Comes last: applications of before don't come to the new bus.
TEST_F(FollowTest, RecordingGoesOnWithAnotherAccessibilityBus) {
  const Program first({GTK_APP, "--title", "First"});
  shown(first, "First");
  const auto recorder = record({"--answer", "no"});
  expect({"Application", "Window First", "Button Press me"});
  const pid_t bus = ownerOf(Bus::accessibility, "org.freedesktop.DBus");
  ASSERT_GT(bus, 1);
  kill(bus, SIGKILL);
  ASSERT_TRUE(eventually([&] { return kill(bus, 0) != 0; }));
  const Program second({GTK_APP, "--title", "Second", "--at", "600,60"});
  expect({"Application", "Window Second", "Button Press me"});
  click(find(shown(second, "Second"), "AXTextField", "Vienna"));
  expect({"TextField Vienna"}, {"remote LeftDown Vienna in Second", "remote LeftUp Vienna in Second"});
  input.pressKey(kEyA);
  expect({}, {"remote 'a' TextField in Second"});
}

}  // namespace
}  // namespace zqlogging::testing
