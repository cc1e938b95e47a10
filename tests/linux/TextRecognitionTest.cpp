#include <gmock/gmock.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "linux/LinuxTextRecognition.h"
#include "support/TextPicture.h"

namespace zqlogging {
namespace {

using port::Image;
using port::TextObservation;
using port::TextRequestFailed;
using test::kBlack;
using test::kWhite;
using test::TextPicture;
using test::TextStyle;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::ptrdiff_t threadCount() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), std::filesystem::directory_iterator());
}
const std::ptrdiff_t kThreadsAtStart = threadCount();

class TextRecognitionTest : public testing::Test {
 protected:
  /// The recognized lines; a failure is a line that says so.
  std::vector<TextObservation> observe(const Image& image, std::optional<CGPoint> focus = {}) {
    port::TextRequest request;
    request.focus = focus;
    const port::TextAnswer answer = recognition.recognize(image, request);
    if (const auto* failed = std::get_if<TextRequestFailed>(&answer)) {
      return {{{"failed: " + failed->description}, {}}};
    }
    return std::get<std::vector<TextObservation>>(answer);
  }
  std::vector<std::string> read(const Image& image, std::optional<CGPoint> focus = {}) {
    std::vector<std::string> texts;
    for (const TextObservation& observation : observe(image, focus)) {
      texts.push_back(observation.candidates.at(0));
    }
    return texts;
  }
  std::vector<std::string> read(const TextPicture& picture, std::optional<CGPoint> focus = {}) {
    return read(Image(picture.pixels()), focus);
  }

  std::vector<std::string> reports;
  LinuxTextRecognition recognition{OCR_MODULE, [this](const std::string& line) { reports.push_back(line); }};
};

TEST_F(TextRecognitionTest, ReadsWhatScreensShow) {
  const char* texts[] = {"Save as PDF...",
                         "Cancel",
                         "OK",
                         "File name: report_2024.txt",
                         "Undo",
                         "Are you sure?",
                         "Zoom 125%",
                         "10:30 AM",
                         "Settings > Privacy",
                         "100 MB of 2 GB",
                         "https://example.com/",
                         "Sign in",
                         "e-mail address"};
  const TextStyle styles[] = {{"DejaVu Sans", 11},
                              {"DejaVu Sans", 13},
                              {"DejaVu Sans Bold", 13},
                              {"DejaVu Sans", 13, {0.4, 0.4, 0.4}},
                              {"DejaVu Serif", 13},
                              {"DejaVu Sans Mono", 13},
                              {"DejaVu Sans", 24},
                              {"DejaVu Sans", 32},
                              {"DejaVu Sans", 13, kBlack, CAIRO_ANTIALIAS_SUBPIXEL}};
  std::vector<std::string> misread;
  for (TextStyle style : styles) {
    for (const char* text : texts) {
      const bool dark = style.colour.red == 0 && text[0] > 'O';
      if (dark) {
        style.colour = kWhite;
      }
      TextPicture picture(560, 60, dark ? kBlack : kWhite);
      picture.write(text, 12, 10, style);
      if (dark) {
        style.colour = kBlack;
      }
      const auto lines = read(picture);
      if (lines != std::vector<std::string>{text}) {
        misread.push_back(std::string(text) + testing::PrintToString(lines));
      }
    }
  }
  const std::size_t all = std::size(texts) * std::size(styles);
  EXPECT_LE(misread.size() * 33, all) << testing::PrintToString(misread);
}

TEST_F(TextRecognitionTest, LinesStandInReadingOrderWithTheirPlaces) {
  TextPicture picture(300, 120);
  picture.write("Password", 10, 70);
  const ocr::PixelBox right = picture.write("Guest", 150, 20);
  picture.write("Account", 10, 20);
  const std::vector<TextObservation> lines = observe(Image(picture.pixels()));
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0].candidates, (std::vector<std::string>{"Account"}));
  EXPECT_EQ(lines[2].candidates, (std::vector<std::string>{"Password"}));
  const CGRect box = lines[1].boundingBox;  // normalized, from the lower left
  EXPECT_EQ(lines[1].candidates, (std::vector<std::string>{"Guest"}));
  EXPECT_NEAR(box.origin.x * 300, right.x, 1);
  EXPECT_NEAR(box.size.width * 300, right.width, 1);
  EXPECT_NEAR((1 - box.origin.y) * 120, right.bottom(), 1);
  EXPECT_NEAR(box.size.height * 120, right.height, 1);
}

