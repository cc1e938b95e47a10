#pragma once

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "scenario/Settle.h"
#include "scripted/ScriptedPlatform.h"
#include "service/ServiceInspector.h"
#include "zqlogging/ZQLoggingervice.h"

namespace zqlogging::test {

/// Keeps what it is told. Fields are for the test to read and set between steps.
struct RecordingDelegate : ZQLoggerDelegate {
  struct Click {
    std::string name, path, url;
    std::size_t texts, rectangles;
    CGPoint point;
    bool isDown;
  };
  struct Chunk {
    std::vector<EventDictionary> events;
    std::string text;
    bool isLast;
    std::function<void(bool)> completion;
  };

  void onClick(const std::string& name, const std::string& path, const std::string& url,
               const std::vector<ZQTextDetection>& texts, const std::vector<ZQRectangleDetection>& rectangles,
               CGPoint point, bool isDown) override {
    const std::lock_guard lock(mutex);
    clicks.push_back({name, path, url, texts.size(), rectangles.size(), point, isDown});
  }
  void onLogChunkAvailable(const std::vector<EventDictionary>& events, const std::string& text, bool isLast,
                           std::function<void(bool)> completion) override {
    const auto answer = [&] {
      const std::lock_guard lock(mutex);
      chunks.push_back({events, text, isLast, completion});
      return onChunk;
    }();
    if (answer) {
      answer(completion);
    }
  }
  void onBlackListed(const std::string& name, const std::string& path, const std::string& url, bool flag) override {
    const std::lock_guard lock(mutex);
    blackListed.push_back({name, path, url, 0, 0, {}, flag});
  }

  std::mutex mutex;
  std::vector<Click> clicks;
  std::vector<Click> blackListed;
  std::vector<Chunk> chunks;
  std::function<void(const std::function<void(bool)>&)> onChunk;  ///< what to do with a chunk; nothing at first
};

/// A service on a scripted desktop with one application: Notes (pid 100) with the window Preferences, which holds an
/// unnamed group with the button OK, all laid out from the top-left corner of the one screen.
class ServiceTest : public testing::Test {
 protected:
  ServiceTest() { restart(); }

  /// A service as new over the same desktop, file and defaults.
  void restart() {
    service = std::make_shared<ZQLoggingervice>(platform);
    service->setDelegate(delegate);
    service->setDebuLogging(false);
  }

  void settle() { zqlogging::settle(*service, *platform); }
  void advance(std::chrono::nanoseconds duration) { zqlogging::advance(*service, *platform, duration); }
  [[nodiscard]] ServiceInspector inspect() const { return ServiceInspector(*service); }
  [[nodiscard]] std::optional<std::string> file() const { return platform->folder().readFile(); }

  void command(const std::string& text) { service->logRemoteCommand("cli", "role", text, std::nullopt); }
  /// The points of the desktop have their origin at the top left.
  void external(std::uint64_t type, CGPoint topLeft, const std::string& characters = {}) {
    service->processExternalEvent(type, topLeft.x, 1080 - 1 - topLeft.y, 1, characters);
    settle();
  }
  void local(std::uint64_t type, CGPoint topLeft) {
    service->processLocalEvent(type, topLeft.x, 1080 - 1 - topLeft.y, 0, "secret");
    settle();
  }

  port::NodeId add(port::NodeId parent, const std::string& id, const std::string& role, const std::string& title,
                   std::optional<CGRect> frame = std::nullopt) {
    port::ElementEdit content;
    content.attributes = {{"AXRole", role}};
    if (!title.empty()) {
      content.attributes.emplace_back("AXTitle", title);
    }
    if (frame) {
      content.attributes.emplace_back("AXPosition", frame->origin);
      content.attributes.emplace_back("AXSize", frame->size);
    }
    return platform->desktop().addElement(parent, id, content);
  }
  void set(port::NodeId node, const std::string& attribute, std::optional<port::Value> value) {
    platform->desktop().edit(node, {{{attribute, std::move(value)}}, {}});
  }

  port::NodeId addApplication(std::int32_t pid, const std::string& title) {
    const port::NodeId node = platform->desktop().addApplication({pid, "com.example." + title, title, 0, false}, title);
    platform->desktop().edit(node, {{{"AXRole", "AXApplication"}, {"AXTitle", title}}, {}});
    return node;
  }
  void activate(std::int32_t pid) {
    platform->scriptedWorkspace().post(
        {port::NotificationName::didActivateApplication, platform->desktop().application(pid)});
    settle();
  }

  std::shared_ptr<port::ScriptedPlatform> platform = std::make_shared<port::ScriptedPlatform>();
  std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
  std::shared_ptr<ZQLoggingervice> service;

  port::NodeId notes = addApplication(100, "Notes");
  port::NodeId window = add(notes, "prefs", "AXWindow", "Preferences", CGRect{{0, 25}, {800, 600}});
  port::NodeId group = add(window, "group", "AXGroup", "", CGRect{{0, 25}, {400, 300}});
  port::NodeId button = add(group, "ok", "AXButton", "OK", CGRect{{10, 40}, {80, 24}});
};

constexpr CGPoint kOnButton = {15, 45};

}  // namespace zqlogging::test
