#include <gmock/gmock.h>

#include <cstdlib>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "ocr/LineSegmentation.h"
#include "support/TextPicture.h"

namespace zqlogging::ocr {

static void PrintTo(const PixelBox& box, std::ostream* out) {
  *out << '[' << box.x << ", " << box.y << ", " << box.width << ", " << box.height << ']';
}

namespace {

using test::kBlack;
using test::kWhite;
using test::Rgb;
using test::TextPicture;
using test::TextStyle;
using testing::IsEmpty;

/// The same box, but for a faint pixel at an edge.
MATCHER_P(IsNearly, box, testing::PrintToString(box)) {
  return std::abs(arg.x - box.x) <= 1 && std::abs(arg.y - box.y) <= 1 && std::abs(arg.right() - box.right()) <= 1 &&
         std::abs(arg.bottom() - box.bottom()) <= 1;
}

std::vector<PixelBox> boxesIn(const TextPicture& picture) {
  std::vector<PixelBox> boxes;
  for (const TextLine& line : findLines(picture.colours()).lines) {
    boxes.push_back(line.box);
  }
  return boxes;
}

TEST(LineSegmentation, FindsALineWhateverItsColours) {
  constexpr Rgb kBlue = {0.2, 0.4, 0.8}, kDark = {0.15, 0.15, 0.17}, kPale = {0.9, 0.9, 0.9};
  struct {
    const char* name;
    Rgb surface;
    TextStyle style;
  } cases[] = {{"dark on light", kWhite, {}},
               {"light on dark", kDark, {"DejaVu Sans", 13, kPale}},
               {"white on blue", kBlue, {"DejaVu Sans", 13, kWhite}},
               {"blue on white", kWhite, {"DejaVu Sans", 13, kBlue}},
               {"a disabled item", kPale, {"DejaVu Sans", 13, {0.6, 0.6, 0.6}}},
               {"colours of the same brightness", {0.8, 0.25, 0.2}, {"DejaVu Sans", 13, {0.1, 0.5, 0.3}}},
               {"smoothed by sub-pixels", kWhite, {"DejaVu Sans", 13, kBlack, CAIRO_ANTIALIAS_SUBPIXEL}},
               {"not smoothed", kWhite, {"DejaVu Sans", 13, kBlack, CAIRO_ANTIALIAS_NONE}},
               {"small", kWhite, {"DejaVu Sans", 9, kBlack}},
               {"large", kWhite, {"DejaVu Serif", 26, kBlack}},
               {"bold", kWhite, {"DejaVu Sans Bold", 14, kBlack}}};
  for (const auto& [name, surface, style] : cases) {
    TextPicture picture(300, 60, surface);
    const PixelBox ink = picture.write("Properties of type", 12, 14, style);
    EXPECT_THAT(boxesIn(picture), testing::ElementsAre(IsNearly(ink))) << name;
  }
}

TEST(LineSegmentation, FindsALineOnASurfaceThatChangesItsColour) {
  TextPicture gradient(300, 60);
  for (int y = 0; y < 60; ++y) {
    gradient.fill(0, y, 300, 1, {0.95 - y * 0.006, 0.95 - y * 0.006, 0.9});
  }
  const PixelBox ink = gradient.write("Shaded title bar", 12, 20);
  EXPECT_THAT(boxesIn(gradient), testing::ElementsAre(IsNearly(ink)));

  TextPicture list(300, 90);  // the middle row is selected
  list.fill(0, 30, 300, 30, {0.2, 0.4, 0.8});
  const PixelBox above = list.write("Documents", 10, 7);
  const PixelBox selected = list.write("Downloads", 10, 37, {"DejaVu Sans", 13, kWhite});
  const PixelBox below = list.write("Pictures", 10, 67);
  EXPECT_THAT(boxesIn(list), testing::UnorderedElementsAre(IsNearly(above), IsNearly(selected), IsNearly(below)));
}

TEST(LineSegmentation, JoinsTheWordsOfALineAndKeepsLinesApart) {
  const auto draw = [](const std::function<std::vector<PixelBox>(TextPicture&)>& what) {
    TextPicture picture(300, 120);
    const std::vector<PixelBox> expected = what(picture);
    std::vector<testing::Matcher<PixelBox>> matchers;
    for (const PixelBox& box : expected) {
      matchers.emplace_back(IsNearly(box));
    }
    EXPECT_THAT(boxesIn(picture), testing::UnorderedElementsAreArray(matchers));
  };
  constexpr Rgb kGray = {0.6, 0.6, 0.6};
  {
    SCOPED_TRACE("two rows close to each other, letters above and below the line");
    draw([](TextPicture& p) {
      return std::vector{p.write("Copying jpg files", 10, 10), p.write("to the folder beyond", 10, 26)};
    });
  }
  {
    SCOPED_TRACE("columns");
    draw([](TextPicture& p) { return std::vector{p.write("Name", 10, 10), p.write("Size", 90, 10)}; });
  }
  {
    SCOPED_TRACE("words with a rule between them");
    draw([&](TextPicture& p) {
      const PixelBox left = p.write("Back", 10, 10);
      p.fill(left.right() + 3, 4, 1, 26, kGray);
      return std::vector{left, p.write("Next", left.right() + 8, 10)};
    });
  }
  {
    SCOPED_TRACE("a bordered button");
    draw([&](TextPicture& p) {
      p.frame(8, 8, 80, 26, kGray);
      return std::vector{p.write("Cancel", 20, 13)};
    });
  }
  {
    SCOPED_TRACE("an icon before the text");
    draw([](TextPicture& p) {
      p.frame(10, 11, 17, 17, {0.8, 0.2, 0.2});
      p.fill(14, 15, 9, 9, {0.8, 0.2, 0.2});
      return std::vector{p.write("Delete", 33, 12)};
    });
  }
  {
    SCOPED_TRACE("a round icon of the letters' colour");
    draw([](TextPicture& p) {
      p.disc(18, 20, 7, kBlack);
      p.disc(18, 20, 5, kWhite);
      return std::vector{p.write("Search", 30, 12)};
    });
  }
  {
    SCOPED_TRACE("words on different surfaces");
    draw([](TextPicture& p) {
      const PixelBox left = p.write("Files", 10, 10);
      p.fill(left.right() + 4, 0, 100, 40, {0.86, 0.92, 1});
      return std::vector{left, p.write("Edit", left.right() + 9, 10)};
    });
  }
  {
    SCOPED_TRACE("a text cursor");
    draw([](TextPicture& p) {
      p.fill(200, 80, 2, 12, kBlack);
      return std::vector{p.write("Options", 10, 10)};
    });
  }
  {
    SCOPED_TRACE("an underline is no part of the text, nor does it hide it");
    draw([](TextPicture& p) {
      const PixelBox ink = p.write("Learn more", 10, 10);
      p.fill(ink.x, ink.bottom() + 2, ink.width, 1, kBlack);
      return std::vector{ink};
    });
  }
}

TEST(LineSegmentation, FindsNothingWhereNothingIsWritten) {
  EXPECT_THAT(boxesIn(TextPicture(1, 1)), IsEmpty());
  EXPECT_THAT(boxesIn(TextPicture(300, 1)), IsEmpty());
  EXPECT_THAT(boxesIn(TextPicture(300, 120)), IsEmpty());
  TextPicture shapes(300, 120);
  shapes.frame(5, 5, 120, 60, kBlack);
  shapes.fill(140, 20, 100, 40, {0.2, 0.4, 0.8});
  shapes.disc(40, 90, 9, kBlack);
  shapes.fill(60, 90, 200, 1, kBlack);
  EXPECT_THAT(boxesIn(shapes), IsEmpty());
  TextPicture pattern(300, 120);
  for (int y = 0; y < 120; y += 2) {
    for (int x = y / 2 % 2 * 2; x < 300; x += 4) {
      pattern.fill(x, y, 2, 2, kBlack);
    }
  }
  EXPECT_THAT(boxesIn(pattern), IsEmpty());
}

}  // namespace
}  // namespace zqlogging::ocr
