#include <algorithm>
#include <system_error>
#include <utility>

#include "accessibility/AXError.h"
#include "accessibility/SystemWideElement.h"
#include "diagnostics/DeveloperTiers.h"
#include "events/ZQLogEventType.h"
#include "events/ZQUILogMouseEvent.h"
#include "events/ZQUILogRemoteCommand.h"
#include "geometry/Geometry.h"
#include "privacy/ScreenCovers.h"
#include "service/ServiceImpl.h"
#include "text/Text.h"

namespace zqlogging {
namespace {

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
  checkDriven();
  if (std::holds_alternative<PrepareRecognition>(item)) {
    perform([&] { ocr.prepare(); });
    return;
  }
  auto& event = std::get<ForwardedEvent>(item);
  perform([&] {
    const std::optional<CGPoint> screenPoint = carbonScreenPoint(event.point, platform->workspace());
    trace("ObjC.perform inside obtainReadableDataOfElement");
    const auto scope = platform->accessibility().openReadScope();
    switch (PlatformEventType{event.eventType}) {
      case PlatformEventType::leftMouseDown:
      case PlatformEventType::leftMouseUp:
      case PlatformEventType::rightMouseDown:
      case PlatformEventType::rightMouseUp:
        if (screenPoint) {
          processMouseEvent(event, *screenPoint);
        } else {
          trace("ZQLogging service error (processMousEvent): the screens cannot be told");
          countDropped("the screens cannot be told");
        }
        break;
      case PlatformEventType::keyDown:
        processKeyEvent(event);
        break;
    }
  });
  event.characters.wipe();
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
    countDropped(error.description());
    return;
  }
  if (hit == nullptr) {
    return;
  }
  const ZQAccessibilityElement element = guarded(hit->element());
  auto described = describeUnlessBlackListed(element, includeSiblings, event.eventType, isDown(event.eventType));
  if (!described) {
    return;
  }
  auto& [name, path] = *described;
  const auto showsAll = [](const ZQAccessibilityElement& each) {
    return each.guard()->tellingOf(each.elementRef()) == PrivacyGuard::Telling::all;
  };
  bool mayBeRead = showsAll(element);
  const bool foundOnlyTheWindow = !path.pathItems.empty() && path.pathItems.front().role == "Window";
  if (foundOnlyTheWindow && iterateDOM) {
    if (const auto window = element.window()) {
      iterateDOMDepth = 0;
      const auto found = iterateAllElements(*window, *point);
      auto pathOfFound = describeFoundUnlessBlackListed(found, name, isDown(event.eventType));
      if (!pathOfFound) {
        return;
      }
      path = std::move(*pathOfFound);
      mayBeRead = mayBeRead && std::all_of(found.begin(), found.end(),
                                           [&](const IteratedElementData& each) { return showsAll(each.e); });
    }
  }
  const bool isRemote = event.source == kRemoteSource;
  std::optional<PixelBuffer> frame;
  if (ocrEnabled) {
    const std::lock_guard lock(mutex);
    frame = bufferForOcr;
  }
  if (!frame || !mayBeRead) {
    appendMouseEvent(element, path, event.eventType, *point, name, isRemote, {}, {}, {});
    return;
  }
  const auto covers = [&](CGRect part) { return coversIn(part, event.point, *element.guard()); };
  ocr.recognize(*frame, event.point, covers,
                [&](const std::vector<ZQTextDetection>& texts, const std::vector<ZQRectangleDetection>& rectangles,
                    CGPoint recognizerPoint) {
                  appendMouseEvent(element, path, event.eventType, *point, name, isRemote, texts, rectangles,
                                   recognizerPoint);
                });
}

std::optional<std::vector<CGRect>> ServiceImpl::coversIn(CGRect part, CGPoint point, PrivacyGuard& guard) const {
  const std::optional<double> height = flipHeightAt(point, platform->workspace()).value;
  if (!height) {
    return std::nullopt;
  }
  const auto flipped = [&](CGRect rect) {
    return CGRect{{rect.origin.x, *height - rect.origin.y - rect.size.height}, rect.size};
  };
  ScreenCovers covers = screenCoversIn(flipped(part), *platform, guard, blackListManager);
  if (!covers.areKnown) {
    return std::nullopt;
  }
  for (CGRect& rect : covers.rects) {
    rect = flipped(rect);
  }
  return std::move(covers.rects);
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

void ServiceImpl::recordRemoteCommand(const std::string& cli, const std::string& role, const std::string& command,
                                      const std::optional<std::string>& details) {
  checkDriven();
  auto record = std::make_shared<ZQUILogRemoteCommand>();
  record->cli = validUtf8(cli);
  record->role = validUtf8(role);
  record->command = validUtf8(command);
  record->details = validUtf8(details.value_or(""));
  record->isRemoteControlEvent = true;
  appendEvent(std::move(record));
}

}  // namespace zqlogging
