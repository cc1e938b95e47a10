#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "zqlogging/Scenario.h"

namespace zqlogging {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::vector<std::string> play(const std::string& json) {
  std::vector<std::string> lines;
  Scenario(json).play([&](const std::string& line) { lines.push_back(line); });
  return lines;
}

std::vector<std::string> playSteps(const std::string& steps, const std::string& desktop = "") {
  return play("{" + desktop + R"("steps": [)" + steps + "]}");
}

// Each example is a scenario with the exact lines that it prints beside it.
class ScenarioExampleTest : public ::testing::TestWithParam<fs::path> {};

TEST_P(ScenarioExampleTest, PlaysToExactlyTheLinesBesideIt) {
  std::ifstream scenario(GetParam());
  std::ifstream expected(fs::path(GetParam()).replace_extension(".jsonl"));
  ASSERT_TRUE(scenario && expected);
  std::vector<std::string> lines;
  for (std::string line; std::getline(expected, line);) {
    lines.push_back(line);
  }
  EXPECT_THAT(play(std::string(std::istreambuf_iterator<char>(scenario), {})), ::testing::ElementsAreArray(lines));
}

std::vector<fs::path> examples() {
  std::vector<fs::path> found;
  for (const auto& entry : fs::directory_iterator(EXAMPLES)) {
    if (entry.path().extension() == ".json") {
      found.push_back(entry.path());
    }
  }
  std::ranges::sort(found);
  return found;
}

INSTANTIATE_TEST_SUITE_P(Examples, ScenarioExampleTest, ::testing::ValuesIn(examples()), [](const auto& example) {
  std::string name = example.param.stem().string();
  std::ranges::replace(name, '-', '_');
  return name;
});

TEST(ScenarioTest, EveryFaultIsFoundBeforeAnythingRunsAndPointedAt) {
  const std::string app = R"({"applications":[{"pid":1,"element":{"id":"a","attributes":)";
  const std::string step = R"({"applications":[{"pid":1,"element":{"id":"a"}}],"steps":[{"do":"pause"},{)";
  const struct {
    std::string json;
    std::string pointer;
    std::string message;
  } cases[] = {
      {"", "", "not JSON at byte 0"},
      {R"({"steps":[]})" + std::string("\0", 1), "", "not JSON at byte 12"},
      {R"({"steps":[)", "", "not JSON at byte 10"},
      {"{\"steps\":[],\"x\":\"\xff\"}", "", "not JSON at byte 17"},
      {"[]", "", "expected an object"},
      {"{}", "/steps", "is missing"},
      {R"({"steps":{}})", "/steps", "expected an array"},
      {R"({"steps":[],"step~s/":1})", "/step~0s~1", "unknown key"},
      {R"({"steps":[],"steps":[]})", "/steps", "twice"},
      {R"({"clock":"now","steps":[]})", "/clock", "expected a number"},
      {R"({"clock":1e300,"steps":[]})", "/clock", "expected seconds"},
      {R"({"trusted":1,"steps":[]})", "/trusted", "expected true or false"},
      {R"({"defaults":{"a":1},"steps":[]})", "/defaults/a", "expected a string"},
      {R"({"screens":[{"x":0,"y":0,"width":1}],"steps":[]})", "/screens/0/height", "is missing"},
      {R"({"hits":[{"x":0,"y":0,"element":"b"}],"steps":[]})", "/hits/0/element", "no element has the id \"b\""},
      {R"({"hits":[{"x":0,"y":0}],"steps":[]})", "/hits/0", "element, none, error"},
      {R"({"hits":[{"x":0,"y":0,"none":true,"error":-1}],"steps":[]})", "/hits/0/error", "\"none\""},
      {R"({"hits":[{"x":0,"y":0,"none":false}],"steps":[]})", "/hits/0/none", "expected true"},
      {R"({"hits":[{"x":0,"y":0,"error":0}],"steps":[]})", "/hits/0/error", "success"},
      {R"({"applications":[{"element":{"id":"a"}}],"steps":[]})", "/applications/0/pid", "is missing"},
      {R"({"applications":[{"pid":1},{"pid":1}],"steps":[]})", "/applications/1/pid", "another application"},
      {R"({"applications":[{"pid":1.5}],"steps":[]})", "/applications/0/pid", "whole number"},
      {R"({"applications":[{"pid":3000000000}],"steps":[]})", "/applications/0/pid", "2147483647"},
      {R"({"applications":[{"pid":1,"name":"x"}],"steps":[]})", "/applications/0/name", "unknown key"},
      {R"({"applications":[{"pid":1,"element":{"id":"a","children":[{"id":"a"}]}}],"steps":[]})",
       "/applications/0/element/children/0/id", "another element"},
      {R"({"applications":[{"pid":1,"element":{"id":"a","role":"x"}}],"steps":[]})", "/applications/0/element/role",
       "unknown key"},
      {R"({"applications":[{"pid":1,"element":{"id":"a","actions":[1]}}],"steps":[]})",
       "/applications/0/element/actions/0", "expected a string"},
      {app + R"({"AXX":{"element":"b"}}}}],"steps":[]})", "/applications/0/element/attributes/AXX/element", "\"b\""},
      {app + R"({"AXX":{"point":[1]}}}}],"steps":[]})", "/applications/0/element/attributes/AXX/point", "2 numbers"},
      {app + R"({"AXX":{"color":1}}}}],"steps":[]})", "/applications/0/element/attributes/AXX/color", "unknown kind"},
      {app + R"({"AXX":{}}}}],"steps":[]})", "/applications/0/element/attributes/AXX", "one key"},
      {app + R"({"AXX":[1,null]}}}],"steps":[]})", "/applications/0/element/attributes/AXX/1", "null is no value"},
      {step + R"("do":"jump"}]})", "/steps/1/do", "unknown word \"jump\""},
      {step + R"("undo":"jump"}]})", "/steps/1/do", "is missing"},
      {step + R"("do":"stop","now":true}]})", "/steps/1/now", "unknown key"},
      {step + R"("do":"start"}]})", "/steps/1/session", "is missing"},
      {step + R"("do":"start","session":"S","urls":"x"}]})", "/steps/1/urls", "expected an array"},
      {step + R"("do":"local","type":-1,"x":0,"y":0}]})", "/steps/1/type", "from 0"},
      {step + R"("do":"local","type":1,"x":"nil","y":0}]})", "/steps/1/x", "nan, inf, -inf"},
      {step + R"("do":"advance","seconds":-1}]})", "/steps/1/seconds", "from 0"},
      {step + R"("do":"describe","element":"b"}]})", "/steps/1/element", "no element has the id \"b\""},
      {step + R"("do":"change","element":"a","attributes":{"AXParent":{"element":"b"}}}]})",
       "/steps/1/attributes/AXParent/element", "\"b\""},
      {step + R"("do":"activate","pid":2}]})", "/steps/1/pid", "no application has the pid 2"},
      {step + R"("do":"acknowledge","with":"later"}]})", "/steps/1/with", "known are never"},
      {step + R"("do":"set","paused":true}]})", "/steps/1/paused", "unknown key"},
      {step + R"("do":"writeFile","bytes":"0g"}]})", "/steps/1/bytes", "hexadecimal"},
      {step + R"("do":"writeFile","bytes":"0","text":""}]})", "/steps/1/bytes", "\"text\""},
      {step + R"("do":"recognizer","results":[{"text":"x"}]}]})", "/steps/1/results/0/box", "is missing"},
  };
  for (const auto& c : cases) {
    try {
      const Scenario scenario(c.json);
      ADD_FAILURE() << "accepted: " << c.json;
    } catch (const ScenarioError& fault) {
      EXPECT_EQ(fault.pointer(), c.pointer) << c.json;
      EXPECT_THAT(fault.what(), HasSubstr(c.message)) << c.json;
    }
  }
}

TEST(ScenarioTest, DeepNestingIsAFaultAndNoCrash) {
  constexpr int kLevels = 100000;
  std::string arrays;
  std::string arraysEnd;
  std::string dictionaries;
  std::string dictionariesEnd;
  std::string elements;
  std::string elementsEnd;
  for (int i = 0; i < kLevels; ++i) {
    arrays += "[";
    arraysEnd += "]";
    dictionaries += R"({"dictionary":{"k":)";
    dictionariesEnd += "}}";
    elements += R"({"id":"e)" + std::to_string(i) + R"(","children":[)";
    elementsEnd += "]}";
  }
  const std::string head = R"({"steps":[],"applications":[{"pid":1,"element":{"id":"a","attributes":{"AXX":)";
  for (const auto& json : {arrays + arraysEnd, head + arrays + "1" + arraysEnd + "}}}]}",
                           head + dictionaries + "1" + dictionariesEnd + "}}}]}",
                           R"({"steps":[],"applications":[{"pid":1,"element":)" + elements + elementsEnd + "}]}"}) {
    EXPECT_THROW(Scenario{json}, ScenarioError);
  }
}

TEST(ScenarioTest, LinesHaveSortedKeysWholeNumbersWithoutFractionAndTextAsItIs) {
  EXPECT_THAT(playSteps(R"({"do":"set","ocrDetectionSize":[12.5,80.0]}, {"do":"show","what":"service"},
                           {"do":"writeFile","bytes":"c3a92ff001"}, {"do":"show","what":"file"},
                           {"do":"show","what":"defaults"})",
                        R"("defaults": {"b": "\u00e4\"", "a": "/"},)"),
              ElementsAre(R"({"service":{"croppedFrameSize":[12.5,80],"eventId":0,"focused":null,"paused":false,)"
                          R"("processes":[],"running":false,"tiers":[],"urls":[],"watching":null}})",
                          "{\"file\":\"é/\xEF\xBF\xBD\\u0001\"}", R"({"defaults":{"a":"/","b":"ä\""}})"));
}

