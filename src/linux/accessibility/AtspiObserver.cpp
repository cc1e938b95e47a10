#include "linux/accessibility/AtspiObserver.h"

#include <algorithm>

#include "linux/accessibility/AtspiElement.h"
#include "linux/accessibility/AtspiFocus.h"

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
  const ElementFactory& elements;
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
  const auto role = roleName(window);
  if (!role || role.value != "AXWindow") {
    return false;
  }
  const auto subrole = subroleName(window);
  return (subrole && (subrole.value == "AXStandardWindow" || subrole.value == "AXDialog")) ||
         mainWindow(window.application()) == window.object;
}

bool isSupported(const std::string& notification) {
  const auto rows = eventRows();
  return std::any_of(rows.begin(), rows.end(), [&](const EventRow& row) { return row.notification == notification; });
}

}  // namespace

AtspiObserver::AtspiObserver(const ElementFactory& elements, std::int32_t pid, port::NotificationCallback callback)
    : state_(new State{.elements = elements, .pid = pid, .callback = std::move(callback)}) {}

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
  state_->events = state_->elements.services().eventsOfCurrentLoop();
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
    registration->element = std::make_shared<AtspiElement>(state_->elements, object->object());
  } else {
    registration->element = state_->elements.application(state_->pid);
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
  const ElementFactory& elements = state->elements;
  const auto roots = elements.services().withBatch([&](AtspiBatch& batch) {
    return elements.services().readRootsOf(state->pid, batch, elements.services().messagingTimeout());
  });
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
  const ElementFactory& elements = state.elements;
  const std::string notification = registration.notification;
  const bool isChange = notification == kMainWindowChanged || notification == kFocusChanged;
  if (isChange && registration.last == source) {
    return;  // toolkits repeat themselves
  }
  const ElementRef element = elements.services().withBatch([&](AtspiBatch& batch) -> ElementRef {
    const AtspiSubject subject{elements, batch, source, elements.services().messagingTimeout()};
    if (notification == kMainWindowChanged && !isMainWindow(subject)) {
      return nullptr;
    }
    if (notification.starts_with("AXApplication")) {
      return elements.application(state.pid);
    }
    return elements.object(source, batch);
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
  const ElementFactory& elements = state.elements;
  registration.last = elements.services().withBatch([&](AtspiBatch& batch) {
    return mainWindow({elements, batch, root, elements.services().messagingTimeout()});
  });
  registration.knowsMainWindow = registration.last.has_value();
}

/// An application says where its focus is when it comes forward, which is before anybody can ask to be told.
void AtspiObserver::deliverPresentFocus(State& state, Registration& registration, const AtspiObject& root) {
  if (registration.last) {
    return;  // it has been heard of since
  }
  const ElementFactory& elements = state.elements;
  const auto focused = elements.services().withBatch([&](AtspiBatch& batch) {
    return focusedObject({elements, batch, root, elements.services().messagingTimeout()});
  });
  if (focused) {
    deliver(state, registration, *focused);
  }
}

}  // namespace zqlogging
