#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "linux/accessibility/ElementFactory.h"
#include "linux/atspi/AtspiEvents.h"
#include "linux/loop/Handover.h"

namespace zqlogging {

/// The notifications of one process. They are gathered on the desktop thread and handed finished to the thread that
/// hooked the observer, the newest of each kind alone when they come faster than they are taken. Nothing here waits for
/// the application but a registration for an element of it. Used on one thread, but for its destruction.
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

  using StateRef = std::shared_ptr<State>;
  using RegistrationRef = std::shared_ptr<Registration>;
  using Handle = void (*)(const StateRef&, const RegistrationRef&, const AtspiObject&);

  [[nodiscard]] DesktopThread& thread() const;
  [[nodiscard]] bool isHooked() const;

  // On the desktop thread.
  static void listen(const StateRef& state, const RegistrationRef& registration);
  static void forget(Registration& registration);
  static void note(const StateRef& state, const RegistrationRef& registration, const AtspiObject& source);
  static void deliver(const StateRef& state, const RegistrationRef& registration, const AtspiObject& source);
  static void noteMainWindow(const StateRef& state, const RegistrationRef& registration, const AtspiObject& root);
  static void deliverPresentFocus(const StateRef& state, const RegistrationRef& registration, const AtspiObject& root);

  const StateRef state_;
  std::vector<RegistrationRef> registrations_;
};

}  // namespace zqlogging
