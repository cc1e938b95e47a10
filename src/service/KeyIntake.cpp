#include "events/ZQUILogKeyboardEvent.h"
#include "geometry/Geometry.h"
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

}  // namespace

void ServiceImpl::processKeyEvent(ForwardedEvent& event) {
  std::optional<ZQAccessibilityElement> focused;
  {
    const std::lock_guard lock(mutex);
    focused = focusedElement;
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
    if (describeFocused(*record, guarded(focused->elementRef()))) {
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
    path = element.xPath(false, std::nullopt);
  }
  record.elementXpath = path.fullPath;
  record.elementName = element.elementName(true);
  record.elementValue = cutForRecord(element.axValue());
  setSurroundings(record, element);
  return judgement.verdict == Verdict::record && !isListed;
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
    record.elementXpath = path.fullPath;
    record.windowName = window->axTitle();
    record.windowRect = toString(window->frame());
  }
}

}  // namespace zqlogging
