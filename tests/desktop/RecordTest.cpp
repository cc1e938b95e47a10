#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <rapidjson/document.h>
#include <rapidjson/pointer.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "PrivateDesktop.h"
#include "support/TemporaryHome.h"

namespace zqlogging::testing {
namespace {

using port::ElementRef;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr std::uint32_t keyA = 'a';
constexpr std::uint32_t keyB = 'b';

/// A program whose output is read line by line.
class Reader {
 public:
  explicit Reader(const std::vector<std::string>& arguments) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    pid_ = fork();
    if (pid_ == 0) {
      dup2(ends[1], STDOUT_FILENO);
      std::vector<char*> command;
      for (const std::string& each : arguments) command.push_back(const_cast<char*>(each.c_str()));
      command.push_back(nullptr);
      execv(command[0], command.data());
      _exit(127);
    }
    close(ends[1]);
    output_ = ends[0];
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;
  ~Reader() {
    if (pid_ > 0) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
    close(output_);
  }

  /// The next line; empty at the end of the output, or when none comes for half a minute.
  std::string line() {
    constexpr int patience = 30'000;
    std::size_t end = 0;
    while ((end = unread_.find('\n')) == std::string::npos) {
      char part[65536];
      pollfd waiting{output_, POLLIN, 0};
      const ssize_t count = poll(&waiting, 1, patience) == 1 ? read(output_, part, sizeof part) : 0;
      if (count <= 0) return {};
      unread_.append(part, static_cast<std::size_t>(count));
    }
    const std::string text = unread_.substr(0, end);
    unread_.erase(0, end + 1);
    all_ += text + "\n";
    return text;
  }
  /// All that came until now.
  [[nodiscard]] const std::string& all() const { return all_; }
  void interrupt() const { kill(pid_, SIGINT); }
  int wait() {
    int status = 0;
    waitpid(std::exchange(pid_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t pid_ = -1;
  int output_ = -1;
  std::string unread_, all_;
};

std::string textAt(const rapidjson::Value& value, const char* pointer) {
  const auto* found = rapidjson::Pointer(pointer).Get(value);
  return found && found->IsString() ? found->GetString() : "";
}

class RecordTest : public ::testing::Test {
 protected:
  /// The next line that is about `what`.
  static rapidjson::Document next(Reader& reader, const char* what) {
    rapidjson::Document line;
    do {
      line.Parse(reader.line().c_str());
    } while (!line.HasParseError() && !(line.IsObject() && line.HasMember(what)));
    EXPECT_FALSE(line.HasParseError()) << "no line about " << what << " in\n" << reader.all();
    return line;
  }
  static std::unique_ptr<Reader> record(std::vector<std::string> options = {}) {
    std::vector<std::string> command{ZQLOG, "record", "--session", "TEST"};
    command.insert(command.end(), options.begin(), options.end());
    auto recorder = std::make_unique<Reader>(command);
    EXPECT_TRUE(next(*recorder, "start")["start"].GetBool());
    return recorder;
  }
  /// Opens the sample application while it is recorded, so that it is followed from its activation on.
  void openSample() {
    sample = std::make_unique<Program>(std::vector<std::string>{GTK_APP});
    app = desktop.accessibility().createApplicationElement(sample->pid());
    ASSERT_TRUE(eventually([this] { return frameOf(find(app, "AXWindow", "Sample")).origin == CGPoint{40, 60}; }));
  }
  void click(const char* role, const char* name) { click(find(app, role, name)); }
  void click(const ElementRef& element) {
    ASSERT_TRUE(element);
    input.click(middleOf(frameOf(element)));
  }
  /// Clicks into a field and waits until the recorder knows that it has the focus.
  void focusByClick(Reader& recorder, const ElementRef& field) {
    const std::size_t before = focusedFields();
    click(field);
    next(recorder, "onClick");
    next(recorder, "onClick");
    EXPECT_TRUE(eventually([&] { return focusedFields() > before; }));
  }
  /// How often a text field got the focus, by the record; applications and windows get it too.
  [[nodiscard]] std::size_t focusedFields() const {
    std::istringstream lines(recordFile());
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line);) {
      const bool isFocus = line.find("\"eventType\":\"Focus\"") != std::string::npos;
      if (isFocus && line.find("\"elementControlType\":\"TextField\"") != std::string::npos) ++count;
    }
    return count;
  }
  static std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
  }
  ElementRef password() {
    for (const ElementRef& each : childrenOf(childrenOf(find(app, "AXWindow", "Sample")).front())) {
      if (textOf(each, "AXSubrole") == "AXSecureTextField") return each;
    }
    return nullptr;
  }
  /// The events of a chunk as short texts.
  static std::vector<std::string> eventsOf(const rapidjson::Document& line) {
    std::vector<std::string> texts;
    for (const auto& event : line["onLogChunkAvailable"]["events"].GetArray()) {
      const std::string type = textAt(event, "/eventType");
      const std::string remote = event["rc"].GetBool() ? "remote " : "local ";
      if (type == "Mouse") texts.push_back(remote + "click " + textAt(event, "/eventInfo/elementInfo/name"));
      if (type == "KeyPressed") {
        texts.push_back(remote + "key '" + textAt(event, "/eventInfo/character") + "' " +
                        textAt(event, "/eventInfo/value"));
      }
    }
    return texts;
  }
  std::string recordFile() const {
    std::ifstream file(home.path() / "zqlogging" / "slog.json");
    return {std::istreambuf_iterator<char>(file), {}};
  }

