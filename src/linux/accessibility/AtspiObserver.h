#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "linux/accessibility/ElementFactory.h"
#include "linux/atspi/AtspiEvents.h"

namespace zqlogging {

/// The notifications of one process. Used on one thread, but for its destruction: from another thread it stops the
/// delivery at once and leaves the rest to the thread that hooked it.
class AtspiObserver : public port::NotificationObserver {
 public:
  AtspiObserver(const ElementFactory& elements, std::int32_t pid, port::NotificationCallback callback);
  AtspiObserver(const AtspiObserver&) = delete;
  AtspiObserver& operator=(const AtspiObserver&) = delete;
  ~AtspiObserver() override;

  port::ResultCode addNotification(const port::Element& element, const std::string& notification) override;
  port::ResultCode removeNotification(const port::Element& element, const std::string& notification) override;
  void hookIntoCurrentLoop() override;
  void unhookFromCurrentLoop() override;

 private:
  struct Registration;
  struct State;

  static void listen(const std::shared_ptr<State>& state, const std::shared_ptr<Registration>& registration);
  static void deliver(State& state, Registration& registration, const AtspiObject& source);
  static void noteMainWindow(State& state, Registration& registration, const AtspiObject& root);
  static void deliverPresentFocus(State& state, Registration& registration, const AtspiObject& root);

  std::shared_ptr<State> state_;
};

}  // namespace zqlogging
