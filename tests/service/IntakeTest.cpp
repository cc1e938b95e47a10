#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "support/ServiceFixture.h"

namespace zqlogging::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

using Intake = ServiceTest;

TEST_F(Intake, AClickIsToldAndRecordedWithItsSurroundings) {
  set(button, "AXValue", std::string(300, 'v'));
  set(button, "AXDescription", "confirms");
  set(notes, "AXIdentifier", "com.example.notes");
  local(1, kOnButton);
  ASSERT_THAT(delegate->clicks, SizeIs(1));
  EXPECT_EQ(delegate->clicks[0].name, "OK");
  EXPECT_TRUE(delegate->clicks[0].isDown);
  EXPECT_THAT(inspect().records(),
              ElementsAre(R"({"id":1,"timestamp":1700000000000,"eventType":"Mouse","mouseEventType":"LeftDown",)"
                          R"("button":"Left","elementXpath":"Application:Notes -> Window:Preferences{OK} -> )"
                          R"(Button:confirms","elementName":"OK","elementControlType":"Button","elementValue":")" +
                          std::string(256, 'v') +
                          R"(","applicationName":"Notes","applicationId":"com.example.notes",)"
                          R"("windowName":"Preferences","windowRect":"0, 25, 800, 600","elementRect":"10, 40, 80, 24",)"
                          R"("eventPoint":"15, 45","isRemoteControlEvent":false,"url":"","description":"confirms"})"));
  EXPECT_EQ(file(), inspect().records()[0] + ",\n");
  external(4, kOnButton);
  EXPECT_FALSE(delegate->clicks[1].isDown);
  EXPECT_THAT(inspect().records()[1], HasSubstr(R"("mouseEventType":"RightUp","button":"Right")"));
  EXPECT_THAT(inspect().records()[1], HasSubstr(R"("isRemoteControlEvent":true)"));
}

TEST_F(Intake, WhatIsNoUsableEventLeavesNothing) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInf = std::numeric_limits<double>::infinity();
  const CGPoint unusable[] = {{kNan, 5}, {5, kNan}, {kInf, 5}, {5, -kInf}, {1e300, 5}, {5, 9223372036854775808.0}};
  set(window, "AXPosition", CGPoint{0, 0});  // (0, 0), where a lost point would end up, is on the window
  for (const CGPoint& point : unusable) {
    service->processExternalEvent(1, point.x, point.y, 1, "");
    settle();
  }
  for (const std::uint64_t type : {0, 5, 11, 25}) {
    external(type, kOnButton);
  }
  external(10, kOnButton, "a");  // nothing has the focus
  external(1, {1900, 1000});     // nothing is there
  platform->desktop().edit(button, {{}, {{"AXRole", port::ResultCode::cannotComplete}}});
  platform->desktop().raiseOnRead(button, "AXTitle", "gone mad");
  external(1, kOnButton);
  EXPECT_THAT(inspect().records(), IsEmpty());
  EXPECT_THAT(delegate->clicks, IsEmpty());
  EXPECT_EQ(inspect().eventId(), 0);
}

TEST_F(Intake, PauseHoldsLocalEventsBackAndNoOthers) {
  service->pause();
  local(1, kOnButton);
  EXPECT_THAT(inspect().records(), IsEmpty());
  external(1, kOnButton);
  command("c");
  EXPECT_THAT(inspect().records(), SizeIs(2));
  service->resume();
  local(2, kOnButton);
  EXPECT_THAT(inspect().records(), SizeIs(3));
}

TEST_F(Intake, ABlacklistedElementIsToldAndNotRecorded) {
  ASSERT_TRUE(service->start("S", {}, {"NOTES.app"}));
  external(1, kOnButton);
  external(2, kOnButton);
  ASSERT_THAT(delegate->blackListed, SizeIs(2));
  EXPECT_TRUE(delegate->blackListed[0].isDown);
  EXPECT_FALSE(delegate->blackListed[1].isDown);
  EXPECT_THAT(delegate->clicks, IsEmpty());
  EXPECT_EQ(inspect().eventId(), 0);
  EXPECT_EQ(file(), std::nullopt);
}

