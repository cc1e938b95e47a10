#include "linux/accessibility/AtspiHitTest.h"

#include <cmath>
#include <limits>

#include "linux/accessibility/AtspiPoint.h"
#include "linux/accessibility/AtspiPopups.h"
#include "linux/accessibility/AtspiWindows.h"
#include "linux/atspi/AtspiProcesses.h"

namespace zqlogging {

using port::ElementRef;
using port::Result;
using port::ResultCode;

namespace {

constexpr int kMaxLevelsToControl = 3;
// What a record of an element takes.
constexpr unsigned kEverything = needName | needStep | needValue | needSiblings | needChildren | needFrame;

class HitTest {
 public:
  HitTest(const ElementFactory& elements, AtspiBatch& batch, int x, int y, double seconds)
      : elements_(elements),
        services_(elements.services()),
        batch_(batch),
        point_(batch, x, y, seconds),
        seconds_(seconds) {}

  Result<ElementRef> run(std::optional<std::int32_t> pid) {
    const auto window = pid ? windowOf(*pid) : services_.windows().windowAt(point_.x(), point_.y());
    if (!window) {
      return window.code;
    }
    if (!window->pid) {
      return ResultCode::cannotComplete;  // whose it is decides whether it may be told
    }
    const auto inApplication = elementOf(*window);
    // What the application does not say, the X server does of the window as a whole.
    return inApplication.code == ResultCode::cannotComplete ? seenByServer(*window) : inApplication;
  }

 private:
  ElementRef seenByServer(const WindowStack::Window& window) const {
    return elements_.partOfWindow(window, {double(point_.x()), double(point_.y())});
  }

  Result<ElementRef> elementOf(const WindowStack::Window& window) {
    for (const AtspiObject& root : services_.readRootsOf(*window.pid, batch_, seconds_)) {
      const auto windows = readWindows(batch_, root, seconds_);
      if (!windows) {
        return windows.code;
      }
      const AtspiWindow* match = matchingWindow(windows.value, window);
      if (match) {
        Result<AtspiObject> found = point_.innermost(match->object);
        const bool isPopup = window.overrideRedirect || window.type == WindowStack::Type::menu;
        const bool isEmpty = found && found.value == match->object;
        const auto choice = isPopup && isEmpty ? itemOfComboBeside(point_, windows.value, *match) : std::nullopt;
        return finish(choice ? Result<AtspiObject>(*choice) : found, isPopup);
      }
      if (window.type == WindowStack::Type::toolTip) {
        continue;
      }
      if (const auto item = itemOfUnlistedPopup(point_, windows.value, window.frame)) {
        return finish(*item, true);
      }
    }
    return seenByServer(window);
  }

  Result<WindowStack::Window> windowOf(std::int32_t pid) {
    const auto all = services_.windows().windows();
    if (!all) {
      return all.code;
    }
    for (const WindowStack::Window& window : *all) {
      if (window.pid == pid && point_.isInside(window.frame)) {
        return window;
      }
    }
    return ResultCode::noValue;
  }

  Result<ElementRef> finish(const Result<AtspiObject>& found, bool inPopup) {
    if (!found) {
      return found.code;
    }
    const AtspiObject meant = controlAround(found.value, inPopup).value_or(found.value);
    batch_.prefetchFor(meant, kEverything);
    return elements_.object(meant, batch_);
  }

  /// Some toolkits answer with the text or picture of a button rather than the button, and not even always: what is
  /// meant is the control that such an element decorates.
  std::optional<AtspiObject> controlAround(AtspiObject current, bool inPopup) {
    for (int level = 0; level < kMaxLevelsToControl; ++level) {
      const RoleRow* row = point_.roleOf(current);
      const bool isPart = row && (row->role == "AXStaticText" || row->role == "AXImage" || row->role == "AXGroup");
      const bool isChoice =
          row && !inPopup &&
          (row->role == "AXMenuItem" || row->role == "AXMenu" || row->role == "AXList" || row->role == "AXRow");
      const auto parent = isPart || isChoice ? point_.parentOf(current) : std::nullopt;
      if (!parent || parent->isRoot()) {
        return std::nullopt;
      }
      current = *parent;
      // Along with the role: what is decided by, and what its or its parts' record takes.
      for (const AtspiRequest request : {AtspiRequest::states, AtspiRequest::childCount}) {
        batch_.prefetch(current, request);
      }
      batch_.prefetchComponent(current, AtspiRequest::extents);
      const RoleRow* around = point_.roleOf(current);
      const bool isControl = around && (isPart ? around->isControl() : around->role == "AXComboBox");
      if (isControl) {
        return isClosed(current) && point_.isInside(current) ? std::optional(current) : std::nullopt;
      }
    }
    return std::nullopt;
  }

  /// Whether the control shows nothing but itself, unlike an expander.
  bool isClosed(const AtspiObject& control) {
    const auto* states = point_.read<AtspiStates>(control, AtspiRequest::states);
    return states && !has(*states, stateExpanded);
  }

  const ElementFactory& elements_;
  AtspiServices& services_;
  AtspiBatch& batch_;
  AtspiPoint point_;
  double seconds_;
};

}  // namespace

Result<ElementRef> elementAtPoint(const ElementFactory& elements, float x, float y, std::optional<std::int32_t> pid,
                                  double seconds) {
  constexpr float kLimit = std::numeric_limits<std::int16_t>::max();  // of the X server's coordinates
  if (!std::isfinite(x) || !std::isfinite(y)) {
    return ResultCode::illegalArgument;
  }
  if (std::fabs(x) > kLimit || std::fabs(y) > kLimit) {
    return ResultCode::noValue;
  }
  return elements.services().withBatch([&](AtspiBatch& batch) {
    return HitTest(elements, batch, static_cast<int>(std::floor(x)), static_cast<int>(std::floor(y)), seconds).run(pid);
  });
}

}  // namespace zqlogging
