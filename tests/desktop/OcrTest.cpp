#include <gmock/gmock.h>

#include <algorithm>

#include "Recorded.h"

namespace zqlogging::testing {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class OcrTest : public Recorded {
 protected:
  /// Clicks at a place of the canvas; answers the texts of the press, the one under the pointer marked.
  std::vector<std::string> clickAt(Reader& recorder, CGPoint place) {
    const CGPoint origin = frameOf(canvas()).origin;
    input.click({origin.x + place.x, origin.y + place.y});
    const auto press = next(recorder, "onClick");
    next(recorder, "onClick");
    EXPECT_TRUE(press["onClick"]["down"].GetBool());
    EXPECT_EQ(textAt(press, "/onClick/path").find("Application:canvas_app -> Window:Canvas"), 0U);
    std::vector<std::string> texts;
    for (const auto& text : press["onClick"]["texts"].GetArray()) {
      const bool here = text["containsClickPoint"].GetBool();
      texts.emplace_back(text["string"].GetString() + std::string(here ? " (here)" : ""));
    }
    return texts;
  }
  port::ElementRef canvas() {
    const auto window = find(app, "AXWindow", "Canvas");
    return window && !childrenOf(window).empty() ? childrenOf(window).front() : nullptr;
  }
  void openCanvas() {
    sample = std::make_unique<Program>(std::vector<std::string>{CANVAS_APP});
    app = desktop.accessibility().createApplicationElement(sample->pid());
    // Its window manager has moved it, and it has drawn itself: the next click gets an answer from where it is.
    ASSERT_TRUE(eventually([this] { return canvas() && frameOf(canvas()).origin.x >= 500; }));
  }
};

TEST_F(OcrTest, AClickOnTextThatIsOnlyDrawnIsRecordedWithIt) {
  openCanvas();
  const auto recorder = record({"--ocr"});
  // There is no recognition within 0.7 s of the last one, or of the start; and the window may not be drawn yet.
  std::vector<std::string> texts;
  eventually([&] {
    texts = clickAt(*recorder, {60, 68});
    return std::any_of(texts.begin(), texts.end(), [](const std::string& text) { return text.ends_with("(here)"); });
  });
  EXPECT_THAT(texts, Contains("Merge down (here)"));
  EXPECT_TRUE(eventually([&] { return recordFile().find("Merge down)") != std::string::npos; }))
      << "the path in the record";
}

TEST_F(OcrTest, WithoutLanguageDataItIsSaidAndClicksAreRecorded) {
  openCanvas();
  setenv("TESSDATA_PREFIX", "/nowhere", 1);
  const auto recorder = record({"--ocr"});
  unsetenv("TESSDATA_PREFIX");
  EXPECT_THAT(contentOf(traceFile()), HasSubstr("text is not recognized"));
  EXPECT_THAT(clickAt(*recorder, {60, 68}), IsEmpty());
}

TEST_F(OcrTest, TheScreenIsNotLookedAtUnlessThatIsWanted) {
  openCanvas();
  const auto recorder = record();
  EXPECT_THAT(clickAt(*recorder, {60, 68}), IsEmpty());
}

}  // namespace
}  // namespace zqlogging::testing