  TemporaryHome home{"XDG_CACHE_HOME"};
  LinuxPlatform desktop;
  Input input;
  std::unique_ptr<Program> sample;
  ElementRef app;
};

TEST_F(RecordTest, WhatARemoteControlProgramDoesIsRecordedAndHandedOver) {
  const auto recorder = record();
  openSample();
  click("AXButton", "Press me");
  for (const bool down : {true, false}) {
    const auto line = next(*recorder, "onClick");
    EXPECT_EQ(textAt(line, "/onClick/name"), "Press me");
    EXPECT_THAT(textAt(line, "/onClick/path"), HasSubstr("Application:gtk_app -> Window:Sample"));
    EXPECT_EQ(line["onClick"]["down"].GetBool(), down);
  }
  focusByClick(*recorder, find(app, "AXTextField", "Vienna"));
  input.pressKey(keyA);
  click("AXCheckBox", "Wrap lines");
  next(*recorder, "onClick");
  next(*recorder, "onClick");
  recorder->interrupt();
  const auto chunk = next(*recorder, "onLogChunkAvailable");
  EXPECT_TRUE(chunk["onLogChunkAvailable"]["last"].GetBool());
  // Of one second no more than eleven events are handed over: what comes last may be missing.
  std::vector<std::string> events = eventsOf(chunk);
  events.resize(3);
  EXPECT_THAT(events, ElementsAre("remote click Press me", "remote click Vienna", HasSubstr("remote key 'a' ")));
  EXPECT_TRUE(next(*recorder, "stopped")["stopped"].GetBool());
  EXPECT_EQ(recorder->wait(), 0);
  EXPECT_EQ(recordFile(), "") << "what was acknowledged is deleted";
}

TEST_F(RecordTest, WhatIsTypedIntoAPasswordFieldIsNotRecorded) {
  const auto recorder = record({"--answer", "no"});
  openSample();
  focusByClick(*recorder, find(app, "AXTextField", "Vienna"));
  input.pressKey(keyA);
  focusByClick(*recorder, password());
  input.pressKey(keyB);
  click("AXCheckBox", "Wrap lines");  // is recorded after the keys
  next(*recorder, "onClick");
  next(*recorder, "onClick");
  recorder->interrupt();
  EXPECT_EQ(recorder->wait(), 0);
  const std::string records = recordFile();
  EXPECT_EQ(countOf(records, "\"character\":\"a\""), 1U);
  EXPECT_EQ(countOf(records, "\"character\":\"\""), 1U);
  EXPECT_EQ(countOf(records, "\"character\""), 2U);
  EXPECT_THAT(records, Not(HasSubstr("secret")));
}

TEST_F(RecordTest, ABlockedApplicationLeavesNoTraceInTheRecord) {
  const auto recorder = record({"--block-process", "GTK_App"});
  openSample();
  click("AXButton", "Press me");
  for (const bool down : {true, false}) {
    rapidjson::Document line;
    do {
      line = next(*recorder, "onBlackListed");
    } while (!line.HasParseError() && textAt(line, "/onBlackListed/name") != "Press me");
    EXPECT_EQ(line["onBlackListed"]["flag"].GetBool(), down);
  }
  EXPECT_EQ(recordFile(), "");
  recorder->interrupt();
  EXPECT_EQ(next(*recorder, "onLogChunkAvailable")["onLogChunkAvailable"]["events"].Size(), 0U);
  EXPECT_EQ(recorder->wait(), 0);
}

TEST_F(RecordTest, WhatIsNotAcknowledgedComesAgainWithTheNextSession) {
  {
    const auto recorder = record({"--answer", "no"});
    openSample();
    click("AXButton", "Press me");
    next(*recorder, "onClick");
    next(*recorder, "onClick");
    recorder->interrupt();
    EXPECT_FALSE(next(*recorder, "stopped")["stopped"].GetBool());
    EXPECT_EQ(recorder->wait(), 0);
    EXPECT_THAT(recordFile(), HasSubstr("Press me"));
  }
  Reader recorder({ZQLOG, "record", "--seconds", "0.5"});
  const auto chunk = next(recorder, "onLogChunkAvailable");
  EXPECT_FALSE(chunk["onLogChunkAvailable"]["last"].GetBool());
  EXPECT_THAT(eventsOf(chunk), ::testing::Contains("remote click Press me"));
  EXPECT_TRUE(next(recorder, "stopped")["stopped"].GetBool());
  EXPECT_EQ(recorder.wait(), 0) << "it ends by itself";
  EXPECT_EQ(recordFile(), "");
}

TEST_F(RecordTest, InspectTellsWhatIsAtAPointAndInAnApplication) {
  openSample();
  const CGPoint point = middleOf(frameOf(find(app, "AXButton", "Press me")));
  Reader inspector({ZQLOG, "inspect", std::to_string(point.x), std::to_string(point.y)});
  const auto line = next(inspector, "describe");
  EXPECT_EQ(textAt(line, "/describe/name"), "Press me");
  EXPECT_EQ(textAt(line, "/describe/window"), "Sample");
  EXPECT_EQ(line["frame"].Size(), 4U);
  EXPECT_EQ(inspector.wait(), 0);

  Reader tree({ZQLOG, "inspect", "--pid", std::to_string(sample->pid())});
  while (!tree.line().empty()) {
  }
  EXPECT_THAT(tree.all(), HasSubstr("\n  AXWindow \"Sample\" ["));
  EXPECT_THAT(tree.all(), HasSubstr("AXButton \"Press me\" ["));
  EXPECT_THAT(tree.all(), Not(HasSubstr("secret")));

  Reader nothing({ZQLOG, "inspect", "1270", "1010"});
  EXPECT_EQ(nothing.line(), "");
  EXPECT_EQ(nothing.wait(), 1);
}

}  // namespace
}  // namespace zqlogging::testing
