#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <zqlogging/zqlogging.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Commands.h"
#include "ExitCode.h"
#include "OutputLines.h"
#include "PictureFile.h"

namespace {

using zqlogging::CGPoint;

struct Options {
  std::vector<double> click;
  std::string clicksFile;
  std::string saveFolder;
  std::vector<std::string> pictures;
};

/// The points of a list [{"id": …, "click": [x, y]}, …], by id. Throws std::runtime_error that names the file.
std::map<std::string, CGPoint> readClicks(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (!file) {
    throw std::runtime_error(path + ": cannot be read");
  }
  rapidjson::Document list;
  list.Parse(text);
  if (list.HasParseError()) {
    throw std::runtime_error(path + ": no JSON at byte " + std::to_string(list.GetErrorOffset()) + ": " +
                             rapidjson::GetParseError_En(list.GetParseError()));
  }
  if (!list.IsArray()) {
    throw std::runtime_error(path + ": is no list");
  }
  std::map<std::string, CGPoint> clicks;
  for (const auto& entry : list.GetArray()) {
    const std::string place = path + ": entry " + std::to_string(&entry - list.Begin());
    if (!entry.IsObject()) {
      throw std::runtime_error(place + " is no object");
    }
    const auto id = entry.FindMember("id");
    const auto click = entry.FindMember("click");
    if (id == entry.MemberEnd() || !id->value.IsString()) {
      throw std::runtime_error(place + " has no \"id\"");
    }
    if (click == entry.MemberEnd() || !click->value.IsArray() || click->value.Size() != 2 ||
        !click->value[0].IsNumber() || !click->value[1].IsNumber()) {
      throw std::runtime_error(place + " has no \"click\": [x, y]");
    }
    clicks[id->value.GetString()] = {click->value[0].GetDouble(), click->value[1].GetDouble()};
  }
  return clicks;
}

/// Recognizes one picture and prints its line.
void recognize(zqlogging::TextRecognizer& recognizer, const std::string& path, const zqlogging::PixelBuffer& picture,
               std::optional<CGPoint> click, const std::string& saveFolder) {
  const auto start = std::chrono::steady_clock::now();
  const std::vector<zqlogging::ZQTextDetection> texts = recognizer.recognize(picture, click);
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
  printLine(recognizedLine(path, texts, time.count()));
  if (saveFolder.empty()) {
    return;
  }
  const std::string stem = std::filesystem::path(path).stem().string();
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const std::string name = stem + "-" + std::to_string(i + 1) + ".png";
    writePicture((std::filesystem::path(saveFolder) / name).string(), texts[i].image);
  }
}

int recognizeAll(const Options& options) {
  std::map<std::string, CGPoint> clicks;
  if (!options.clicksFile.empty()) {
    try {
      clicks = readClicks(options.clicksFile);
    } catch (const std::exception& error) {
      std::cerr << "zqlog: " << error.what() << '\n';
      return exitBadInput;
    }
  }
  if (!options.saveFolder.empty()) {
    std::filesystem::create_directories(options.saveFolder);
  }
  const auto desktop = zqlogging::systemDesktop();
  zqlogging::TextRecognizer recognizer(*desktop);
  recognizer.prepare();
  int exitCode = exitDone;
  for (const std::string& path : options.pictures) {
    zqlogging::PixelBuffer picture;
    std::optional<CGPoint> click;
    try {
      picture = readPicture(path);
      if (options.click.size() == 2) {
        click = CGPoint{options.click[0], options.click[1]};
      }
      if (!options.clicksFile.empty()) {
        const auto found = clicks.find(std::filesystem::path(path).stem().string());
        if (found == clicks.end()) {
          throw std::runtime_error(path + ": has no click point in " + options.clicksFile);
        }
        click = found->second;
      }
    } catch (const std::exception& error) {
      std::cerr << "zqlog: " << error.what() << '\n';
      exitCode = exitFailed;
      continue;
    }
    recognize(recognizer, path, picture, click, options.saveFolder);
  }
  return exitCode;
}

}  // namespace

void addRecognize(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("recognize", "Read the text in pictures");
  command->footer(
      "Prints one JSON object a picture: \"file\", \"milliseconds\" and \"texts\" in reading order, each with its\n"
      "\"string\", its \"box\" [x, y, width, height] in the picture's pixels (origin top-left) and whether that\n"
      "\"containsClickPoint\". With a click point the lines nearest to it are read first, for 0.12 s at most; without\n"
      "one the whole picture is read.\n"
      "Exit status: 0 all pictures were read; 1 some could not be, which standard error names, or text cannot be\n"
      "recognized at all; 2 the list of click points is at fault.");
  const auto options = std::make_shared<Options>();
  auto* click = command->add_option("--click", options->click, "X,Y: the click point in every picture")
                    ->delimiter(',')
                    ->expected(2)
                    ->allow_extra_args(false);
  command
      ->add_option("--click-from", options->clicksFile,
                   "JSON list of {\"id\", \"click\": [x, y]}: a picture's point by its name without \".png\"")
      ->excludes(click);
  command->add_option("--save", options->saveFolder, "Folder for the pictures of the texts: NAME-1.png, NAME-2.png, …");
  command->add_option("FILE", options->pictures, "PNG pictures")->required();
  command->callback([options, &exitCode] { exitCode = recognizeAll(*options); });
}
