#include <gmock/gmock.h>

#include "Recorded.h"

namespace zqlogging::testing {
namespace {

using port::ElementRef;
using Texts = std::vector<std::string>;

constexpr std::uint32_t tabKey = 0xff09;
constexpr std::uint32_t keyA = 'a';
constexpr std::uint32_t keyB = 'b';

/// Several applications, followed by one recorder.
class FollowTest : public Recorded {
 protected:
  struct Track {
    Texts focus;  ///< what got it: "Window Sample", "TextField Vienna"
    Texts deeds;  ///< what the user did: "remote LeftDown Vienna", "remote 'a' TextField in Sample"
  };
  Track recorded() const {
    Track track;
    std::istringstream lines(recordFile());
    for (std::string line; std::getline(lines, line);) {
      if (!line.ends_with(',')) continue;  // is being written
      line.pop_back();
      rapidjson::Document record;
      record.Parse(line);
      const auto field = [&](const char* name) { return textAt(record, (std::string("/") + name).c_str()); };
      const std::string type = field("eventType");
      const std::string origin = record["isRemoteControlEvent"].GetBool() ? "remote " : "local ";
      const std::string path = field("elementXpath");
      const std::string step = path.substr(path.rfind("-> ") + 3);
      if (type == "Mouse") track.deeds.push_back(origin + field("mouseEventType") + " " + field("elementName"));
      if (type == "KeyPressed") {
        track.deeds.push_back(origin + "'" + field("character") + "' " + step.substr(0, step.find(':')) + " in " +
                              field("windowName"));
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
    if (HasFailure()) return;
    Track now;
    eventually([&] {
      now = recorded();
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

  struct {
    std::size_t focus = 0, deeds = 0;
  } seen;
};

TEST_F(FollowTest, WhatHappensInSeveralApplicationsIsRecordedInOrderAndOnce) {
  const Program first({GTK_APP, "--title", "First"});
  const ElementRef firstApp = shown(first, "First");
  Program browser(browserCommand());
  const ElementRef page = applicationOf(browser);
  ASSERT_TRUE(eventually([&] { return frameOf(find(page, "AXTextField", "Name")).size.width > 0; }));
  const auto recorder = record({"--answer", "no"});

  activate("First");
  expect({"Application", "Window First", "Button Press me"});
  click(find(firstApp, "AXTextField", "Vienna"));
  expect({"TextField Vienna"}, {"remote LeftDown Vienna", "remote LeftUp Vienna"});
  input.pressKey(keyA);
  input.pressLocalKey(keyB);
  expect({}, {"remote 'a' TextField in First", "local '' TextField in First"});
  input.pressKey(tabKey);
  expect({"TextField Search here"}, {"remote '\t' TextField in First"});
  first.send("dialog");
  expect({"Window Question", "Button Accept"});
  first.send("answer");
  expect({"Window First", "TextField Search here"});

  // Of the same identifier as the first one, and started after the recorder, as is the next.
  const Program second({GTK_APP, "--title", "Second", "--at", "600,60"});
  expect({"Application", "Window Second", "Button Press me"});
  const Program qt({QT_APP});
  expect({"Application", "Window Sample", "Button Press me"});
  click(find(shown(qt, "Sample"), "AXTextField", "City"));
  expect({"TextField City"}, {"remote LeftDown City", "remote LeftUp City"});

  activate("Order form");
  expect({"Application", "Window Order form - Chromium", "WebArea Order form"});
  click(find(page, "AXTextField", "Name"));
  expect({"TextField Name"}, {"remote LeftDown Name", "remote LeftUp Name"});
  input.pressKey(keyA);
  input.pressKey(tabKey);
  expect({"TextField Find an article"},
         {"remote 'a' TextField in Order form - Chromium", "remote '\t' TextField in Order form - Chromium"});

  browser.signal(SIGKILL);  // the window manager goes back to the one before
  expect({"Application", "Window Sample", "TextField City"});
  activate("Second");
  expect({"Application", "Window Second", "Button Press me"});
  second.send("quit");
  expect({"Application", "Window Sample", "TextField City"});
  activate("First");
  expect({"Application", "Window First", "TextField Search here"});
  input.pressKey(keyA);
  expect({}, {"remote 'a' TextField in First"});
}

}  // namespace
}  // namespace zqlogging::testing
