#include <gtest/gtest.h>

#include <memory>

#include "scripted/ScriptedPlatform.h"
#include "vision/ZQVisionRecognizer.h"

namespace zqlogging {
namespace {

using std::chrono_literals::operator""ms;

constexpr CGSize kScreen = {1920, 1080};
constexpr CGSize kDefault = {300, 120};

TEST(Recognizer, ItsRectangleStaysInTheFrame) {
  struct {
    CGSize frame;
    CGPoint click;
    CGPoint origin;
  } cases[] = {{kScreen, {960, 540}, {810, 480}},
               {kScreen, {10, 20}, {0, 0}},
               {kScreen, {1915, 1075}, {1620, 960}},
               {kScreen, {-50, 5000}, {0, 960}},
               {{200, 100}, {50, 50}, {-100, -20}}};
  for (const auto& [frame, click, origin] : cases) {
    const CGRect rect = ZQVisionRecognizer::recognitionRect(frame, kDefault, click);
    EXPECT_EQ(rect.origin, origin) << click.x;
    EXPECT_EQ(rect.size, kDefault);
  }
}

TEST(Recognizer, BoxesAreFlippedIntoPixels) {
  EXPECT_EQ(ZQVisionRecognizer::getConvertedRect({{0.125, 0.25}, {0.5, 0.25}}, kDefault),
            (CGRect{{37.5, 60}, {150, 30}}));
  const CGRect rounded = ZQVisionRecognizer::getConvertedRect({{0, 0}, {1, 1}}, {1, 93});
  EXPECT_EQ(rounded.size.height, 92) << "the fitted height falls just below 93";
  EXPECT_EQ(ZQVisionRecognizer::getConvertedRect({{0, 0}, {1, 1}}, {0, 0}), CGRect());
  EXPECT_EQ(ZQVisionRecognizer::getConvertedRect({{0, 0}, {1, 1}}, {1e18, 1e18}), CGRect());
}

class Detections : public testing::Test {
 protected:
  void recognize(CGPoint click) {
    platform->time().pass(700ms);
    recognizer.recognize({nullptr, 1920, 1080, 7680}, click, [&](const auto& t, const auto& r, CGPoint p) {
      ++calls;
      texts = t;
      rectangles = r;
      point = p;
    });
  }
  std::shared_ptr<port::ScriptedPlatform> platform = std::make_shared<port::ScriptedPlatform>();
  ZQVisionRecognizer recognizer{platform};
  int calls = 0;
  std::vector<ZQTextDetection> texts;
  std::vector<ZQRectangleDetection> rectangles;
  CGPoint point;
};

TEST_F(Detections, KnowWhetherTheyHoldTheClick) {
  // In the rectangle around the click: (150, 60) is at the minimum corner of the one and the maximum of the other.
  platform->recognition().setAnswer(std::vector<port::TextObservation>{
      {{"after"}, {{0.5, 0.25}, {0.25, 0.25}}}, {{"before"}, {{0.25, 0.5}, {0.25, 0.25}}}, {{}, {{0, 0}, {1, 1}}}});
  recognize({960, 540});
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(point, (CGPoint{150, 60}));
  ASSERT_EQ(texts.size(), 3U);
  EXPECT_TRUE(texts[0].containsClickPoint);
  EXPECT_FALSE(texts[1].containsClickPoint);
  EXPECT_EQ(texts[2], ZQTextDetection()) << "no candidate";
  ASSERT_EQ(rectangles.size(), 4U);
  EXPECT_EQ(rectangles[0].box, (CGRect{{0, 0}, kDefault}));
  EXPECT_FALSE(rectangles[0].containsClickPoint);
  EXPECT_TRUE(rectangles[3].containsClickPoint);
}

TEST_F(Detections, AnEmptyAnswerStillHasTheWholeRectangle) {
  recognize({960, 540});
  EXPECT_TRUE(texts.empty());
  EXPECT_EQ(rectangles.size(), 1U);
}

}  // namespace
}  // namespace zqlogging
