#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/ServiceFixture.h"

namespace zqlogging::test {

using port::NodeId;
using port::ResultCode;
using std::chrono_literals::operator""s;

/// What must be nowhere.
inline const std::string kCanary = "canary";
constexpr CGRect kFrame = {{10, 100}, {80, 24}};
constexpr CGPoint kInFrame = {15, 105};

/// A desktop, and whatever leaves the service, whichever way.
class Stage : public ServiceTest {
 public:
  void TestBody() override {}

  explicit Stage(const std::vector<std::string>& urls = {}, const std::vector<std::string>& processes = {})
      : urls_(urls), processes_(processes) {
    platform->desktop().edit(button, {{{"AXTitle", std::nullopt}}, {}});
    platform->scriptedLogs().listen([this](const auto& line) { leaving += line.message + "\n"; });
    service->setDebuLogging(true);
  }
  ~Stage() override {
    service->setDebuLogging(false);
    platform->scriptedLogs().listen(nullptr);
  }

  void start() {
    EXPECT_TRUE(service->start("S", urls_, processes_));
    advance(1s);
  }
  void advanceSecond() { advance(1s); }
  void notify(const char* name, NodeId node) {
    platform->scriptedAccessibility().notify(name, node, 100);
    settle();
  }
  /// Everything that was recorded or told, but for what was told of something that is certainly blacklisted.
  std::string everything() {
    service->stop(nullptr);
    settle();
    std::string all = leaving + file().value_or("");
    for (const std::string& record : inspect().records()) {
      all += record;
    }
    for (const auto& chunk : delegate->chunks) {
      all += chunk.text;
    }
    for (const auto& click : delegate->clicks) {
      all += click.name + click.path + click.url;
    }
    return all;
  }
  std::string toldBlackListed() {
    std::string all;
    for (const auto& each : delegate->blackListed) {
      all += each.name + each.path + each.url;
    }
    return all;
  }

  using ServiceTest::activate;
  using ServiceTest::add;
  using ServiceTest::addApplication;
  using ServiceTest::button;
  using ServiceTest::delegate;
  using ServiceTest::external;
  using ServiceTest::group;
  using ServiceTest::inspect;
  using ServiceTest::local;
  using ServiceTest::notes;
  using ServiceTest::platform;
  using ServiceTest::service;
  using ServiceTest::set;
  using ServiceTest::settle;
  using ServiceTest::window;
  std::string leaving;

 private:
  std::vector<std::string> urls_;
  std::vector<std::string> processes_;
};

inline void fail(Stage& stage, NodeId node, const char* attribute, ResultCode code) {
  stage.platform->desktop().edit(node, {{}, {{attribute, code}}});
}

/// A way of not answering.
struct Failing {
  const char* name;
  std::function<void(Stage&, NodeId)> apply;
};

/// Something that happens with an element.
struct Event {
  const char* name;
  std::function<void(Stage&, NodeId touched)> happen;
};

inline void click(Stage& stage, std::uint64_t type) { stage.external(type, kInFrame); }

inline void focus(Stage& stage, NodeId node) {
  stage.activate(100);
  stage.notify("AXFocusedUIElementChanged", node);
}

/// From now on this text is read in every picture.
inline void readInPictures(Stage& stage, const char* text) {
  std::shared_ptr<std::uint8_t[]> pixels(new std::uint8_t[4UL * 1920 * 1080]());
  stage.service->setOcrEnabled(true);
  stage.service->setFrameForOcr({{pixels, pixels.get()}, 1920, 1080, 4UL * 1920});
  stage.platform->recognition().setAnswer(std::vector<port::TextObservation>{{{text}, {{0.02, 0.1}, {0.2, 0.8}}}});
}

inline const Event kEvents[] = {
    {"press", [](Stage& s, NodeId) { click(s, 1); }},
    {"release", [](Stage& s, NodeId) { click(s, 2); }},
    {"right press without siblings",
     [](Stage& s, NodeId) {
       s.service->setIncludeSiblings(false);
       click(s, 3);
     }},
    {"local release", [](Stage& s, NodeId) { s.local(4, kInFrame); }},
    {"focus", focus},
    {"main window",
     [](Stage& s, NodeId node) {
       s.activate(100);
       s.notify("AXMainWindowChanged", node);
     }},
    {"activation",
     [](Stage& s, NodeId) {
       s.set(s.window, "AXMain", true);
       s.activate(100);
     }},
    {"local key",
     [](Stage& s, NodeId node) {
       focus(s, node);
       s.local(10, {});
     }},
};

}  // namespace zqlogging::test
