#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <rapidjson/document.h>
#include <rapidjson/pointer.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "PrivateDesktop.h"
#include "support/TemporaryHome.h"

namespace zqlogging::testing {

/// A program whose output is read line by line.
class Reader {
 public:
  /// Its complaints go to a file when one is given.
  explicit Reader(const std::vector<std::string>& arguments, const std::string& errors = "") {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    constexpr int kRoom = 1 << 20;  // for the chunks of a test that does not read them
    EXPECT_GE(fcntl(ends[0], F_SETPIPE_SZ, kRoom), kRoom);
    pid_ = fork();
    if (pid_ == 0) {
      dup2(ends[1], STDOUT_FILENO);
      if (!errors.empty()) {
        dup2(open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
      }
      std::vector<char*> command;
      for (const std::string& each : arguments) {
        command.push_back(const_cast<char*>(each.c_str()));
      }
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
    constexpr int kPatience = 30'000;
    std::size_t end = 0;
    while ((end = unread_.find('\n')) == std::string::npos) {
      char part[65536];
      pollfd waiting{output_, POLLIN, 0};
      const ssize_t count = poll(&waiting, 1, kPatience) == 1 ? read(output_, part, sizeof part) : 0;
      if (count <= 0) {
        return {};
      }
      unread_.append(part, static_cast<std::size_t>(count));
    }
    const std::string text = unread_.substr(0, end);
    unread_.erase(0, end + 1);
    all_ += text + "\n";
    return text;
  }
  /// All that came until now.
  [[nodiscard]] const std::string& all() const { return all_; }
  [[nodiscard]] pid_t pid() const { return pid_; }
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

inline std::string textAt(const rapidjson::Value& value, const char* pointer) {
  const auto* found = rapidjson::Pointer(pointer).Get(value);
  return found && found->IsString() ? found->GetString() : "";
}

class Recorded : public ::testing::Test {
 protected:
  /// The next line that is about `what`.
  static rapidjson::Document next(Reader& reader, const char* what) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    rapidjson::Document line;
    bool found = false;
    do {
      line.Parse(reader.line().c_str());
      found = !line.HasParseError() && line.IsObject() && line.HasMember(what);
    } while (!found && !line.HasParseError() && std::chrono::steady_clock::now() < end);
    EXPECT_TRUE(found) << "no line about " << what << " in\n" << reader.all();
    return line;
  }
  [[nodiscard]] std::unique_ptr<Reader> record(std::vector<std::string> options = {}) const {
    std::vector<std::string> command{ZQLOG, "record", "--session", "TEST"};
    command.insert(command.end(), options.begin(), options.end());
    auto recorder = std::make_unique<Reader>(command, traceFile());
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
  void click(const port::ElementRef& element) {
    ASSERT_TRUE(element);
    input.click(middleOf(frameOf(element)));
  }
  /// Clicks into a field and waits until the recorder knows that it has the focus.
  void focusByClick(Reader& recorder, const port::ElementRef& field) {
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
      if (isFocus && line.find("\"elementControlType\":\"TextField\"") != std::string::npos) {
        ++count;
      }
    }
    return count;
  }
  static std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
      ++count;
    }
    return count;
  }
  port::ElementRef password() {
    for (const port::ElementRef& each : childrenOf(childrenOf(find(app, "AXWindow", "Sample")).front())) {
      if (textOf(each, "AXSubrole") == "AXSecureTextField") {
        return each;
      }
    }
    return nullptr;
  }
  /// The events of a chunk as short texts.
  static std::vector<std::string> eventsOf(const rapidjson::Document& line) {
    std::vector<std::string> texts;
    for (const auto& event : line["onLogChunkAvailable"]["events"].GetArray()) {
      const std::string type = textAt(event, "/eventType");
      const std::string remote = event["rc"].GetBool() ? "remote " : "local ";
      if (type == "Mouse") {
        texts.push_back(remote + "click " + textAt(event, "/eventInfo/elementInfo/name"));
      }
      if (type == "KeyPressed") {
        texts.push_back(remote + "key '" + textAt(event, "/eventInfo/character") + "' " +
                        textAt(event, "/eventInfo/value"));
      }
    }
    return texts;
  }
  static std::string contentOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::string recordFile() const { return contentOf(home.path() / "zqlogging" / "slog.json"); }
  /// Holds the trace, where there is no journal that takes it.
  std::string traceFile() const { return home.path() / "trace"; }

  TemporaryHome home{"XDG_CACHE_HOME"};
  LinuxPlatform desktop;
  Input input;
  std::unique_ptr<Program> sample;
  port::ElementRef app;
};

}  // namespace zqlogging::testing
