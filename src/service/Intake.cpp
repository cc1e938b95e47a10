#include <system_error>
#include <utility>

#include "accessibility/AXError.h"
#include "accessibility/SystemWideElement.h"
#include "diagnostics/DeveloperTiers.h"
#include "events/ZQLogEventType.h"
#include "events/ZQUILogKeyboardEvent.h"
#include "events/ZQUILogMouseEvent.h"
#include "events/ZQUILogRemoteCommand.h"
#include "geometry/Geometry.h"
#include "service/ServiceImpl.h"
#include "text/Text.h"

namespace zqlogging {
namespace {

/// The source value that marks an event injected by remote control.
constexpr std::int64_t kRemoteSource = 1;
/// Characters kept of a text that an application gives.
constexpr std::size_t kRecordedTextLength = 256;

bool isDown(std::uint64_t eventType) {
  const PlatformEventType type{eventType};
  return type == PlatformEventType::leftMouseDown || type == PlatformEventType::rightMouseDown;
}

/// "(A. B)" for the recognized texts, or nothing.
std::string recognizedTextSuffix(const std::vector<ZQTextDetection>& texts) {
  std::string suffix;
  for (const ZQTextDetection& text : texts) {
    if (!text.string.empty()) {
      suffix.append(suffix.empty() ? "" : ". ").append(text.string);
    }
  }
  return suffix.empty() ? suffix : "(" + suffix + ")";
}

}  // namespace

std::string cutForRecord(std::string text) {
  text.resize(firstCharacters(text, kRecordedTextLength).size());
  return text;
}

Surroundings surroundingsOf(const ZQAccessibilityElement& element) {
  Surroundings result;
  if (const auto application = element.application()) {
    result.applicationName = application->axTitle();
    result.applicationId = application->axIdentifier();
  }
  const auto window = element.window();
  result.windowName = window ? window->axTitle() : std::string();
  result.windowRect = toString(window ? window->frame() : CGRect{});
  return result;
}

void ServiceImpl::enqueue(WorkItem item) {
  const auto makeHandler = [this] {
    return [weak = service.weak_from_this()](WorkItem& next) {
      if (const auto alive = weak.lock()) {
        alive->impl_->handle(next);
      }
    };
  };
  try {
    serialQueue.push(std::move(item), makeHandler);
  } catch (const std::system_error& error) {
    platform->logs().generalLog(std::string("ZQLogging: no thread for the events: ") + error.what());
  }
}

void ServiceImpl::prepareRecognition() {
  {
    const std::lock_guard lock(mutex);
    if (!ocrEnabled || !bufferForOcr || std::exchange(recognitionPrepared, true)) {
      return;
    }
  }
  enqueue(PrepareRecognition{});
}

void ServiceImpl::handle(WorkItem& item) {
  if (std::holds_alternative<PrepareRecognition>(item)) {
    perform([&] { ocr.prepare(); });
    return;
  }
  const auto& event = std::get<ForwardedEvent>(item);
  perform([&] {
    const CGPoint screenPoint = carbonScreenPoint(event.point, platform->workspace());
    trace("ObjC.perform inside obtainReadableDataOfElement");
    const auto scope = platform->accessibility().openReadScope();
    switch (PlatformEventType{event.eventType}) {
      case PlatformEventType::leftMouseDown:
      case PlatformEventType::leftMouseUp:
      case PlatformEventType::rightMouseDown:
      case PlatformEventType::rightMouseUp:
        processMouseEvent(event, screenPoint);
        break;
      case PlatformEventType::keyDown:
        processKeyEvent(event);
        break;
    }
  });
}

void ServiceImpl::processMouseEvent(const ForwardedEvent& event, CGPoint screenPoint) {
  trace("processMousEvent");
  const auto point = wholePoint(screenPoint);
  if (!point || !wholePoint(event.point)) {
    return;
  }
  std::shared_ptr<UIElement> hit;
  try {
    hit = SystemWideElement::shared(*platform)->elementAtPosition(static_cast<float>(point->x),
                                                                  static_cast<float>(point->y));
  } catch (const AXError& error) {
    trace("ZQLogging service error (processMousEvent): " + error.description());
    return;
  }
  if (hit == nullptr) {
    return;
  }
  const ZQAccessibilityElement element(hit->element());
  const std::string name = element.elementName(true);
  ZQXPath path = element.xPath(includeSiblings, event.eventType);
  if (blackListManager.isXPathBlackListed(path)) {
    tellDelegate(
        [&](ZQLoggerDelegate& host) { host.onBlackListed(name, path.fullPath, path.url, isDown(event.eventType)); });
    return;
  }
  const bool foundOnlyTheWindow = !path.pathItems.empty() && path.pathItems.front().role == "Window";
  if (foundOnlyTheWindow && iterateDOM) {
    if (const auto window = element.window()) {
      iterateDOMDepth = 0;
      path = ZQAccessibilityElement::xPathUsingElements(iterateAllElements(*window, *point), includeSiblings);
    }
  }
  const bool isRemote = event.source == kRemoteSource;
  std::optional<PixelBuffer> frame;
  if (ocrEnabled) {
    const std::lock_guard lock(mutex);
    frame = bufferForOcr;
  }
  if (!frame) {
    appendMouseEvent(element, path, event.eventType, *point, name, isRemote, {}, {}, {});
    return;
  }
  ocr.recognize(*frame, event.point,
                [&](const std::vector<ZQTextDetection>& texts, const std::vector<ZQRectangleDetection>& rectangles,
                    CGPoint recognizerPoint) {
                  appendMouseEvent(element, path, event.eventType, *point, name, isRemote, texts, rectangles,
                                   recognizerPoint);
                });
}

void ServiceImpl::appendMouseEvent(const ZQAccessibilityElement& element, const ZQXPath& path, std::uint64_t eventType,
                                   CGPoint screenPoint, const std::string& name, bool isRemote,
                                   const std::vector<ZQTextDetection>& texts,
                                   const std::vector<ZQRectangleDetection>& rectangles, CGPoint recognizerPoint) {
  trace("Appending mouse event:");
  const std::string suffix = recognizedTextSuffix(texts);
  tellDelegate([&](ZQLoggerDelegate& host) {
    host.onClick(name, path.fullPath, path.url, texts, rectangles, recognizerPoint, isDown(eventType));
  });
  trace("creating event");

  auto record = std::make_shared<ZQUILogMouseEvent>();
  record->mouseEventType = rawValue(mouseLogEventTypeOf(eventType));
  record->button = mouseButton(eventType);
  record->elementXpath = path.fullPath + suffix;
  record->elementName = name;
  record->elementControlType = element.elementControlType();
  record->elementValue = cutForRecord(element.axValue());
  setSurroundings(*record, element);
  record->elementRect = toString(element.frame());
  record->eventPoint = toString(screenPoint);
  record->isRemoteControlEvent = isRemote;
  record->url = element.axUrl();
  record->description = cutForRecord(element.axDescription());

  trace("Click");
  trace("Name: " + name);
  trace("Path: " + record->elementXpath);
  appendEvent(std::move(record));
}

void ServiceImpl::processKeyEvent(const ForwardedEvent& event) {
  std::optional<ZQAccessibilityElement> focused;
  {
    const std::lock_guard lock(mutex);
    focused = focusedElement;
  }
  if (!focused) {
    return;
  }
  auto record = std::make_shared<ZQUILogKeyboardEvent>();
  // What is typed into a password field is as secret as what it holds.
  record->character = focused->isSecureTextField() ? std::string() : event.characters;
  record->elementXpath = focused->xPath(false, std::nullopt).fullPath;
  record->elementName = focused->elementName(true);
  record->elementValue = cutForRecord(focused->axValue());
  setSurroundings(*record, *focused);
  record->isRemoteControlEvent = event.source == kRemoteSource;
  appendEvent(std::move(record));
}

void ServiceImpl::recordRemoteCommand(const std::string& cli, const std::string& role, const std::string& command,
                                      const std::optional<std::string>& details) {
  auto record = std::make_shared<ZQUILogRemoteCommand>();
  record->cli = validUtf8(cli);
  record->role = validUtf8(role);
  record->command = validUtf8(command);
  record->details = validUtf8(details.value_or(""));
  record->isRemoteControlEvent = true;
  appendEvent(std::move(record));
}

}  // namespace zqlogging
