#include <gmock/gmock.h>
#include <rapidjson/document.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "support/TemporaryHome.h"
#include "support/TextPicture.h"

namespace zqlogging::testing {
namespace {

using test::TextPicture;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// `zqlog recognize`, run in a folder of its own with pictures in it.
class RecognizeTest : public ::testing::Test {
 protected:
  RecognizeTest() {
    TextPicture dialog(300, 120);
    okBox = dialog.write("Apply", 20, 80);
    dialog.write("Close this window?", 20, 20);
    dialog.save(path("dialog.png"));
    TextPicture(300, 120).save(path("blank.png"));
    write("broken.png", "no picture");
  }

  [[nodiscard]] std::string path(const std::string& name) const { return (home.path() / name).string(); }
  void write(const std::string& name, const std::string& text) const { std::ofstream(path(name)) << text; }
  [[nodiscard]] std::string textOf(const std::string& name) const {
    std::ifstream file(path(name));
    return {std::istreambuf_iterator<char>(file), {}};
  }

  /// Answers the exit status; what was printed is in `lines` and `errors`.
  int recognize(const std::string& arguments, const std::string& environment = "") {
    const std::string command =
        "cd '" + home.path().string() + "' && " + environment + " " ZQLOG " recognize " + arguments + " >out 2>err";
    const int status = std::system(command.c_str());
    lines.clear();
    std::istringstream output(textOf("out"));
    for (std::string line; std::getline(output, line);) {
      lines.emplace_back().Parse(line.c_str());
    }
    errors = textOf("err");
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  [[nodiscard]] std::vector<std::string> textsOf(std::size_t line) const {
    std::vector<std::string> texts;
    for (const auto& text : lines.at(line)["texts"].GetArray()) {
      texts.emplace_back(text["string"].GetString() +
                         std::string(text["containsClickPoint"].GetBool() ? " (here)" : ""));
    }
    return texts;
  }

  TemporaryHome home{"XDG_CACHE_HOME"};
  ocr::PixelBox okBox;
  std::vector<rapidjson::Document> lines;
  std::string errors;
};

TEST_F(RecognizeTest, PrintsALineForEachPicture) {
  EXPECT_EQ(recognize("dialog.png blank.png"), 0);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_STREQ(lines[0]["file"].GetString(), "dialog.png");
  EXPECT_GT(lines[0]["milliseconds"].GetDouble(), 0);
  ASSERT_THAT(textsOf(0), ElementsAre("Close this window?", "Apply"));
  const auto box = lines[0]["texts"][1]["box"].GetArray();
  const int expected[] = {okBox.x, okBox.y, okBox.width, okBox.height};
  for (rapidjson::SizeType i = 0; i < 4; ++i) {
    EXPECT_NEAR(box[i].GetDouble(), expected[i], 2) << i;
  }
  EXPECT_THAT(textsOf(1), IsEmpty());
  EXPECT_THAT(errors, IsEmpty()) << "the engine is silent";
}

// Lines further from the click are read if there is time.
TEST_F(RecognizeTest, ReadsTheLineOfTheClickFirst) {
  EXPECT_EQ(recognize("--click 30,85 dialog.png blank.png"), 0);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_THAT(textsOf(0), Contains("Apply (here)"));
  EXPECT_THAT(textsOf(1), IsEmpty());
}

TEST_F(RecognizeTest, TakesEachPicturesClickPointFromAList) {
  write("clicks.json", R"([{"id": "blank", "click": [1, 2]}, {"id": "dialog", "click": [40.5, 28], "more": 1}])");
  EXPECT_EQ(recognize("--click-from clicks.json dialog.png blank.png"), 0);
  EXPECT_THAT(textsOf(0), Contains("Close this window? (here)"));
}

TEST_F(RecognizeTest, APictureThatCannotBeReadIsNamedAndTheOthersGoOn) {
  // A header alone, of a picture of 300,000 × 300,000 pixels.
  const char enormous[] =
      "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\4\x93\xe0\0\4\x93\xe0\10\2\0\0\0\x8c\xd6\x33\xc7\0\0\0\0IDAT\x35\xaf\x06\x1e";
  write("enormous.png", {enormous, sizeof enormous - 1});
  EXPECT_EQ(recognize("broken.png enormous.png missing.png dialog.png"), 1);
  EXPECT_THAT(errors, HasSubstr("enormous.png: cannot be read: it has more than 100 million pixels"));
  EXPECT_THAT(errors, HasSubstr("broken.png"));
  EXPECT_THAT(errors, HasSubstr("missing.png"));
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_THAT(textsOf(0), ElementsAre("Close this window?", "Apply"));
  write("clicks.json", R"([{"id": "dialog", "click": [40, 28]}])");
  EXPECT_EQ(recognize("--click-from clicks.json blank.png dialog.png"), 1);
  EXPECT_THAT(errors, HasSubstr("blank.png: has no click point in clicks.json"));
  EXPECT_EQ(lines.size(), 1U);
}

TEST_F(RecognizeTest, AListOfClickPointsAtFaultIsSaidToBe) {
  const std::array<std::pair<const char*, const char*>, 5> cases = {
      {{"[{]", "clicks.json: no JSON at byte 2"},
       {"{}", "clicks.json: is no list"},
       {"[7]", "clicks.json: entry 0 is no object"},
       {R"([{"click": [1, 2]}])", "entry 0 has no \"id\""},
       {R"([{"id": "a", "click": [1]}])", "entry 0 has no \"click\": [x, y]"}}};
  for (const auto& [text, message] : cases) {
    write("clicks.json", text);
    EXPECT_EQ(recognize("--click-from clicks.json dialog.png"), 2) << text;
    EXPECT_THAT(errors, HasSubstr(message));
  }
  EXPECT_EQ(recognize("--click-from nowhere.json dialog.png"), 2);
  EXPECT_THAT(errors, HasSubstr("nowhere.json: cannot be read"));
}

TEST_F(RecognizeTest, SavesWhatItHasCutOut) {
  EXPECT_EQ(recognize("--save cut/outs dialog.png"), 0);
  // Recognized once more, the picture of a text says the same.
  EXPECT_EQ(recognize("cut/outs/dialog-1.png cut/outs/dialog-2.png"), 0);
  EXPECT_THAT(textsOf(0), ElementsAre("Close this window?"));
  EXPECT_THAT(textsOf(1), ElementsAre("Apply"));
}

TEST_F(RecognizeTest, WithoutLanguageDataItSaysSo) {
  EXPECT_EQ(recognize("dialog.png", "TESSDATA_PREFIX=/nowhere"), 1);
  EXPECT_THAT(errors, HasSubstr("/nowhere"));
  EXPECT_THAT(lines, IsEmpty());
}

}  // namespace
}  // namespace zqlogging::testing
