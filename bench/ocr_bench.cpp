// What recognizing text around a click costs, beside the same engine asked for the whole picture at three times its
// size, which is how it reads screens best without help. All on one thread.

#include <benchmark/benchmark.h>
#include <leptonica/allheaders.h>
#include <omp.h>
#include <tesseract/baseapi.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "Ratios.h"
#include "linux/LinuxTextRecognition.h"
#include "ocr/LineReading.h"
#include "ocr/TesseractEngine.h"
#include "support/TextPicture.h"

namespace zqlogging::bench {
namespace {

using test::kWhite;
using test::TextPicture;
using test::TextStyle;

constexpr int kManyRecognitions = 10000;

/// What surrounds clicks: a form, a menu, a list with a selection, a paragraph, a terminal.
const std::vector<TextPicture>& crops() {
  static const std::vector<TextPicture> all = [] {
    const TextStyle plain, light = {"DejaVu Sans", 13, kWhite}, mono = {"DejaVu Sans Mono", 12, kWhite};
    std::vector<TextPicture> crops;
    TextPicture& form = crops.emplace_back(300, 120);
    form.frame(100, 10, 180, 28, {0.6, 0.6, 0.6});
    form.write("User name:", 10, 16, plain);
    form.write("mary.oneill", 108, 16, plain);
    form.frame(100, 80, 80, 28, {0.6, 0.6, 0.6});
    form.write("Cancel", 116, 86, plain);
    form.frame(200, 80, 80, 28, {0.6, 0.6, 0.6});
    form.write("Sign in", 216, 86, plain);
    TextPicture& menu = crops.emplace_back(300, 120, test::Rgb{0.94, 0.94, 0.94});
    int y = 4;
    for (const char* entry : {"New window", "Open file...", "Save as...", "Print", "Close"}) {
      menu.write(entry, 20, y, plain);
      menu.write(std::string("Ctrl+") + entry[0], 210, y, plain);
      y += 23;
    }
    TextPicture& list = crops.emplace_back(300, 120);
    list.fill(0, 44, 300, 26, {0.2, 0.4, 0.8});
    list.write("Documents", 12, 20, plain);
    list.write("Downloads", 12, 49, light);
    list.write("14 items", 200, 49, light);
    list.write("Pictures", 12, 78, plain);
    TextPicture& paragraph = crops.emplace_back(300, 120);
    y = 6;
    for (const char* line : {"Your changes will be lost if you do not", "save them. The file has been modified by",
                             "another program since it was opened.", "Do you want to reload it now?"}) {
      paragraph.write(line, 8, y, {"DejaVu Sans", 12});
      y += 27;
    }
    TextPicture& terminal = crops.emplace_back(300, 120, test::Rgb{0.1, 0.1, 0.12});
    y = 4;
    for (const char* line : {"$ ls -l /var/log", "total 1284", "-rw-r----- 1 root adm 88210 syslog",
                             "$ tail -n 3 syslog", "kernel: usb 1-2: new device found"}) {
      terminal.write(line, 6, y, mono);
      y += 22;
    }
    return crops;
  }();
  return all;
}

LinuxTextRecognition createRecognition() {
  return {OCR_MODULE, [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); }};
}

void recognizeCrops(benchmark::State& state) {
  LinuxTextRecognition recognition = createRecognition();
  recognition.prepare();
  for (auto _ : state) {
    for (const TextPicture& crop : crops()) {
      const port::TextAnswer answer = recognition.recognize(port::Image(crop.pixels()), {});
      if (!std::holds_alternative<std::vector<port::TextObservation>>(answer)) state.SkipWithError("not recognized");
    }
  }
  state.counters["items"] = static_cast<double>(crops().size());
}
BENCHMARK(recognizeCrops)->Unit(benchmark::kMillisecond);

/// The line at the picture's middle alone, as it is answered before any other one is begun.
void recognizeTheClicksLine(benchmark::State& state) {
  ocr::TesseractEngine engine("eng");
  for (auto _ : state) {
    for (const TextPicture& crop : crops()) {
      const ocr::Segmentation found = ocr::findLines(crop.colours());
      const auto nearest = std::min_element(found.lines.begin(), found.lines.end(), [](const auto& a, const auto& b) {
        const auto distance = [](const ocr::PixelBox& box) {
          return std::hypot(std::max({box.x - 150, 150 - box.right(), 0}),
                            std::max({box.y - 60, 60 - box.bottom(), 0}));
        };
        return distance(a.box) < distance(b.box);
      });
      const std::vector<ocr::Symbol> symbols = engine.read(ocr::drawLine(found, *nearest));
      benchmark::DoNotOptimize(ocr::readLine(symbols, ocr::findGlyphs(found, *nearest), *nearest));
    }
  }
  state.counters["items"] = static_cast<double>(crops().size());
}
BENCHMARK(recognizeTheClicksLine)->Unit(benchmark::kMillisecond);

void recognizeWholeCrops(benchmark::State& state) {
  constexpr float kScale = 3;
  const int levels = omp_get_max_active_levels();
  omp_set_max_active_levels(0);
  {
    tesseract::TessBaseAPI engine;
    engine.SetVariable("debug_file", "/dev/null");
    engine.Init(nullptr, "eng", tesseract::OEM_LSTM_ONLY);
    for (auto _ : state) {
      for (const TextPicture& crop : crops()) {
        const ocr::Plane<ocr::Colour> colours = crop.colours();
        Pix* pix = pixCreate(colours.width, colours.height, 32);
        for (int y = 0; y < colours.height; ++y) {
          for (int x = 0; x < colours.width; ++x) {
            const ocr::Colour& colour = colours.at(x, y);
            pixSetRGBPixel(pix, x, y, colour.red, colour.green, colour.blue);
          }
        }
        Pix* large = pixScale(pix, kScale, kScale);
        engine.SetImage(large);
        const std::unique_ptr<char[]> text(engine.GetUTF8Text());
        benchmark::DoNotOptimize(text.get());
        pixDestroy(&large);
        pixDestroy(&pix);
      }
    }
  }
  omp_set_max_active_levels(levels);
  state.counters["items"] = static_cast<double>(crops().size());
}
BENCHMARK(recognizeWholeCrops)->Unit(benchmark::kMillisecond);

double residentMegabytes() {
  std::ifstream file("/proc/self/statm");
  double size = 0, resident = 0;
  file >> size >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

std::ptrdiff_t threadCount() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), std::filesystem::directory_iterator());
}

