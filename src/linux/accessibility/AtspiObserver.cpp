#include "linux/accessibility/AtspiObserver.h"

#include <glib.h>

#include <algorithm>
#include <utility>

#include "linux/accessibility/AtspiElement.h"
#include "linux/accessibility/AtspiFocus.h"

namespace zqlogging {

using port::ElementRef;
using port::ResultCode;

/// A notification that has been asked for. What follows the first four belongs to the desktop thread.
struct AtspiObserver::Registration {
  ElementRef element;
  std::optional<AtspiObject> object;  // absent for the application, which stands for all that is in it
  std::string notification;
  std::atomic<bool> isRemoved = false;

  std::vector<std::unique_ptr<AtspiEvents::Subscription>> subscriptions;  // while hooked
  std::vector<AtspiObject> arrived;                                       // not looked at yet, newest last
  std::optional<AtspiObject> last;                                        // what was delivered last
  bool knowsMainWindow = false;                                           // and tells changes of it alone
};

/// Shared with the handlers, one of which may be running when the observer goes.
struct AtspiObserver::State {
  const ElementFactory& elements;
  std::int32_t pid = 0;
  port::NotificationCallback callback;
  std::atomic<bool> active = true;
  std::atomic<std::uint64_t> hook = 0;            // how often it was hooked or unhooked; odd while hooked
  std::shared_ptr<AtspiEvents> events = nullptr;  // on the desktop thread, while hooked
  std::shared_ptr<Handover> handover = nullptr;   // to the thread that hooked it
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
  unhookFromCurrentLoop();
}

DesktopThread& AtspiObserver::thread() const { return state_->elements.services().thread(); }

void AtspiObserver::hookIntoCurrentLoop() {
  if (isHooked()) {
    return;
  }
  ++state_->hook;
  GMainContext* own = g_main_context_get_thread_default();
  thread().run([state = state_, handover = std::make_shared<Handover>(own ? own : g_main_context_default())] {
    state->handover = handover;
    state->events = state->elements.services().events();
  });
  for (const auto& registration : registrations_) {
    thread().run([state = state_, registration] { listen(state, registration); });
  }
}

void AtspiObserver::unhookFromCurrentLoop() {
  if (!isHooked()) {
    return;
  }
  ++state_->hook;
  thread().run([state = state_, registrations = registrations_] {
    for (const auto& registration : registrations) {
      forget(*registration);
    }
    state->handover.reset();
    state->events.reset();
  });
}

bool AtspiObserver::isHooked() const { return state_->hook % 2 != 0; }

void AtspiObserver::forget(Registration& registration) {
  registration.subscriptions.clear();
  registration.arrived.clear();
  registration.last.reset();
  registration.knowsMainWindow = false;
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
  for (const auto& registration : registrations_) {
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
  registrations_.push_back(registration);
  if (isHooked()) {
    thread().run([state = state_, registration] { listen(state, registration); });
  }
  return ResultCode::success;
}

ResultCode AtspiObserver::removeNotification(const port::Element& element, const std::string& notification) {
  const auto removed = std::find_if(registrations_.begin(), registrations_.end(), [&](const auto& registration) {
    return registration->notification == notification && registration->element->isEqual(element);
  });
  if (removed == registrations_.end()) {
    return ResultCode::notificationNotRegistered;
  }
  (*removed)->isRemoved = true;
  thread().run([registration = *removed] { forget(*registration); });
  registrations_.erase(removed);
  return ResultCode::success;
}

void AtspiObserver::listen(const std::shared_ptr<State>& state, const std::shared_ptr<Registration>& registration) {
  if (!state->events) {
    return;
  }
  state->events->connect();
  AtspiServices& services = state->elements.services();
  const auto roots = services.withBatch(
      [&](AtspiBatch& batch) { return services.readRootsOf(state->pid, batch, services.messagingTimeout()); });
  const bool isAboutMainWindow = registration->notification == kMainWindowChanged;
  std::vector<std::string> senders;
  for (const AtspiObject& root : roots) {
    senders.push_back(root.application);
    if (isAboutMainWindow) {
      noteMainWindow(state, registration, root);
    }
    registration->knowsMainWindow = true;  // also when there is none
  }
  const auto handler = [&](Handle handle) {
    return [handle, weakState = std::weak_ptr(state), weak = std::weak_ptr(registration)](const AtspiObject& object) {
      const auto current = weakState.lock();
      const auto registered = weak.lock();
      if (current && registered && current->active) {
        handle(current, registered, object);
      }
    };
  };
  const bool isAboutFocus = registration->notification == kFocusChanged && !registration->object;
  for (const EventRow& row : eventRows()) {
    if (row.notification != registration->notification) {
      continue;
    }
    registration->subscriptions.push_back(state->events->subscribe(state->pid, senders, row, handler(note),
                                                                   isAboutFocus        ? handler(deliverPresentFocus)
                                                                   : isAboutMainWindow ? handler(noteMainWindow)
                                                                                       : AtspiEvents::Handler()));
  }
}

/// Notes an event; a moment later, what has arrived is looked at. Of focus changes the newest counts; of the windows
/// that come forward some are no main windows, so that more of them are kept.
void AtspiObserver::note(const StateRef& state, const RegistrationRef& registration, const AtspiObject& source) {
  if (registration->object && registration->object != source) {
    return;
  }
  const std::size_t most = registration->notification == kFocusChanged ? 1 : 8;
  std::vector<AtspiObject>& arrived = registration->arrived;
  const bool isScheduled = !arrived.empty();
  Handover::dropped += std::erase(arrived, source);
  if (arrived.size() == most) {
    arrived.erase(arrived.begin());
    ++Handover::dropped;
  }
  arrived.push_back(source);
  if (!isScheduled) {
    state->elements.services().thread().run([state, registration] {
      for (const AtspiObject& each : std::exchange(registration->arrived, {})) {
        deliver(state, registration, each);
      }
    });
  }
}

void AtspiObserver::deliver(const StateRef& state, const RegistrationRef& registration, const AtspiObject& source) {
  const ElementFactory& elements = state->elements;
  const std::string& notification = registration->notification;
  const bool isChange = notification == kMainWindowChanged || notification == kFocusChanged;
  if (!state->active || !state->handover || registration->isRemoved || (isChange && registration->last == source)) {
    return;  // toolkits repeat themselves
  }
  const ElementRef element = elements.services().withBatch([&](AtspiBatch& batch) -> ElementRef {
    const AtspiSubject subject{elements, batch, source, elements.services().messagingTimeout()};
    if (notification == kMainWindowChanged && !isMainWindow(subject)) {
      return nullptr;
    }
    if (notification.starts_with("AXApplication")) {
      return elements.application(state->pid);
    }
    return elements.object(source, batch);
  });
  if (!element) {
    return;
  }
  registration->last = source;
  const bool isNews = notification != kMainWindowChanged || registration->knowsMainWindow;
  registration->knowsMainWindow = true;
  if (isNews) {
    const auto key = reinterpret_cast<Handover::Key>(registration.get());
    state->handover->post(key, [state, registration, element, hook = state->hook.load()] {
      if (state->active && state->hook == hook && !registration->isRemoved) {
        state->callback(element, registration->notification, {});
      }
    });
  }
}

/// The window that is the main one already, when the application is there or comes to the bus, has not become it. Where
/// an application that comes does not show it yet, it is the one that is announced first.
void AtspiObserver::noteMainWindow(const StateRef& state, const RegistrationRef& registration,
                                   const AtspiObject& root) {
  if (registration->knowsMainWindow) {
    return;
  }
  const ElementFactory& elements = state->elements;
  registration->last = elements.services().withBatch([&](AtspiBatch& batch) {
    return mainWindow({elements, batch, root, elements.services().messagingTimeout()});
  });
  registration->knowsMainWindow = registration->last.has_value();
}

/// An application says where its focus is when it comes forward, which is before anybody can ask to be told.
void AtspiObserver::deliverPresentFocus(const StateRef& state, const RegistrationRef& registration,
                                        const AtspiObject& root) {
  if (registration->last) {
    return;  // it has been heard of since
  }
  const ElementFactory& elements = state->elements;
  const auto focused = elements.services().withBatch([&](AtspiBatch& batch) {
    return focusedObject({elements, batch, root, elements.services().messagingTimeout()});
  });
  if (focused) {
    deliver(state, registration, *focused);
  }
}

}  // namespace zqlogging
