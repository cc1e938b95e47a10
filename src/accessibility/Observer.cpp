#include "accessibility/Observer.h"

#include <utility>

#include "accessibility/AXError.h"
#include "accessibility/Application.h"
#include "platform/Platform.h"

namespace zqlogging {
namespace {

void throwUnless(port::ResultCode code, port::ResultCode alsoFine) {
  if (code != port::ResultCode::success && code != alsoFine) {
    throw AXError(code);
  }
}

}  // namespace

std::shared_ptr<Observer> Observer::create(port::Platform& platform, std::int32_t pid, Callback callback) {
  std::shared_ptr<Observer> observer(new Observer(platform, pid, std::move(callback), nullptr));
  observer->createAXObserver(&Observer::internalCallback);
  return observer;
}

std::shared_ptr<Observer> Observer::create(port::Platform& platform, std::int32_t pid, CallbackWithInfo callback) {
  std::shared_ptr<Observer> observer(new Observer(platform, pid, nullptr, std::move(callback)));
  observer->createAXObserver(&Observer::internalInfoCallback);
  return observer;
}

Observer::Observer(port::Platform& platform, std::int32_t pid, Callback callback, CallbackWithInfo callbackWithInfo)
    : platform_(platform), pid_(pid), callback_(std::move(callback)), callbackWithInfo_(std::move(callbackWithInfo)) {}

void Observer::createAXObserver(Handler handler) {
  if (pid_ < 0) {
    throw AXError(port::ResultCode::illegalArgument);
  }
  auto created = platform_.accessibility().createObserver(
      pid_, [weak = weak_from_this(), handler](const port::ElementRef& element, const std::string& name,
                                               const port::Dictionary& info) {
        // Held during the call, so that the callback may drop the observer.
        const auto observer = weak.lock();
        if (observer && element) {
          ((*observer).*handler)(element, name, info);
        }
      });
  if (!created) {
    throw AXError(created.code);
  }
  axObserver_ = std::move(created.value);
  start();
}

Observer::~Observer() {
  try {
    stop();
  } catch (const port::PlatformException&) {  // the platform observer ends all the same
  }
}

const std::shared_ptr<Application>& Observer::application() {
  if (!application_) {
    application_ = std::make_shared<Application>(platform_.accessibility().createApplicationElement(pid_));
  }
  return application_;
}

void Observer::start() { axObserver_->hookIntoCurrentLoop(); }

void Observer::stop() {
  if (axObserver_) {
    axObserver_->unhookFromCurrentLoop();
  }
}

void Observer::addNotification(AXNotification notification, const UIElement& forElement) {
  throwUnless(axObserver_->addNotification(*forElement.element(), std::string(rawValue(notification))),
              port::ResultCode::notificationAlreadyRegistered);
}

void Observer::removeNotification(AXNotification notification, const UIElement& forElement) {
  throwUnless(axObserver_->removeNotification(*forElement.element(), std::string(rawValue(notification))),
              port::ResultCode::notificationNotRegistered);
}

void Observer::internalCallback(const port::ElementRef& element, const std::string& name, const port::Dictionary&) {
  if (const auto notification = axNotificationFromRawValue(name)) {
    callback_(*this, std::make_shared<UIElement>(element), *notification);
  } else {
    platform_.logs().generalLog("Unknown AX notification " + name + " received");
  }
}

void Observer::internalInfoCallback(const port::ElementRef& element, const std::string& name,
                                    const port::Dictionary& info) {
  const auto notification = axNotificationFromRawValue(name);
  if (notification) {
    callbackWithInfo_(*this, std::make_shared<UIElement>(element), *notification, info);
  }
}

}  // namespace zqlogging
