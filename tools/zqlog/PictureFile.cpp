#include "PictureFile.h"

#include <png.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

/// Larger than any screen; a small file can claim to hold more than there is memory.
constexpr std::size_t kMostPixels = 100'000'000;

/// libpng's simplified interface, whose memory must be given back whatever happens.
struct Png : png_image {
  Png() : png_image{} { version = PNG_IMAGE_VERSION; }
  Png(const Png&) = delete;
  Png& operator=(const Png&) = delete;
  ~Png() { png_image_free(this); }
};

std::runtime_error fault(const std::string& path, const char* doing, const char* what) {
  return std::runtime_error(path + ": cannot be " + doing + ": " + what);
}

}  // namespace

zqlogging::PixelBuffer readPicture(const std::string& path) {
  Png png;
  if (!png_image_begin_read_from_file(&png, path.c_str())) {
    throw fault(path, "read", png.message);
  }
  png.format = PNG_FORMAT_BGR;
  const auto pixelCount = static_cast<std::size_t>(png.width) * png.height;
  if (pixelCount > kMostPixels) {
    throw fault(path, "read", "it has more than 100 million pixels");
  }
  std::vector<std::uint8_t> colours(pixelCount * 3);
  const png_color white = {255, 255, 255};
  if (!png_image_finish_read(&png, &white, colours.data(), 0, nullptr)) {
    throw fault(path, "read", png.message);
  }

  const auto pixels = std::make_shared<std::vector<std::uint8_t>>(pixelCount * 4, std::uint8_t{255});
  for (std::size_t i = 0; i < pixelCount; ++i) {
    for (std::size_t channel = 0; channel < 3; ++channel) {
      (*pixels)[4 * i + channel] = colours[3 * i + channel];
    }
  }
  zqlogging::PixelBuffer picture;
  picture.pixels = std::shared_ptr<const std::uint8_t>(pixels, pixels->data());
  picture.width = static_cast<int>(png.width);
  picture.height = static_cast<int>(png.height);
  picture.bytesPerRow = static_cast<std::size_t>(png.width) * 4;
  return picture;
}

void writePicture(const std::string& path, const zqlogging::Bitmap& picture) {
  Png png;
  png.width = static_cast<png_uint_32>(picture.width);
  png.height = static_cast<png_uint_32>(picture.height);
  png.format = PNG_FORMAT_BGRA;
  if (!png_image_write_to_file(&png, path.c_str(), 0, picture.pixels.data(), 0, nullptr)) {
    throw fault(path, "written", png.message);
  }
}
