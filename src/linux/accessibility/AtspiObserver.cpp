#include "linux/accessibility/AtspiObserver.h"

#include <algorithm>

#include "linux/accessibility/AtspiAttributes.h"
#include "linux/accessibility/AtspiElement.h"

namespace zqlogging {

using port::ElementRef;
using port::ResultCode;

/// A notification that has been asked for.
struct AtspiObserver::Registration {
  ElementRef element;
  std::optional<AtspiObject> object;  // absent for the application, which stands for all that is in it
  std::string notification;
  std::vector<std::unique_ptr<AtspiEvents::Subscription>> subscriptions;  // while hooked
  std::optional<AtspiObject> last;                                        // what was delivered last
  bool knowsMainWindow = false;                                           // and tells changes of it alone
};

/// Shared with the handlers, one of which may be running when the observer goes.
struct AtspiObserver::State {
  LinuxAccessibility& accessibility;
  std::int32_t pid = 0;
  port::NotificationCallback callback;
  std::atomic<bool> active = true;
  std::thread::id thread = {};
  std::shared_ptr<AtspiEvents> events = nullptr;  // while hooked
  std::vector<std::shared_ptr<Registration>> registrations = {};
};

namespace {

constexpr const char* kMainWindowChanged = "AXMainWindowChanged";
constexpr const char* kFocusChanged = "AXFocusedUIElementChanged";

/// Whether the window that has been activated is one that the user works with. Menus and other popups are not, but some
/// toolkits activate them too; a window with a role of its own is believed without asking the X server.
bool isMainWindow(const AtspiSubject& window) {
  const auto row = roleOf(window);
  if (!row) {
    return false;
  }
  if (row.value->subrole == "AXStandardWindow" || row.value->subrole == "AXDialog") {
    return true;
  }
  return row.value->role == "AXWindow" &&
         mainWindow(window.of({window.object.application, AtspiObject::kRootPath, window.object.bus})) == window.object;
}

bool isSupported(const std::string& notification) {
  const auto rows = eventRows();
  return std::any_of(rows.begin(), rows.end(), [&](const EventRow& row) { return row.notification == notification; });
}

}  // namespace

AtspiObserver::AtspiObserver(LinuxAccessibility& accessibility, std::int32_t pid, port::NotificationCallback callback)
    : state_(new State{.accessibility = accessibility, .pid = pid, .callback = std::move(callback)}) {}

AtspiObserver::~AtspiObserver() {
  state_->active = false;
  if (!state_->events || state_->thread == std::this_thread::get_id()) {
    unhookFromCurrentLoop();
  } else {
    AtspiEvents& events = *state_->events;
    events.runOnItsThread([state = state_] {
      state->registrations.clear();
      state->events.reset();
    });
  }
}

void AtspiObserver::hookIntoCurrentLoop() {
  if (state_->events) {
    return;
  }
  state_->thread = std::this_thread::get_id();
  state_->events = state_->accessibility.eventsOfCurrentLoop();
  for (const auto& registration : state_->registrations) {
    listen(state_, registration);
  }
}

void AtspiObserver::unhookFromCurrentLoop() {
  for (const auto& registration : state_->registrations) {
    registration->subscriptions.clear();
    registration->last.reset();
    registration->knowsMainWindow = false;
  }
  state_->events.reset();
}

ResultCode AtspiObserver::addNotification(const port::Element& element, const std::string& notification) {
  if (!isSupported(notification)) {
    return ResultCode::notificationUnsupported;
  }
  const auto pid = element.getPid();
  if (!pid) {
    return pid.code;
  }
  if (pid.value != state_->pid) {
    return ResultCode::illegalArgument;
  }
  for (const auto& registration : state_->registrations) {
    if (registration->notification == notification && registration->element->isEqual(element)) {
      return ResultCode::notificationAlreadyRegistered;
    }
  }
  auto registration = std::make_shared<Registration>();
  registration->notification = notification;
  if (const auto* object = dynamic_cast<const AtspiElement*>(&element)) {
    registration->object = object->object();
    registration->element = std::make_shared<AtspiElement>(state_->accessibility, object->object());
  } else {
    registration->element = state_->accessibility.createApplicationElement(state_->pid);
  }
  state_->registrations.push_back(registration);
  if (state_->events) {
    listen(state_, registration);
  }
  return ResultCode::success;
}

ResultCode AtspiObserver::removeNotification(const port::Element& element, const std::string& notification) {
  const auto removed = std::erase_if(state_->registrations, [&](const auto& registration) {
    return registration->notification == notification && registration->element->isEqual(element);
  });
  return removed ? ResultCode::success : ResultCode::notificationNotRegistered;
}

void AtspiObserver::listen(const std::shared_ptr<State>& state, const std::shared_ptr<Registration>& registration) {
  state->events->connect();
  LinuxAccessibility& accessibility = state->accessibility;
  const auto roots = accessibility.withReader(
      [&](AtspiReader& reader) { return accessibility.rootsOf(state->pid, reader, accessibility.messagingTimeout()); });
  const bool isAboutMainWindow = registration->notification == kMainWindowChanged;
  std::vector<std::string> senders;
  for (const AtspiObject& root : roots) {
    senders.push_back(root.application);
    if (isAboutMainWindow) {
      noteMainWindow(*state, *registration, root);
    }
    registration->knowsMainWindow = true;  // also when there is none
  }
  const auto handler = [&](void (*handle)(State&, Registration&, const AtspiObject&)) {
    return [handle, weakState = std::weak_ptr(state), weak = std::weak_ptr(registration)](const AtspiObject& object) {
      const auto current = weakState.lock();
      const auto registered = weak.lock();
      if (current && registered && current->active) {
        handle(*current, *registered, object);
      }
    };
  };
  const bool isAboutFocus = registration->notification == kFocusChanged && !registration->object;
  for (const EventRow& row : eventRows()) {
    if (row.notification != registration->notification) {
      continue;
    }
    registration->subscriptions.push_back(state->events->subscribe(state->pid, senders, row, handler(deliver),
                                                                   isAboutFocus        ? handler(deliverPresentFocus)
                                                                   : isAboutMainWindow ? handler(noteMainWindow)
                                                                                       : AtspiEvents::Handler()));
  }
}

void AtspiObserver::deliver(State& state, Registration& registration, const AtspiObject& source) {
  if (registration.object && registration.object != source) {
    return;
  }
  LinuxAccessibility& accessibility = state.accessibility;
  const std::string notification = registration.notification;
  const bool isChange = notification == kMainWindowChanged || notification == kFocusChanged;
  if (isChange && registration.last == source) {
    return;  // toolkits repeat themselves
  }
  const ElementRef element = accessibility.withReader([&](AtspiReader& reader) -> ElementRef {
    const AtspiSubject subject{accessibility, reader, source, accessibility.messagingTimeout()};
    if (notification == kMainWindowChanged && !isMainWindow(subject)) {
      return nullptr;
    }
    if (notification.starts_with("AXApplication")) {
      return accessibility.createApplicationElement(state.pid);
    }
    return accessibility.elementFor(source, reader);
  });
  if (!element) {
    return;
  }
  registration.last = source;
  const bool isNews = notification != kMainWindowChanged || registration.knowsMainWindow;
  registration.knowsMainWindow = true;
  if (isNews) {
    state.callback(element, notification, {});
  }
}

/// The window that is the main one already, when the application is there or comes to the bus, has not become it. Where
/// an application that comes does not show it yet, it is the one that is announced first.
void AtspiObserver::noteMainWindow(State& state, Registration& registration, const AtspiObject& root) {
  if (registration.knowsMainWindow) {
    return;
  }
  LinuxAccessibility& accessibility = state.accessibility;
  registration.last = accessibility.withReader([&](AtspiReader& reader) {
    return mainWindow({accessibility, reader, root, accessibility.messagingTimeout()});
  });
  registration.knowsMainWindow = registration.last.has_value();
}

/// An application says where its focus is when it comes forward, which is before anybody can ask to be told.
void AtspiObserver::deliverPresentFocus(State& state, Registration& registration, const AtspiObject& root) {
  if (registration.last) {
    return;  // it has been heard of since
  }
  LinuxAccessibility& accessibility = state.accessibility;
  const auto focused = accessibility.withReader([&](AtspiReader& reader) {
    return focusedObject({accessibility, reader, root, accessibility.messagingTimeout()});
  });
  if (focused) {
    deliver(state, registration, *focused);
  }
}

}  // namespace zqlogging