TEST(ScenarioTest, TheTraceSwitchIsOffBeforeAndAfterAScenario) {
  const std::string shown = R"({"do":"set","debuLogging":true}, {"do":"show","what":"service"})";
  EXPECT_THAT(playSteps(shown), ElementsAre(HasSubstr(R"("tiers":["enhancedlogging"])")));
  EXPECT_THAT(playSteps(R"({"do":"show","what":"service"})"), ElementsAre(HasSubstr(R"("tiers":[])")));
}

TEST(ScenarioTest, WhatThePrinterThrowsEndsThePlayAfterTheStepAndLeavesNothingBehind) {
  const fs::path temporary = fs::path(::testing::TempDir()) / "a-scenario-of-its-own";
  fs::create_directories(temporary);
  setenv("TMPDIR", temporary.c_str(), 1);
  Scenario scenario(
      R"({"steps":[{"do":"set","debuLogging":true},{"do":"show","what":"file"},{"do":"show","what":"file"}]})");
  int lines = 0;
  EXPECT_THROW(scenario.play([&](const std::string&) {
    ++lines;
    EXPECT_FALSE(fs::is_empty(temporary));
    throw std::runtime_error("full");
  }),
               std::runtime_error);
  unsetenv("TMPDIR");
  EXPECT_EQ(lines, 1);
  EXPECT_TRUE(fs::is_empty(temporary));
  fs::remove_all(temporary);
  EXPECT_THROW(scenario.play([](const std::string&) {}), std::logic_error) << "a scenario is played once";
}

}  // namespace
}  // namespace zqlogging
