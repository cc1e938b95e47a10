#pragma once

#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Platform.h"
#include "support/FakeElement.h"

namespace zqlogging::test {

/// What the observers of a FakePlatform were told. Outlives them.
struct FakeObserverState {
  std::int32_t pid = -1;
  bool hooked = false;
  bool destroyed = false;
  ResultCode answer = ResultCode::success;
  std::vector<std::pair<std::string, std::string>> added;  ///< element's text form, notification
  std::vector<std::pair<std::string, std::string>> removed;
  port::NotificationCallback callback;
};

struct FakeObserver : port::NotificationObserver {
  explicit FakeObserver(std::shared_ptr<FakeObserverState> shared) : state(std::move(shared)) {}
  ~FakeObserver() override { state->destroyed = true; }

  ResultCode addNotification(const port::Element& element, const std::string& notification) override {
    state->added.emplace_back(element.textForm(), notification);
    return state->answer;
  }
  ResultCode removeNotification(const port::Element& element, const std::string& notification) override {
    state->removed.emplace_back(element.textForm(), notification);
    return state->answer;
  }
  void hookIntoCurrentLoop() override { state->hooked = true; }
  void unhookFromCurrentLoop() override { state->hooked = false; }

  std::shared_ptr<FakeObserverState> state;
};

/// The parts of a desktop that the accessibility layer uses.
struct FakePlatform : port::Platform, port::Accessibility, port::Workspace, port::LogSinks {
  std::vector<port::RunningApplication> running;
  std::shared_ptr<FakeElement> systemWide = std::make_shared<FakeElement>(*this, "desktop");
  std::map<std::int32_t, std::shared_ptr<FakeElement>> applicationElements;
  ResultCode observerAnswer = ResultCode::success;
  std::vector<std::shared_ptr<FakeObserverState>> observers;
  std::vector<std::string> general;
  std::vector<std::string> printed;

  port::Accessibility& accessibility() override { return *this; }
  port::Workspace& workspace() override { return *this; }
  port::LogSinks& logs() override { return *this; }
  port::MainLoop& mainLoop() override { throw std::logic_error("no main loop here"); }
  port::Defaults& defaults() override { throw std::logic_error("no defaults here"); }
  port::Clock& clock() override { throw std::logic_error("no clock here"); }
  std::unique_ptr<port::TextRecognition> createTextRecognition() override { throw std::logic_error("no recognizer"); }
  std::string cachesFolder() override { throw std::logic_error("no files here"); }
  std::optional<std::string> hostIdentifier() override { return std::nullopt; }

  bool isProcessTrusted(bool) override { return true; }
  port::ElementRef createSystemWideElement() override { return systemWide; }
  port::ElementRef createApplicationElement(std::int32_t pid) override {
    auto& element = applicationElements[pid];
    if (!element) {
      element = std::make_shared<FakeElement>(*this, "application " + std::to_string(pid));
      element->processId = pid;
    }
    return element;
  }
  port::Result<std::unique_ptr<port::NotificationObserver>> createObserver(
      std::int32_t pid, port::NotificationCallback callback) override {
    if (observerAnswer != ResultCode::success) {
      return observerAnswer;
    }
    const auto state = std::make_shared<FakeObserverState>();
    state->pid = pid;
    state->callback = std::move(callback);
    observers.push_back(state);
    return std::unique_ptr<port::NotificationObserver>(std::make_unique<FakeObserver>(state));
  }
  std::unique_ptr<port::ReadScope> openReadScope() override { return nullptr; }

  std::vector<port::RunningApplication> runningApplications() override { return running; }
  std::optional<port::RunningApplication> runningApplication(std::int32_t pid) override {
    for (const auto& application : running) {
      if (application.pid == pid) {
        return application;
      }
    }
    return std::nullopt;
  }
  std::optional<std::int32_t> frontmostProcess() override { return std::nullopt; }
  port::Result<std::vector<CGRect>> screens() override { return std::vector<CGRect>(); }
  std::unique_ptr<port::Subscription> subscribe(port::NotificationName,
                                                std::function<void(const port::Notification&)>) override {
    return nullptr;
  }
  void announceFrontmost() override {}

  void systemLog(std::string_view, std::string_view, std::string_view) override {}
  void generalLog(std::string_view message) override { general.emplace_back(message); }
  void standardOutput(std::string_view line) override { printed.emplace_back(line); }
};

}  // namespace zqlogging::test
