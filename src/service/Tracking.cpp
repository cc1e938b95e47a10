#include <utility>

#include "accessibility/AXError.h"
#include "diagnostics/DeveloperTiers.h"
#include "events/ZQUILogFocusEvent.h"
#include "geometry/Geometry.h"
#include "service/ServiceImpl.h"

namespace zqlogging {
namespace {

/// What the watcher registers: the first tells of main windows, the second keeps the focused element, through which
/// key presses are described.
constexpr AXNotification kWatched[] = {AXNotification::mainWindowChanged, AXNotification::focusedUIElementChanged};

std::vector<std::shared_ptr<UIElement>> windowsOf(const Application& application) {
  try {
    return application.windows().value_or(std::vector<std::shared_ptr<UIElement>>());
  } catch (const AXError&) {
    return {};
  }
}

CGRect windowFrame(const ZQAccessibilityElement& element) {
  const auto window = element.window();
  return window ? window->frame() : CGRect{};
}

}  // namespace

void ServiceImpl::applicationActivated(const port::Notification& notification) {
  lastSwitch = platform->clock().steadyTime();
  if (!notification.application || !notification.application->bundleIdentifier) {
    return;
  }
  runAside([activated = *notification.application](ServiceImpl& impl) { impl.followActivated(activated); });
}

void ServiceImpl::followActivated(const port::RunningApplication& activated) {
  const auto scope = platform->accessibility().openReadScope();
  const auto applications = Application::allForBundleID(*platform, *activated.bundleIdentifier);
  if (applications.empty()) {
    return;
  }
  const std::shared_ptr<Application>& application = applications.front();
  const ZQAccessibilityElement applicationElement = guarded(application->element());
  trace("Appending main app change");
  const auto described = describeUnlessBlackListed(applicationElement, false, std::nullopt, true);
  if (!described) {
    return;
  }
  recordFocus(applicationElement, *described);
  for (const auto& window : windowsOf(*application)) {
    const ZQAccessibilityElement windowElement(window->element(), applicationElement.guard());
    if (windowElement.value<bool>("AXMain") != true) {
      continue;
    }
    trace("Appending main widow change");
    const auto describedWindow = describeUnlessBlackListed(windowElement, false, std::nullopt, true);
    if (!describedWindow) {
      return;
    }
    recordFocus(windowElement, *describedWindow);
  }
  returnToMain([application, description = activated.description](ServiceImpl& impl) {
    try {
      impl.service.startAppWatcher(application);
    } catch (const std::exception& error) {
      trace("Error: Could not watch app [" + description + "]: " + error.what());
    }
    impl.app = application;
  });
}

void ServiceImpl::recordFocus(const ZQAccessibilityElement& element, const NameAndPath& described) {
  auto record = std::make_shared<ZQUILogFocusEvent>();
  record->elementXpath = described.path.fullPath;
  record->elementName = described.name;
  record->elementControlType = element.elementControlType();
  record->elementValue = cutForRecord(element.axValue());
  setSurroundings(*record, element);
  returnToMain([record](ServiceImpl& impl) {
    impl.appendEvent(record, [](ZQUILogFocusEvent& focus, const EventLog::Stamp& stamp) {
      focus.isRemoteControlEvent = stamp.lastWasRemote;
    });
  });
}

void ServiceImpl::moveWatcher(const std::shared_ptr<Application>& application) {
  takeDownWatcher();
  trace("startAppWatcher");
  const Observer::Callback callback = [weak = service.weak_from_this()](Observer&,
                                                                        const std::shared_ptr<UIElement>& element,
                                                                        AXNotification notification) {
    const auto alive = weak.lock();
    if (alive == nullptr || alive->impl_->paused) {
      return;
    }
    ServiceImpl& impl = *alive->impl_;
    impl.perform([&] {
      trace("ObjC.perform inside app.createObserver");
      impl.processFocusEvent(notification, element->element());
    });
  };
  const auto created = application->createObserver(callback);
  if (created == nullptr) {
    throw AXError(port::ResultCode::invalidUIElementObserver);
  }
  observer = created;
  for (const AXNotification notification : kWatched) {
    observer->addNotification(notification, *application);
  }
}

void ServiceImpl::takeDownWatcher() {
  if (observer == nullptr || app == nullptr) {
    return;
  }
  for (const AXNotification notification : kWatched) {
    observer->removeNotification(notification, *app);
  }
  observer->stop();
}

void ServiceImpl::processFocusEvent(AXNotification notification, const port::ElementRef& elementRef) {
  if (notification != AXNotification::focusedUIElementChanged && notification != AXNotification::mainWindowChanged) {
    return;
  }
  trace("processFocusEvent");
  runAside([notification, elementRef](ServiceImpl& impl) { impl.describeFocus(notification, elementRef); });
}

void ServiceImpl::describeFocus(AXNotification notification, const port::ElementRef& elementRef) {
  const std::uint64_t leftOutSoFar = platform->accessibility().notificationsLeftOut();
  if (std::exchange(leftOut, leftOutSoFar) != leftOutSoFar) {
    trace("Notifications left out so far: " + std::to_string(leftOutSoFar));
  }
  const auto scope = platform->accessibility().openReadScope();
  const ZQAccessibilityElement element = guarded(elementRef);
  if (notification == AXNotification::focusedUIElementChanged) {
    std::optional<ZQAccessibilityElement> previous;
    {
      const std::lock_guard lock(mutex);
      previous = focusedElement;
    }
    if (previous && windowFrame(*previous) == element.frame()) {
      return;
    }
    const std::lock_guard lock(mutex);
    focusedElement = element;
    focusedSince = platform->clock().steadyTime();
  }
  if (const auto described = describeUnlessBlackListed(element, false, std::nullopt, true)) {
    trace("Appending focus event");
    recordFocus(element, *described);
  }
}

}  // namespace zqlogging
