#include "ocr/TesseractTextRecognition.h"

#include <chrono>
#include <cmath>
#include <exception>
#include <optional>
#include <utility>

#include "ocr/LineReading.h"

namespace zqlogging::ocr {
namespace {

using Clock = std::chrono::steady_clock;

/// English in a request, and in the names of Tesseract's data.
constexpr const char* kRequestLanguage = "en";
constexpr const char* kDataLanguage = "eng";

constexpr std::chrono::milliseconds kBudget{120};
/// What is looked at around a focus: no more could be read in the time.
constexpr CGSize kWindow = {2048, 1024};
/// Larger pictures are taken apart in bands of about so many pixels, which overlap by more than a line is high.
constexpr int kBandPixels = 512 * 1024;
constexpr int kBandOverlap = 64;
/// The mean confidence of its letters below which something is no text.
constexpr double kMinConfidence = 80;

struct FoundText {
  std::string text;
  PixelBox box;
};

double distanceTo(const PixelBox& box, CGPoint point) {
  const double x = std::max({box.x - point.x, point.x - box.right(), 0.0});
  const double y = std::max({box.y - point.y, point.y - box.bottom(), 0.0});
  return std::hypot(x, y);
}

Plane<Colour> coloursOf(const Bitmap& picture, int firstRow, int rows) {
  Plane<Colour> colours(picture.width, rows);
  const std::uint8_t* pixel = &picture.pixels[static_cast<std::size_t>(firstRow) * picture.width * 4];
  for (Colour& colour : colours.pixels) {
    colour = {pixel[0], pixel[1], pixel[2]};
    pixel += 4;
  }
  return colours;
}

/// Some rows of a picture, and those of them whose lines are taken from here rather than from the next band.
struct Band {
  int begin, end;
  int ownBegin, ownEnd;
};

std::vector<Band> bandsOf(const Bitmap& picture) {
  const int rows = std::max(3 * kBandOverlap, kBandPixels / picture.width);
  std::vector<Band> bands;
  for (int begin = 0;; begin += rows - kBandOverlap) {
    const bool last = begin + rows >= picture.height;
    const int end = last ? picture.height : begin + rows;
    bands.push_back({begin, end, begin == 0 ? 0 : begin + kBandOverlap / 2, last ? end : end - kBandOverlap / 2});
    if (last) {
      return bands;
    }
  }
}

/// From top to bottom, and from left to right in each row.
void putInReadingOrder(std::vector<FoundText>& texts) {
  std::sort(texts.begin(), texts.end(), [](const FoundText& a, const FoundText& b) {
    return 2 * a.box.y + a.box.height < 2 * b.box.y + b.box.height;
  });
  for (auto begin = texts.begin(); begin != texts.end();) {
    const auto end = std::find_if(begin, texts.end(), [&](const FoundText& text) {
      return commonRows(begin->box, text.box) * 2 < std::min(begin->box.height, text.box.height);
    });
    std::sort(begin, end, [](const FoundText& a, const FoundText& b) { return a.box.x < b.box.x; });
    begin = end;
  }
}

/// Reads the lines of one picture.
class PictureReader {
 public:
  PictureReader(TesseractEngine& engine, const Bitmap& picture, std::optional<CGPoint> focus,
                Clock::time_point deadline)
      : engine_(engine), picture_(picture), focus_(focus), deadline_(deadline) {}

  std::vector<FoundText> read() {
    std::vector<Band> bands = bandsOf(picture_);
    if (focus_) {
      const auto distance = [&](const Band& band) {
        return distanceTo({0, band.ownBegin, picture_.width, band.ownEnd - band.ownBegin}, *focus_);
      };
      std::stable_sort(bands.begin(), bands.end(),
                       [&](const Band& a, const Band& b) { return distance(a) < distance(b); });
    }
    for (const Band& band : bands) {
      if (isOver()) {
        break;
      }
      readBand(band);
    }
    putInReadingOrder(texts_);
    return std::move(texts_);
  }

 private:
  [[nodiscard]] bool isOver() const { return focus_ && linesRead_ > 0 && Clock::now() >= deadline_; }