class PasswordField : public ServiceTest {
 protected:
  PasswordField() {
    platform->desktop().edit(button, {{{"AXRole", "AXTextField"},
                                       {"AXSubrole", "AXSecureTextField"},
                                       {"AXTitle", std::nullopt},
                                       {"AXValue", "hunter2"}},
                                      {}});
  }
};

TEST_F(PasswordField, NeitherItsTextNorWhatIsTypedIntoItIsRecorded) {
  external(1, kOnButton);
  service->start("S", {}, {});
  advance(100ms);
  activate(100);
  platform->scriptedAccessibility().notify("AXFocusedUIElementChanged", button, 100);
  external(10, {}, "h");
  ASSERT_THAT(inspect().records(), SizeIs(4)) << "click, application, focus, key";
  EXPECT_THAT(inspect().records()[3], HasSubstr(R"("eventType":"KeyPressed","character":"")"));
  EXPECT_THAT(*file(), Not(HasSubstr("hunter2")));
  set(button, "AXSubrole", std::nullopt);
  external(10, {}, "é");
  EXPECT_THAT(inspect().records()[4], HasSubstr(R"("character":"é")"));
  EXPECT_THAT(inspect().records()[4], HasSubstr(R"("elementValue":"hunter2")"));
  local(10, {});
  EXPECT_THAT(inspect().records()[5], HasSubstr(R"("character":"")"));
}

TEST_F(Intake, TextsFromTheHostAreMadeValid) {
  service->logRemoteCommand("c\xff", "r", "k", std::nullopt);
  EXPECT_THAT(inspect().records()[0], HasSubstr("\"cli\":\"c\uFFFD\",\"role\":\"r\",\"command\":\"k\",\"details\":\"\","
                                                "\"isRemoteControlEvent\":true"));
}

port::TextObservation observation(std::vector<std::string> candidates) {
  return {std::move(candidates), {{0.125, 0.25}, {0.5, 0.25}}};
}

class Recognition : public ServiceTest {
 protected:
  Recognition() {
    const int width = 1920;
    const int height = 1080;
    std::shared_ptr<std::uint8_t[]> pixels(new std::uint8_t[4UL * width * height]());
    frame = {std::shared_ptr<const std::uint8_t>(pixels, pixels.get()), width, height, 4UL * width};
    service->setOcrEnabled(true);
    platform->recognition().setAnswer(std::vector<port::TextObservation>{observation({"Save"}), observation({""}),
                                                                         observation({"Cancel", "Cancol"})});
  }
  PixelBuffer frame;
};

TEST_F(Recognition, ItsTextsReachTheHostAndThePath) {
  advance(700ms);
  external(1, kOnButton);
  EXPECT_EQ(delegate->clicks[0].rectangles, 0U) << "no frame yet";
  service->setFrameForOcr(frame);
  external(1, kOnButton);
  EXPECT_EQ(delegate->clicks[1].texts, 3U);
  EXPECT_EQ(delegate->clicks[1].rectangles, 4U);
  EXPECT_EQ(delegate->clicks[1].point, (CGPoint{15, 74})) << "in a rectangle moved into the frame";
  EXPECT_THAT(delegate->clicks[1].path, Not(HasSubstr("Save")));
  EXPECT_THAT(inspect().records()[1], HasSubstr("Button:OK(Save. Cancel)\""));
}

