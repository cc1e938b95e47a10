#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "accessibility/AXNotification.h"
#include "platform/Accessibility.h"

namespace zqlogging {

class Application;
class UIElement;

/// Receives the notifications of one process and hands those that it knows to a callback.
///
/// The callback runs on the thread that created the observer, or last started it, through that thread's main loop.
/// Creating, starting, stopping and destroying belong on that thread. The callback may drop the observer; a
/// notification that arrives for a destroyed observer goes nowhere.
class Observer : public std::enable_shared_from_this<Observer> {
 public:
  using Callback = std::function<void(Observer&, const std::shared_ptr<UIElement>&, AXNotification)>;
  using CallbackWithInfo =
      std::function<void(Observer&, const std::shared_ptr<UIElement>&, AXNotification, const port::Dictionary& info)>;

  /// A started observer, without registrations yet. Throws AXError when the platform gives none, illegalArgument for
  /// a negative process id. Unknown notifications are reported in the general log by the first form alone.
  static std::shared_ptr<Observer> create(port::Platform& platform, std::int32_t pid, Callback callback);
  static std::shared_ptr<Observer> create(port::Platform& platform, std::int32_t pid, CallbackWithInfo callback);

  Observer(const Observer&) = delete;
  Observer& operator=(const Observer&) = delete;
  ~Observer();

  [[nodiscard]] std::int32_t pid() const { return pid_; }
  /// The element of the process, made on first use without asking whether it runs.
  [[nodiscard]] const std::shared_ptr<Application>& application();

  void start();
  void stop();

  /// Registering twice, or removing what was not registered, is no error. Any other failure throws AXError.
  void addNotification(AXNotification notification, const UIElement& forElement);
  void removeNotification(AXNotification notification, const UIElement& forElement);

 private:
  using Handler = void (Observer::*)(const port::ElementRef&, const std::string& name, const port::Dictionary& info);

  Observer(port::Platform& platform, std::int32_t pid, Callback callback, CallbackWithInfo callbackWithInfo);

  void createAXObserver(Handler handler);
  void internalCallback(const port::ElementRef& element, const std::string& name, const port::Dictionary& info);
  void internalInfoCallback(const port::ElementRef& element, const std::string& name, const port::Dictionary& info);

  port::Platform& platform_;
  const std::int32_t pid_;
  std::unique_ptr<port::NotificationObserver> axObserver_;
  const Callback callback_;
  const CallbackWithInfo callbackWithInfo_;
  std::shared_ptr<Application> application_;
};

}  // namespace zqlogging
