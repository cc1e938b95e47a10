#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Accessibility.h"
#include "scripted/ScriptedDesktop.h"

namespace zqlogging::port {

class ScriptedObserver;
class VirtualTime;

/// The accessibility service of a scripted desktop: trust, time-outs, read scopes and observers.
class ScriptedAccessibility final : public Accessibility {
 public:
  ScriptedAccessibility(ScriptedDesktop& desktop, VirtualTime& time);

  /// Seconds that a request to a hung application takes when nobody has set a messaging time-out.
  static constexpr float kDefaultTimeout = 6;

  void setTrusted(bool trusted);
  /// How often the user was asked to grant access.
  [[nodiscard]] int prompts() const;

  /// The answer of the node's application to any request. One that hangs takes the time-out, on the virtual clock;
  /// once that has happened in a read scope of this thread, it fails at once for the rest of the scope.
  [[nodiscard]] ResultCode request(NodeId node, float ownTimeout);
  void setGlobalTimeout(float seconds);

  /// Delivers a notification about the element, on this thread, to the hooked observers of process `pid` that
  /// registered it for the element or for their application's element.
  void notify(const std::string& notification, NodeId node, std::int32_t pid);

  /// Zero at first: on a scripted desktop news are there at once. `whileWaiting` runs on the thread that waits for
  /// them. Not while events are handled.
  void setFocusNewsDelay(std::chrono::milliseconds delay, std::function<void()> whileWaiting = nullptr) {
    focusNewsDelay_ = delay;
    whileWaiting_ = std::move(whileWaiting);
  }
  [[nodiscard]] std::chrono::milliseconds focusNewsDelay() const override { return focusNewsDelay_; }
  /// Moves the virtual clock.
  void waitForFocusNews(std::chrono::milliseconds duration) override;

  bool isProcessTrusted(bool prompt) override;
  ElementRef createSystemWideElement() override;
  ElementRef createApplicationElement(std::int32_t pid) override;
  Result<std::unique_ptr<NotificationObserver>> createObserver(std::int32_t pid,
                                                               NotificationCallback callback) override;
  std::unique_ptr<ReadScope> openReadScope() override;

 private:
  class Scope;

  ScriptedDesktop& desktop_;
  VirtualTime& time_;
  mutable std::mutex mutex_;
  bool trusted_ = true;
  int prompts_ = 0;
  float globalTimeout_ = 0;
  std::atomic<std::chrono::milliseconds> focusNewsDelay_ = {};
  std::function<void()> whileWaiting_;
  std::vector<Scope*> scopes_;
  std::vector<std::weak_ptr<ScriptedObserver>> observers_;
};

}  // namespace zqlogging::port