TEST_F(Recognition, ItIsThrottledAndItsFailuresCostNoClick) {
  service->setFrameForOcr(frame);
  external(1, kOnButton);  // less than 700 ms after the start
  EXPECT_EQ(delegate->clicks.back().rectangles, 0U);
  advance(700ms);
  external(1, kOnButton);
  EXPECT_EQ(delegate->clicks.back().rectangles, 4U);
  advance(699ms);
  external(1, kOnButton);
  EXPECT_EQ(delegate->clicks.back().rectangles, 0U);
  advance(1ms);
  platform->recognition().setAnswer(port::TextRequestFailed{"no engine"});
  external(1, kOnButton);
  advance(700ms);
  platform->recognition().setAnswer(port::TextResultsUnreadable{});
  external(1, kOnButton);
  EXPECT_EQ(delegate->clicks.back().point, CGPoint());
  EXPECT_THAT(inspect().records(), SizeIs(5));
}

TEST_F(Recognition, AwkwardFramesAndSizesAreHarmless) {
  const PixelBuffer frames[] = {{},
                                {nullptr, 1920, 1080, 7680},
                                {frame.pixels, 1, 1, 4},
                                {frame.pixels, 200, 100, 800},
                                {frame.pixels, -5, 3, 4},
                                {frame.pixels, 1000, 1000, 1}};
  const CGSize sizes[] = {{300, 120}, {0, 0}, {-3, 5}, {1e18, 1e18}, {std::nan(""), 1}, {1, 93}};
  std::size_t clicks = 0;
  for (const PixelBuffer& awkward : frames) {
    for (const CGSize& size : sizes) {
      service->setFrameForOcr(awkward);
      service->setOcrDetectionSize(size);
      advance(700ms);
      external(1, kOnButton);
      EXPECT_THAT(delegate->clicks, SizeIs(++clicks));
      EXPECT_EQ(delegate->clicks.back().rectangles, 4U);
    }
  }
}

class WindowOnly : public ServiceTest {
 protected:
  WindowOnly() {
    // A toolkit whose hit test stops at the window.
    platform->desktop().setHits({{{15, 45}, window}});
    set(group, "AXDescription", "Options");
  }
};

TEST_F(WindowOnly, ItsTreeIsSearchedForTheElement) {
  external(1, kOnButton);
  EXPECT_EQ(delegate->clicks.back().path, "Group:Options{OK} -> Button:OK");
  EXPECT_EQ(delegate->clicks.back().name, "Preferences");
  service->setIncludeSiblings(false);
  external(1, kOnButton);
  EXPECT_EQ(delegate->clicks.back().path, "Group:Options -> Button:OK");
  service->setIterateDOM(false);
  external(1, kOnButton);
  EXPECT_EQ(delegate->clicks.back().path, "Application:Notes{Options} -> Window:Preferences");
}

TEST_F(WindowOnly, TheSearchTakesTheFirstChildThatHoldsThePointAndWhatLiesBelowOthers) {
  const port::NodeId overlay = add(window, "overlay", "AXGroup", "Never", CGRect{{0, 25}, {400, 300}});
  add(overlay, "late", "AXButton", "Late", CGRect{{10, 40}, {80, 24}});
  const port::NodeId away = add(group, "away", "AXGroup", "Away", CGRect{{500, 500}, {10, 10}});
  add(away, "child", "AXLink", "Inner", CGRect{{0, 25}, {100, 100}});
  platform->desktop().remove(button);
  external(1, kOnButton);
  EXPECT_EQ(delegate->clicks.back().path, "Group:Options{Away} -> Link:Inner");
}

TEST_F(WindowOnly, TheSearchReadsNoMoreChildListsAfterThreeHundredElements) {
  platform->desktop().remove(group);
  for (int i = 0; i < 399; ++i) {
    const port::NodeId leaf = add(window, "leaf" + std::to_string(i), "AXButton", "leaf");
    if (i == 299 || i == 300) {
      add(leaf, "below" + std::to_string(i), "AXLink", "below " + std::to_string(i), CGRect{{0, 25}, {800, 600}});
    }
  }
  add(window, "last", "AXButton", "Last", CGRect{{0, 25}, {800, 600}});
  service->setIncludeSiblings(false);
  external(1, kOnButton);
  EXPECT_EQ(delegate->clicks.back().path, "Button:Last -> Link:below 299");
}

}  // namespace
}  // namespace zqlogging::test
