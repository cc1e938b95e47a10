#include "linux/accessibility/ApplicationElement.h"

#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <fstream>

#include "linux/accessibility/AtspiAttributes.h"
#include "platform/Platform.h"
#include "platform/Workspace.h"

namespace zqlogging {

using port::Array;
using port::Result;
using port::ResultCode;
using port::Value;

namespace {

constexpr const char* kStrangersAttributes[] = {"AXRole",    "AXTitle",      "AXIdentifier",    "AXChildren",
                                                "AXWindows", "AXMainWindow", "AXFocusedWindow", "AXFrontmost"};

std::string executableName(std::int32_t pid) {
  std::string name;
  std::getline(std::ifstream("/proc/" + std::to_string(pid) + "/comm"), name);
  return name;
}

}  // namespace

bool processExists(std::int32_t pid) { return pid > 0 && (kill(pid, 0) == 0 || errno != ESRCH); }

bool ApplicationElement::isEqual(const Element& other) const {
  const auto* same = dynamic_cast<const ApplicationElement*>(&other);
  return same && same->pid_ == pid_;
}

std::size_t ApplicationElement::hash() const { return std::hash<std::int32_t>()(pid_); }

std::string ApplicationElement::textForm() const { return "<application " + std::to_string(pid_) + ">"; }

Result<std::int32_t> ApplicationElement::getPid() const {
  return pid_ >= 0 ? Result<std::int32_t>(pid_) : Result<std::int32_t>(ResultCode::invalidUIElement);
}

Result<std::vector<std::string>> ApplicationElement::copyAttributeNames() const {
  return services().withBatch([&](AtspiBatch& batch) -> Result<std::vector<std::string>> {
    const auto roots = services().readRootsOf(pid_, batch, timeout());
    if (!roots.empty()) {
      return attributeNames({elements(), batch, roots.front(), timeout()});
    }
    if (!processExists(pid_)) {
      return ResultCode::invalidUIElement;
    }
    return std::vector<std::string>(std::begin(kStrangersAttributes), std::end(kStrangersAttributes));
  });
}

Result<Value> ApplicationElement::copyAttributeValue(const std::string& attribute) const {
  if (attribute == "AXIdentifier") {
    if (!processExists(pid_)) {
      return ResultCode::invalidUIElement;
    }
    const auto running = platform().workspace().runningApplication(pid_);
    const bool hasName = running && running->bundleIdentifier && !running->bundleIdentifier->empty();
    return hasName ? Result<Value>(Value(*running->bundleIdentifier)) : Result<Value>(ResultCode::noValue);
  }
  if (attribute == "AXRole") {
    return processExists(pid_) ? Result<Value>(Value(std::string("AXApplication")))
                               : Result<Value>(ResultCode::invalidUIElement);
  }
  // Some toolkits describe an application by the path of its executable.
  if (attribute == "AXDescription") {
    return ResultCode::noValue;
  }
  return services().withBatch([&](AtspiBatch& batch) -> Result<Value> {
    const auto roots = services().readRootsOf(pid_, batch, timeout());
    if (roots.empty()) {
      return valueOfStranger(attribute);
    }
    const AtspiSubject subject{elements(), batch, roots.front(), timeout()};
    Result<Value> value = attributeValue(subject, attribute);
    // Of one that does not answer, what the X server knows tells at least which it is.
    const bool isNameless = attribute == "AXTitle" && !value;
    const bool isSilent = attribute == "AXRole" && value.code == ResultCode::cannotComplete;
    return isNameless || isSilent ? valueOfStranger(attribute) : value;
  });
}

/// What is known of an application that is not on the accessibility bus.
Result<Value> ApplicationElement::valueOfStranger(const std::string& attribute) const {
  if (!processExists(pid_)) {
    return ResultCode::invalidUIElement;
  }
  const bool isKnown = std::find(std::begin(kStrangersAttributes), std::end(kStrangersAttributes), attribute) !=
                       std::end(kStrangersAttributes);
  if (!isKnown) {
    return ResultCode::attributeUnsupported;
  }

  const auto active = services().windows().activeWindow();
  const bool isActive = active && active->pid == pid_;
  if (attribute == "AXFrontmost") {
    return active.code == ResultCode::cannotComplete ? Result<Value>(active.code) : Result<Value>(Value(isActive));
  }
  const auto all = services().windows().windows();
  if (!all) {
    return all.code;
  }
  std::vector<WindowStack::Window> own = *all;
  std::erase_if(own, [&](const WindowStack::Window& window) { return window.pid != pid_ || window.overrideRedirect; });
  if (attribute == "AXTitle") {
    const std::string title =
        own.empty() || own.front().className.empty() ? executableName(pid_) : own.front().className;
    return title.empty() ? Result<Value>(ResultCode::noValue) : Result<Value>(Value(title));
  }
  if (attribute == "AXWindows" || attribute == "AXChildren") {
    Array windows;
    for (const WindowStack::Window& window : own) {
      windows.emplace_back(elements().window(window));
    }
    return Value(std::move(windows));
  }
  if (isActive) {
    return Value(elements().window(*active));
  }
  return own.empty() ? Result<Value>(ResultCode::noValue) : Result<Value>(Value(elements().window(own.front())));
}

}  // namespace zqlogging