struct Footprint {
  double engine = 0;  ///< MB above a process that has not recognized
  double growth = 0;  ///< MB over many recognitions
  std::ptrdiff_t threads = 0;
};

/// To be measured before any benchmark has run.
Footprint measureFootprint() {
  Footprint footprint;
  TextPicture line(300, 120);
  line.write("Open", 100, 50);
  crops();
  const double before = residentMegabytes();
  const std::ptrdiff_t threads = threadCount();
  LinuxTextRecognition recognition = createRecognition();
  for (const TextPicture& crop : crops()) recognition.recognize(port::Image(crop.pixels()), {});
  const double loaded = residentMegabytes();
  footprint.engine = loaded - before;
  for (int i = 0; i < kManyRecognitions; ++i) {
    if (i % (kManyRecognitions / 10) == 0) std::fprintf(stderr, "\rrecognized %d of %d pictures", i, kManyRecognitions);
    recognition.recognize(port::Image(line.pixels()), {});
  }
  std::fprintf(stderr, "\r%40s\r", "");
  footprint.growth = residentMegabytes() - loaded;
  footprint.threads = std::max<std::ptrdiff_t>(0, threadCount() - threads);  // those of Pango end by themselves
  return footprint;
}

}  // namespace
}  // namespace zqlogging::bench

int main(int argc, char** argv) {
  const zqlogging::bench::Footprint footprint = zqlogging::bench::measureFootprint();
  const int status = zqlogging::bench::run(
      argc, argv,
      {{"recognize a crop (the engine on the whole, three times)", "recognizeCrops", "recognizeWholeCrops", 0.6},
       {"the click's own line (all lines)", "recognizeTheClicksLine", "recognizeCrops", 0.25}});
  std::printf("%-58s %7.1f MB %16.1f\n", "memory that recognition takes", footprint.engine, 45.0);
  std::printf("%-58s %7.1f MB %16.1f\n", "memory that 10,000 recognitions take beyond that", footprint.growth, 1.0);
  std::printf("%-58s %7td %19d\n", "threads started", footprint.threads, 0);
  return status;
}
