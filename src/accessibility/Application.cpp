#include "accessibility/Application.h"

#include <utility>

#include "accessibility/AXError.h"
#include "platform/Platform.h"

namespace zqlogging {
namespace {

constexpr int kActivationPolicyProhibited = 2;

template <class Wanted>
std::vector<std::shared_ptr<Application>> runningApplications(port::Platform& platform, Wanted wanted) {
  std::vector<std::shared_ptr<Application>> result;
  for (const port::RunningApplication& running : platform.workspace().runningApplications()) {
    if (!wanted(running)) {
      continue;
    }
    if (auto application = Application::fromRunningApplication(platform, running)) {
      result.push_back(std::move(application));
    }
  }
  return result;
}

template <class Callback>
std::shared_ptr<Observer> observe(const Application& application, Callback callback) {
  port::Platform& platform = application.element()->platform();
  try {
    return Observer::create(platform, application.pid(), std::move(callback));
  } catch (const AXError& error) {
    if (error.code() != port::ResultCode::invalidUIElement) {
      platform.logs().generalLog("Caught unexpected error creating observer: " + error.description());
    }
    return nullptr;
  }
}

}  // namespace

std::shared_ptr<Application> Application::forProcessID(port::Platform& platform, std::int32_t pid) {
  const auto running = platform.workspace().runningApplication(pid);
  return running ? fromRunningApplication(platform, *running) : nullptr;
}

std::shared_ptr<Application> Application::fromRunningApplication(port::Platform& platform,
                                                                 const port::RunningApplication& application) {
  if (application.terminated || application.pid < 0) {
    return nullptr;
  }
  return std::make_shared<Application>(platform.accessibility().createApplicationElement(application.pid));
}

std::vector<std::shared_ptr<Application>> Application::all(port::Platform& platform) {
  return runningApplications(platform, [](const port::RunningApplication& running) {
    return running.activationPolicy != kActivationPolicyProhibited;
  });
}

std::vector<std::shared_ptr<Application>> Application::allForBundleID(port::Platform& platform,
                                                                      const std::string& bundleIdentifier) {
  return runningApplications(
      platform, [&](const port::RunningApplication& running) { return running.bundleIdentifier == bundleIdentifier; });
}

std::optional<std::vector<std::shared_ptr<UIElement>>> Application::windows() const {
  return arrayAttribute<std::shared_ptr<UIElement>>(Attribute::windows);
}

std::shared_ptr<Observer> Application::createObserver(Observer::Callback callback) const {
  return observe(*this, std::move(callback));
}

std::shared_ptr<Observer> Application::createObserver(Observer::CallbackWithInfo callback) const {
  return observe(*this, std::move(callback));
}

}  // namespace zqlogging
