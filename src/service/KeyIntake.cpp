#include <algorithm>
#include <chrono>
#include <string_view>

#include "events/ZQLogEventType.h"
#include "events/ZQUILogKeyboardEvent.h"
#include "geometry/Geometry.h"
#include "privacy/Answer.h"
#include "service/ServiceImpl.h"

namespace zqlogging {
namespace {

using Reason = PrivacyGuard::Reason;
using Verdict = PrivacyGuard::Verdict;

void setApplication(ZQUILogKeyboardEvent& record, const ZQAccessibilityElement& application) {
  record.applicationName = application.axTitle();
  record.applicationId = application.axIdentifier();
}

std::optional<ZQAccessibilityElement> frontWindow(const ZQAccessibilityElement& application) {
  for (const char* attribute : {"AXFocusedWindow", "AXMainWindow"}) {
    if (auto window = application.value<ZQAccessibilityElement>(attribute)) {
      return window;
    }
  }
  for (const port::Value& each : application.value<port::Array>("AXWindows").value_or(port::Array())) {
    const auto* window = std::get_if<port::ElementRef>(&each);
    if (window != nullptr && *window != nullptr) {
      ZQAccessibilityElement found(*window, application.guard());
      if (found.value<bool>("AXMain") == true) {
        return found;
      }
    }
  }
  return std::nullopt;
}

/// Seconds after a key press at which it is decided in any case.
constexpr double kLongestWait = 0.5;
constexpr std::chrono::milliseconds kWaitStep(5);

bool isControl(char character) { return static_cast<unsigned char>(character) < ' ' || character == '\x7f'; }

/// Whether a key press may move the focus: Tab, Enter, Escape, combinations with Control, and every key that is not
/// known to have written something.
bool mayMoveFocus(const std::string& characters) {
  return characters.empty() || std::any_of(characters.begin(), characters.end(), isControl);
}

/// Whether it is no secret, whoever got it: Tab, Enter and the like write nothing.
bool writesNothing(std::string_view characters) { return std::all_of(characters.begin(), characters.end(), isControl); }

/// Whether the element says that it has the focus, where news may be late.
bool hasFocusNow(const ZQAccessibilityElement& element) {
  if (element.elementRef()->platform().accessibility().focusNewsDelay().count() == 0) {
    return true;
  }
  const auto focused = ask<bool>(*element.elementRef(), "AXFocused");
  return focused.isGiven() && focused.value;
}

}  // namespace

double ServiceImpl::noteForwarded(std::uint64_t eventType, const std::string& characters, double now) {
  const PlatformEventType type{eventType};
  const bool isKey = type == PlatformEventType::keyDown;
  const bool isPress = type == PlatformEventType::leftMouseDown || type == PlatformEventType::rightMouseDown;
  if (isPress) {
    lastClick = now;
  }
  const bool movesFocus = isPress || type == PlatformEventType::leftMouseUp || (isKey && mayMoveFocus(characters));
  return movesFocus ? focusMayHaveMoved.exchange(now) : focusMayHaveMoved.load();
}

bool ServiceImpl::waitUntilFocusIsCertain(const ForwardedEvent& key) const {
  port::Accessibility& accessibility = platform->accessibility();
  const std::chrono::duration<double> delay = accessibility.focusNewsDelay();
  if (delay.count() <= 0) {
    return true;
  }
  while (true) {
    const double now = platform->clock().steadyTime();
    if (now - std::max(key.focusMovedBefore, lastSwitch.load()) >= delay.count()) {
      return true;
    }
    // A click that waits behind the key must find what it was made on.
    if (now - key.at >= kLongestWait || lastClick > key.at) {
      return false;
    }
    accessibility.waitForFocusNews(kWaitStep);
  }
}

void ServiceImpl::processKeyEvent(ForwardedEvent& event) {
  const bool isNoSecret = writesNothing(event.characters.view());
  bool isCertain = !isNoSecret && waitUntilFocusIsCertain(event);
  std::optional<ZQAccessibilityElement> focused;
  {
    const std::lock_guard lock(mutex);
    focused = focusedElement;
    isCertain = isCertain && focusedSince <= event.at;
  }
  if (!focused) {
    return;
  }
  auto record = std::make_shared<ZQUILogKeyboardEvent>();
  record->isRemoteControlEvent = event.source == kRemoteSource;
  record->windowRect = toString(CGRect{});
  const auto front = platform->workspace().frontmostProcess();
  const auto owner = focused->elementRef()->getPid();
  if (front && owner && *front == owner.value) {
    const bool mayBeRecorded = describeFocused(*record, guarded(focused->elementRef()));
    if (mayBeRecorded && (isNoSecret || (isCertain && hasFocusNow(*focused)))) {
      record->character = event.characters.view();
    }
  } else if (front) {
    describeFront(*record, *front);
  }
  event.characters.wipe();
  appendEvent(std::move(record));
}

bool ServiceImpl::describeFocused(ZQUILogKeyboardEvent& record, const ZQAccessibilityElement& element) const {
  PrivacyGuard& guard = *element.guard();
  const PrivacyGuard::Judgement judgement = guard.judge(element.elementRef());
  if (judgement.verdict == Verdict::blacklisted) {
    const auto application = judgement.reason == Reason::page ? element.application() : std::nullopt;
    if (application) {
      setApplication(record, *application);
    }
    return false;
  }
  ZQXPath path = element.xPath(false, std::nullopt);
  const bool isListed = blackListManager.isXPathBlackListed(path);
  if (isListed) {  // the key is recorded, but nothing of what was typed
    guard.withholdValues();
  }
  if (guard.withholdTitlesOfPages(element.elementRef()) || isListed) {
    path = element.xPath(false, std::nullopt);
  }
  record.elementXpath = path.fullPath;
  record.elementName = element.elementName(true);
  record.elementValue = cutForRecord(element.axValue());
  setSurroundings(record, element);
  return !isListed && guard.mayTellTyped(element.elementRef());
}

void ServiceImpl::describeFront(ZQUILogKeyboardEvent& record, std::int32_t process) const {
  const ZQAccessibilityElement application = guarded(platform->accessibility().createApplicationElement(process));
  PrivacyGuard& guard = *application.guard();
  const auto mayBeTold = [&](const ZQAccessibilityElement& element, const ZQXPath& path) {
    return guard.judge(element.elementRef()).verdict != Verdict::blacklisted &&
           !blackListManager.isXPathBlackListed(path);
  };
  ZQXPath path = application.xPath(false, std::nullopt);
  if (!mayBeTold(application, path)) {
    return;
  }
  setApplication(record, application);
  record.elementXpath = path.fullPath;
  const auto window = frontWindow(application);
  if (!window) {
    return;
  }
  path = window->xPath(false, std::nullopt);
  if (mayBeTold(*window, path)) {
    if (guard.withholdTitlesOfPages(window->elementRef())) {
      path = window->xPath(false, std::nullopt);
    }
    record.elementXpath = path.fullPath;
    record.windowName = window->axTitle();
    record.windowRect = toString(window->frame());
  }
}

}  // namespace zqlogging
