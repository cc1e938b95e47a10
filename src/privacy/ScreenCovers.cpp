#include "privacy/ScreenCovers.h"

#include "geometry/Geometry.h"
#include "platform/Platform.h"

namespace zqlogging {
namespace {

using Reason = PrivacyGuard::Reason;

/// The most elements looked at for one picture.
constexpr int kMaxLooked = 2000;
constexpr int kMaxDepth = 100;

class Search {
 public:
  Search(CGRect area, PrivacyGuard& guard, const Lists& lists) : area_(area), guard_(guard), lists_(lists) {}

  void lookAtApplication(const port::ElementRef& application) {
    const bool isListed = guard_.judgeProgram(application) != Reason::none;
    for (const char* list : {"AXWindows", "AXChildren"}) {
      for (const port::ElementRef& top : elementsOf(*application, list)) {
        if (isListed || isListedWindow(*top)) {
          cover(*top);
        } else {
          lookAt(top, *top, 0);
        }
      }
    }
  }
  ScreenCovers result;

 private:
  bool isListedWindow(const port::Element& window) {
    const auto title = ask<std::string>(window, "AXTitle");
    return lists_.mentionsPage(title.value) || lists_.listsProgram(title.value) ||
           (title.isUnknown() && (lists_.hasUrls() || lists_.hasProcesses()));
  }

  void lookAt(const port::ElementRef& element, const port::Element& top, int depth) {
    if (++looked_ > kMaxLooked || depth > kMaxDepth) {
      result.areKnown = false;
    }
    if (!result.areKnown) {
      return;
    }
    if (const auto frame = frameOf(*element); frame && !intersects(*frame, area_)) {
      return;
    }
    if (!guard_.mayBeListed(element)) {
      cover(top);
      return;
    }
    if (guard_.tellingOf(element) != PrivacyGuard::Telling::all) {
      cover(*element);
      return;
    }
    const auto children = elementsOf(*element, "AXChildren");
    element->platform().accessibility().expectReads(children);
    for (const port::ElementRef& child : children) {
      lookAt(child, top, depth + 1);
    }
  }

  std::vector<port::ElementRef> elementsOf(const port::Element& element, const char* attribute) {
    std::vector<port::ElementRef> elements;
    const auto list = ask<port::Array>(element, attribute);
    if (list.isUnknown()) {
      cover(element);
    }
    for (const port::Value& value : list.value) {
      if (const auto* found = std::get_if<port::ElementRef>(&value); found != nullptr && *found != nullptr) {
        elements.push_back(*found);
      }
    }
    return elements;
  }

  /// Its frame, where it has one with an area.
  std::optional<CGRect> frameOf(const port::Element& element) {
    const auto position = ask<CGPoint>(element, "AXPosition");
    const auto size = ask<CGSize>(element, "AXSize");
    const bool isFrame = position.isGiven() && size.isGiven() && size.value.width > 0 && size.value.height > 0;
    return isFrame ? std::optional(CGRect{position.value, size.value}) : std::nullopt;
  }

  void cover(const port::Element& element) {
    if (const auto frame = frameOf(element)) {
      result.rects.push_back(*frame);
    } else {
      result.areKnown = false;
    }
  }

  const CGRect area_;
  PrivacyGuard& guard_;
  const Lists& lists_;
  int looked_ = 0;
};

}  // namespace

ScreenCovers screenCoversIn(CGRect area, port::Platform& platform, PrivacyGuard& guard, const Lists& lists) {
  Search search(area, guard, lists);
  for (const port::RunningApplication& running : platform.workspace().runningApplications()) {
    if (!running.terminated && running.pid >= 0 && search.result.areKnown) {
      search.lookAtApplication(platform.accessibility().createApplicationElement(running.pid));
    }
  }
  return std::move(search.result);
}

}  // namespace zqlogging