  void readBand(const Band& band) {
    const Segmentation found = findLines(coloursOf(picture_, band.begin, band.end - band.begin));
    std::vector<const TextLine*> lines;
    for (const TextLine& line : found.lines) {
      const int middle = band.begin + line.box.y + line.box.height / 2;
      if (middle >= band.ownBegin && middle < band.ownEnd) {
        lines.push_back(&line);
      }
    }
    if (focus_) {
      const CGPoint focus = {focus_->x, focus_->y - band.begin};
      std::stable_sort(lines.begin(), lines.end(), [&](const TextLine* a, const TextLine* b) {
        return distanceTo(a->box, focus) < distanceTo(b->box, focus);
      });
    }
    for (const TextLine* line : lines) {
      if (isOver()) {
        return;
      }
      ++linesRead_;
      std::string text = textOf(found, *line);
      if (text.empty()) {
        continue;
      }
      texts_.push_back({std::move(text), {line->box.x, band.begin + line->box.y, line->box.width, line->box.height}});
    }
  }

  std::string textOf(const Segmentation& found, const TextLine& line) {
    const std::vector<Symbol> symbols = engine_.read(drawLine(found, line));
    double confidence = 0;
    for (const Symbol& symbol : symbols) {
      confidence += symbol.confidence;
    }
    if (confidence < kMinConfidence * static_cast<double>(symbols.size())) {
      return {};
    }
    return readLine(symbols, findGlyphs(found, line), line);
  }

  TesseractEngine& engine_;
  const Bitmap& picture_;
  std::optional<CGPoint> focus_;
  Clock::time_point deadline_;
  int linesRead_ = 0;
  std::vector<FoundText> texts_;
};

/// The edges of an image's pixels: rendering rounds its extent outward.
struct PixelEdges {
  double left, top;
  explicit PixelEdges(CGRect extent)
      : left(std::floor(extent.origin.x)), top(std::ceil(extent.origin.y + extent.size.height)) {}
};

/// A box of the rendered part, normalized to the whole image (origin lower-left).
CGRect normalized(const PixelBox& box, PixelEdges edges, CGRect extent) {
  const auto part = [](double value, double origin, double size) {
    return std::clamp((value - origin) / size, 0.0, 1.0);
  };
  const double left = part(edges.left + box.x, extent.origin.x, extent.size.width);
  const double right = part(edges.left + box.right(), extent.origin.x, extent.size.width);
  const double bottom = part(edges.top - box.bottom(), extent.origin.y, extent.size.height);
  const double top = part(edges.top - box.y, extent.origin.y, extent.size.height);
  return {{left, bottom}, {right - left, top - bottom}};
}

}  // namespace

TesseractTextRecognition::TesseractTextRecognition() : engine_(kDataLanguage) {}

port::TextAnswer TesseractTextRecognition::recognize(const port::Image& image, const port::TextRequest& request) {
  const Clock::time_point deadline = Clock::now() + kBudget;
  if (std::find(request.languages.begin(), request.languages.end(), kRequestLanguage) == request.languages.end()) {
    return port::TextRequestFailed{"only English ('en') can be recognized"};
  }
  try {
    const CGRect extent = image.extent();
    std::optional<CGPoint> focus = request.focus;
    if (focus && !(std::isfinite(focus->x) && std::isfinite(focus->y))) {
      focus.reset();
    }
    port::Image part = image;
    if (focus) {  // from here on with the image's origin, and inside the image
      focus = {extent.origin.x + std::clamp(focus->x, 0.0, extent.size.width),
               extent.origin.y + extent.size.height - std::clamp(focus->y, 0.0, extent.size.height)};
      part = image.cropped({{focus->x - kWindow.width / 2, focus->y - kWindow.height / 2}, kWindow});
    }
    const Bitmap picture = part.render();
    if (picture.width <= 0 || picture.height <= 0) {
      return std::vector<port::TextObservation>();
    }
    const PixelEdges edges(part.extent());
    if (focus) {
      focus = {focus->x - edges.left, edges.top - focus->y};
    }
    std::vector<port::TextObservation> observations;
    for (FoundText& found : PictureReader(engine_, picture, focus, deadline).read()) {
      observations.push_back({{std::move(found.text)}, normalized(found.box, edges, extent)});
    }
    return observations;
  } catch (const std::exception& error) {
    return port::TextRequestFailed{error.what()};
  }
}

}  // namespace zqlogging::ocr