TEST_F(TextRecognitionTest, LinesAcrossTheBandsOfALargePictureAreReadOnce) {
  TextPicture page(1500, 2000);
  std::vector<std::string> expected;
  for (int y = 10; y < 1980; y += 30) {
    expected.push_back(y % 60 == 10 ? "Open the folder" : "Close the window");
    page.write(expected.back(), 20, y);
  }
  EXPECT_EQ(read(page), expected);
  // Around a click only its neighbourhood counts, wherever it is.
  TextPicture huge(9000, 3000);
  huge.write("Far away", 20, 20);
  huge.write("Right here", 8800, 2900);
  EXPECT_THAT(read(huge, CGPoint{8820, 2910}), ElementsAre("Right here"));
}

TEST_F(TextRecognitionTest, PicturesOfEveryKindAreAnswered) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  TextPicture picture(300, 60);
  picture.write("Continue", 20, 20);
  const PixelBuffer frame = picture.pixels();
  const Image image(frame);
  PixelBuffer noRow = frame;
  noRow.bytesPerRow = 3;
  std::vector<std::uint8_t> shifted(61 * 1203 + 1);  // rows at odd addresses
  for (int y = 0; y < 60; ++y) {
    std::copy_n(frame.pixels.get() + static_cast<std::size_t>(y) * frame.bytesPerRow, 1200, &shifted[1 + y * 1203]);
  }
  const PixelBuffer odd = {{std::shared_ptr<void>(), &shifted[1]}, 300, 60, 1203};
  struct {
    const char* name;
    Image image;
    std::optional<CGPoint> focus;
    std::vector<std::string> texts;
  } cases[] = {{"no frame", Image({}), CGPoint{0, 0}, {}},
               {"impossible rows", Image(noRow), {}, {}},
               {"one pixel", image.cropped({{30, 30}, {1, 1}}), CGPoint{0, 0}, {}},
               {"one row", image.cropped({{0, 30}, {300, 1}}), {}, {}},
               {"nothing of it", image.cropped({{400, 0}, {50, 50}}), CGPoint{5, 5}, {}},
               {"odd strides", Image(odd), {}, {"Continue"}},
               {"a fraction of a pixel off", image.cropped({{0.5, 0.5}, {299, 59}}), CGPoint{1, 1}, {"Continue"}},
               {"twice as large", image.scaled(2, 2), {}, {"Continue"}},
               {"moved", image.translated(-1000, 77), CGPoint{10, 10}, {"Continue"}},
               {"a click outside", image, CGPoint{-500, 900}, {"Continue"}},
               {"a click nowhere", image, CGPoint{kNaN, 3}, {"Continue"}}};
  for (const auto& [name, part, focus, texts] : cases) {
    EXPECT_EQ(read(part, focus), texts) << name;
  }
}

TEST_F(TextRecognitionTest, StartsNoThread) {
  TextPicture picture(300, 60);
  picture.write("Continue with the installation", 20, 20);
  ASSERT_THAT(read(picture), ElementsAre("Continue with the installation"));
  EXPECT_EQ(threadCount(), kThreadsAtStart);
}

TEST_F(TextRecognitionTest, SaysOnceWhyThereIsNone) {
  const Image image(TextPicture(30, 30).pixels());
  const auto failsWith = [&](const std::string& module, const std::string& reason) {
    LinuxTextRecognition broken(module, [this](const std::string& line) { reports.push_back(line); });
    reports.clear();
    broken.prepare();
    for (int i = 0; i < 2; ++i) {
      const port::TextAnswer answer = broken.recognize(image, {});
      const auto* failed = std::get_if<TextRequestFailed>(&answer);
      EXPECT_TRUE(failed && failed->description.find(reason) != std::string::npos) << reason;
    }
    EXPECT_THAT(reports, ElementsAre(HasSubstr(reason)));
  };
  failsWith("/nowhere/zqlogging-ocr.so", "/nowhere/zqlogging-ocr.so: cannot open shared object file");
  failsWith("libc.so.6", "zqloggingCreateTextRecognition");
  setenv("TESSDATA_PREFIX", "/nowhere", 1);
  failsWith(OCR_MODULE, "eng");
  unsetenv("TESSDATA_PREFIX");
  EXPECT_THAT(read(image), IsEmpty()) << "others are not concerned";
}

TEST_F(TextRecognitionTest, RefusesOtherLanguages) {
  port::TextRequest request;
  request.languages = {"de"};
  const port::TextAnswer answer = recognition.recognize(Image(TextPicture(30, 30).pixels()), request);
  ASSERT_TRUE(std::holds_alternative<TextRequestFailed>(answer));
  EXPECT_THAT(std::get<TextRequestFailed>(answer).description, HasSubstr("English"));
}

}  // namespace
}  // namespace zqlogging
