#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "platform/Image.h"

namespace zqlogging::port {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// A frame whose pixels say where they are: blue is the column, green the row from the top. The bytes between the rows
/// say that they are none.
PixelBuffer frame(int width, int height, std::size_t padding = 0) {
  const std::size_t stride = 4 * static_cast<std::size_t>(width) + padding;
  const auto bytes = std::make_shared<std::vector<std::uint8_t>>(stride * static_cast<std::size_t>(height), 0xEE);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      std::uint8_t* pixel = bytes->data() + static_cast<std::size_t>(y) * stride + 4 * static_cast<std::size_t>(x);
      pixel[0] = static_cast<std::uint8_t>(x);
      pixel[1] = static_cast<std::uint8_t>(y);
      pixel[2] = 7;
      pixel[3] = 255;
    }
  }
  return {{bytes, bytes->data()}, width, height, stride};
}

/// Columns of the first row and rows of the first column, as the pixels say.
struct Places {
  std::vector<int> columns, rows;
  friend bool operator==(const Places&, const Places&) = default;
};

Places placesIn(const Bitmap& bitmap) {
  Places places;
  for (int x = 0; x < bitmap.width; ++x) {
    places.columns.push_back(bitmap.pixels[4 * static_cast<std::size_t>(x)]);
  }
  for (int y = 0; y < bitmap.height; ++y) {
    places.rows.push_back(bitmap.pixels[4 * static_cast<std::size_t>(y) * static_cast<std::size_t>(bitmap.width) + 1]);
  }
  return places;
}

TEST(Image, RendersThePartThatItDescribes) {
  const Image image(frame(6, 4, 3));  // rows need not be aligned
  struct {
    const char* name;
    Image part;
    Places places;
  } cases[] = {
      {"all of it", image, {{0, 1, 2, 3, 4, 5}, {0, 1, 2, 3}}},
      {"a part, from the lower left", image.cropped({{1, 0}, {2, 1}}), {{1, 2}, {3}}},
      {"clipped to the frame", image.cropped({{4, 2}, {100, 100}}), {{4, 5}, {0, 1}}},
      {"fractions of pixels count whole", image.cropped({{1.5, 1.5}, {1, 1}}), {{1, 2}, {1, 2}}},
      {"twice", image.cropped({{0, 0}, {5, 3}}).cropped({{3, 1}, {5, 5}}), {{3, 4}, {1, 2}}},
      {"larger", image.cropped({{2, 1}, {2, 1}}).scaled(2, 3), {{2, 2, 3, 3}, {2, 2, 2}}},
      {"smaller", image.scaled(0.5, 0.5), {{1, 3, 5}, {0, 2}}},
      {"moved", image.cropped({{2, 1}, {2, 2}}).translated(-2, -1), {{2, 3}, {1, 2}}},
      {"moved, then cut", image.translated(-3, -2).cropped({{0, 0}, {1, 1}}), {{3}, {1}}},
      {"outside", image.cropped({{50, 50}, {10, 10}}), {}},
      {"of no size", image.cropped({{1, 1}, {0, 3}}), {}},
      {"nowhere", image.cropped({{kInfinity, 0}, {3, 3}}), {}},
      {"one pixel", Image(frame(1, 1)), {{0}, {0}}},
  };
  for (const auto& [name, part, places] : cases) {
    EXPECT_EQ(placesIn(part.render()), places) << name;
  }
}

TEST(Image, WithoutPixelsRendersTheEmptyPicture) {
  const PixelBuffer good = frame(4, 4);
  const PixelBuffer bad[] = {{},
                             {nullptr, 4, 4, 16},
                             {good.pixels, 0, 4, 16},
                             {good.pixels, 4, -4, 16},
                             {good.pixels, 4, 4, 15},  // rows that overlap
                             {good.pixels, std::numeric_limits<int>::max(), 4, 16}};
  for (const PixelBuffer& buffer : bad) {
    EXPECT_EQ(Image(buffer).render(), Bitmap()) << buffer.width;
  }
  EXPECT_EQ(Image(good).scaled(1e6, 1e6).render(), Bitmap()) << "no memory is taken for what nobody can look at";
}

TEST(Image, HoldsTheFrameAndCopiesNothing) {
  PixelBuffer buffer = frame(4, 4);
  const std::weak_ptr<const std::uint8_t> pixels = buffer.pixels;
  {
    const Image image = Image(std::move(buffer)).cropped({{0, 0}, {2, 2}});
    EXPECT_EQ(pixels.use_count(), 1);
  }
  EXPECT_TRUE(pixels.expired());
}

TEST(CutOut, TakesWholePixelsInsideTheBitmap) {
  const Bitmap bitmap = Image(frame(6, 4)).render();
  EXPECT_EQ(placesIn(cutOut(bitmap, {{1, 2}, {3, 1}})), (Places{{1, 2, 3}, {2}}));
  EXPECT_EQ(placesIn(cutOut(bitmap, {{4.2, -3}, {0.9, 4.1}})), (Places{{4, 5}, {0, 1}}));
  EXPECT_EQ(placesIn(cutOut(bitmap, {{0.99999999, 2}, {3.00000002, 0.99999999}})), (Places{{1, 2, 3}, {2}}));
  EXPECT_EQ(cutOut(bitmap, {{6, 0}, {3, 3}}), Bitmap());
  EXPECT_EQ(cutOut(bitmap, {{6 - 1e-9, 0}, {3, 3}}), Bitmap());
  EXPECT_EQ(cutOut({}, {{0, 0}, {3, 3}}), Bitmap());
}

}  // namespace
}  // namespace zqlogging::port
