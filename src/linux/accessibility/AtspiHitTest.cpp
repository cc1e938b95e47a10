#include "linux/accessibility/AtspiHitTest.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "linux/accessibility/AtspiAttributes.h"
#include "linux/accessibility/WindowElement.h"
#include "linux/atspi/AtspiVocabulary.h"

namespace zqlogging {

using port::ElementRef;
using port::Result;
using port::ResultCode;

namespace {

constexpr int kMostSteps = 32;
constexpr int kDeepestMenu = 10;
constexpr std::size_t kMostNodesSearched = 400;
// What a record of an element takes.
constexpr unsigned kEverything = AtspiReader::wantsName | AtspiReader::wantsStep | AtspiReader::wantsValue |
                                 AtspiReader::wantsSiblings | AtspiReader::wantsChildren | AtspiReader::wantsFrame;

double area(const CGRect& rect) { return std::max(0.0, rect.size.width) * std::max(0.0, rect.size.height); }

/// How much two rectangles are the same: 1 when they are, 0 when they don't meet.
double likeness(const CGRect& a, const CGRect& b) {
  const double left = std::max(a.origin.x, b.origin.x), top = std::max(a.origin.y, b.origin.y);
  const double right = std::min(a.origin.x + a.size.width, b.origin.x + b.size.width);
  const double bottom = std::min(a.origin.y + a.size.height, b.origin.y + b.size.height);
  const double common = area({{left, top}, {right - left, bottom - top}});
  return common > 0 ? common / (area(a) + area(b) - common) : 0;
}

void askAboutWindow(AtspiReader& reader, const AtspiObject& window) {
  reader.ask(window, Fact::name);
  reader.askComponent(window, Fact::extents);
}

/// One that has a frame.
Result<AtspiWindow> readWindow(AtspiReader& reader, const AtspiObject& window, double seconds) {
  askAboutWindow(reader, window);
  const AtspiAnswer& extents = reader.read(window, Fact::extents, seconds);
  const auto frame = frameFrom(extents);
  if (!frame) {
    return extents.code == ResultCode::success ? ResultCode::noValue : extents.code;
  }
  const auto* name = reader.read(window, Fact::name, seconds).as<std::string>();
  return AtspiWindow{window, *frame, name ? *name : ""};
}

class HitTest {
 public:
  HitTest(LinuxAccessibility& accessibility, AtspiReader& reader, int x, int y, double seconds)
      : accessibility_(accessibility), reader_(reader), x_(x), y_(y), seconds_(seconds) {
    reader_.setPoint(x, y);
  }

  Result<ElementRef> run(std::optional<std::int32_t> pid) {
    if (!accessibility_.windows().isAvailable()) {
      return withoutStacking(pid);
    }
    const auto window = pid ? windowOf(*pid) : accessibility_.windows().windowAt(x_, y_);
    if (!window) {
      return ResultCode::noValue;
    }
    const auto roots =
        window->pid ? accessibility_.rootsOf(*window->pid, reader_, seconds_) : std::vector<AtspiObject>();
    for (const AtspiObject& root : roots) {
      for (const AtspiObject& likely : reader_.expected(root, Fact::atPoint)) {
        askAboutWindow(reader_, likely);
        reader_.askComponent(likely, Fact::atPoint);
      }
    }
    for (const AtspiObject& root : roots) {
      const auto windows = candidates(root, *window);
      if (!windows) {
        return windows.code;
      }
      const AtspiWindow* match = matchingWindow(windows.value, *window);
      if (match) {
        reader_.expect(root, Fact::atPoint, {ResultCode::success, match->object});
        Result<AtspiObject> found = descend(match->object);
        const bool isPopup = window->overrideRedirect || window->type == WindowStack::Type::menu;
        const bool isEmpty = found && found.value == match->object;
        const auto choice = isPopup && isEmpty ? choiceBeside(windows.value, *match) : std::nullopt;
        return finish(choice ? Result<AtspiObject>(*choice) : found, isPopup);
      }
      if (window->type == WindowStack::Type::toolTip) {
        continue;
      }
      if (const auto item = poppedUpItem(windows.value, window->frame)) {
        return finish(*item, true);
      }
    }
    return WindowElement::at({double(x_), double(y_)}, accessibility_, *window);
  }

 private:
  /// The windows of an application among which the server's is: only the one that was hit last if no other could be
  /// more like it, or else all.
  Result<std::vector<AtspiWindow>> candidates(const AtspiObject& root, const WindowStack::Window& window) {
    for (const AtspiObject& likely : reader_.expected(root, Fact::atPoint)) {
      const auto last = readWindow(reader_, likely, seconds_);
      if (last.code == ResultCode::cannotComplete) {
        return last.code;
      }
      const bool isSame = last && !window.overrideRedirect && !window.title.empty() &&
                          last.value.name == window.title &&
                          (last.value.frame == window.frame || last.value.frame == window.clientFrame);
      if (isSame) {
        return std::vector{last.value};
      }
    }
    return windowsOf(reader_, root, seconds_);
  }

  std::optional<CGRect> frameOf(const AtspiObject& object) {
    reader_.askComponent(object, Fact::extents);
    return frameFrom(reader_.read(object, Fact::extents, seconds_));
  }

  bool containsPoint(const AtspiObject& object) {
    const auto frame = frameOf(object);
    return frame && frame->contains({double(x_), double(y_)});
  }

  std::vector<AtspiObject> childrenOf(const AtspiObject& object) {
    const auto* children = reader_.read(object, Fact::children, seconds_).as<std::vector<AtspiObject>>();
    return children ? *children : std::vector<AtspiObject>();
  }

  std::optional<WindowStack::Window> windowOf(std::int32_t pid) {
    for (const WindowStack::Window& window : accessibility_.windows().windows()) {
      if (window.pid == pid && window.frame.contains({double(x_), double(y_)})) {
        return window;
      }
    }
    return std::nullopt;
  }

  /// No X server to say what lies on top: the active window does, or else any that shows there.
  Result<ElementRef> withoutStacking(std::optional<std::int32_t> pid) {
    const auto roots =
        pid ? accessibility_.rootsOf(*pid, reader_, seconds_) : accessibility_.applications().all(reader_, seconds_);
    for (const AtspiObject& root : roots) {
      reader_.ask(root, Fact::children);
    }
    std::optional<AtspiWindow> best;
    for (const AtspiObject& root : roots) {
      const auto windows = windowsOf(reader_, root, seconds_);
      for (const AtspiWindow& window : windows.value) {
        reader_.ask(window.object, Fact::states);
      }
      for (const AtspiWindow& window : windows.value) {
        const auto* states = reader_.read(window.object, Fact::states, seconds_).as<AtspiStates>();
        const bool isHere = states && has(*states, stateShowing) && window.frame.contains({double(x_), double(y_)});
        if (isHere && (!best || has(*states, stateActive))) {
          best = window;
        }
      }
    }
    return best ? finish(descend(best->object), false) : Result<ElementRef>(ResultCode::noValue);
  }

  Result<ElementRef> finish(const Result<AtspiObject>& found, bool inPopup) {
    if (!found) {
      return found.code;
    }
    const AtspiObject meant = controlAround(found.value, inPopup).value_or(found.value);
    reader_.want(meant, kEverything);
    return accessibility_.elementFor(meant, reader_);
  }

  /// Some toolkits answer with the text or picture of a button rather than the button, and not even always: what is
  /// meant is the control that such an element decorates.
  std::optional<AtspiObject> controlAround(AtspiObject current, bool inPopup) {
    constexpr int kMostLevels = 3;
    for (int level = 0; level < kMostLevels; ++level) {
      const RoleRow* row = roleOf(current);
      const bool isPart = row && (row->role == "AXStaticText" || row->role == "AXImage" || row->role == "AXGroup");
      const bool isChoice =
          row && !inPopup &&
          (row->role == "AXMenuItem" || row->role == "AXMenu" || row->role == "AXList" || row->role == "AXRow");
      const auto* parent =
          isPart || isChoice ? reader_.read(current, Fact::parent, seconds_).as<AtspiObject>() : nullptr;
      if (!parent || parent->isNull() || parent->path == AtspiObject::kRootPath) {
        return std::nullopt;
      }
      current = *parent;
      // Along with the role: what is decided by, and what its or its parts' record takes.
      for (const Fact fact : {Fact::states, Fact::childCount}) {
        reader_.ask(current, fact);
      }
      reader_.askComponent(current, Fact::extents);
      const RoleRow* around = roleOf(current);
      const bool isControl = around && (isPart ? around->isControl() : around->role == "AXComboBox");
      if (isControl) {
        return isClosed(current) && containsPoint(current) ? std::optional(current) : std::nullopt;
      }
    }
    return std::nullopt;
  }

  const RoleRow* roleOf(const AtspiObject& object) {
    const auto* role = reader_.read(object, Fact::role, seconds_).as<std::uint32_t>();
    return role ? &roleRow(*role) : nullptr;
  }

  /// Whether the control shows nothing but itself, unlike an expander.
  bool isClosed(const AtspiObject& control) {
    const auto* states = reader_.read(control, Fact::states, seconds_).as<AtspiStates>();
    return states && !has(*states, stateExpanded);
  }

  /// Toolkits answer with some container on the way: goes on from the answer until it no longer changes.
  Result<AtspiObject> descend(AtspiObject current) {
    for (int step = 0; step < kMostSteps; ++step) {
      reader_.want(current, AtspiReader::wantsStep);
      reader_.askComponent(current, Fact::atPoint);
      const AtspiAnswer& answer = reader_.read(current, Fact::atPoint, seconds_);
      if (answer.code == ResultCode::cannotComplete) {
        return answer.code;
      }
      const auto* below = answer.as<AtspiObject>();
      std::optional<AtspiObject> next;
      if (below && !below->isNull() && *below != current) {
        // The answer may lie elsewhere, like the hidden page that is the child of a tab. Its own answer will be next.
        reader_.want(*below, AtspiReader::wantsStep | AtspiReader::wantsChildCount);
        reader_.askComponent(*below, Fact::atPoint);
        if (containsPoint(*below)) {
          next = *below;
        }
      }
      if (!next) {
        next = inSelectedPage(current);
      }
      if (!next) {
        break;
      }
      current = *next;
    }
    return current;
  }

  /// GTK finds the tabs of a notebook, but not what lies in its pages, which are the children of the tabs.
  std::optional<AtspiObject> inSelectedPage(const AtspiObject& tabs) {
    const auto* role = reader_.read(tabs, Fact::role, seconds_).as<std::uint32_t>();
    if (!role || *role != rolePageTabList) {
      return std::nullopt;
    }
    const std::vector<AtspiObject> pages = childrenOf(tabs);
    for (const AtspiObject& page : pages) {
      reader_.ask(page, Fact::states);
    }
    for (const AtspiObject& page : pages) {
      const auto* states = reader_.read(page, Fact::states, seconds_).as<AtspiStates>();
      if (!states || !has(*states, stateSelected)) {
        continue;
      }
      const auto* below = reader_.read(page, Fact::atPoint, seconds_).as<AtspiObject>();
      if (below && !below->isNull() && *below != page && *below != tabs && containsPoint(*below)) {
        return *below;
      }
    }
    return std::nullopt;
  }

  /// Menus of menu bars and lists of combo boxes pop up in windows that some applications don't list: their items are
  /// below the bar or the box. Searched level by level, but not in what may be long.
  std::optional<AtspiObject> poppedUpItem(const std::vector<AtspiWindow>& windows, const CGRect& popup) {
    struct Node {
      AtspiObject object;
      enum { anything, menu, comboBox } in;
    };
    std::vector<Node> level;
    for (const AtspiWindow& window : windows) {
      level.push_back({window.object, Node::anything});
    }
    std::vector<AtspiObject> lists;
    std::size_t searched = 0;
    for (int depth = 0; depth < kDeepestMenu && !level.empty(); ++depth) {
      for (const Node& node : level) {
        reader_.ask(node.object, Fact::children);
      }
      std::vector<Node> below;
      for (const Node& node : level) {
        for (const AtspiObject& child : childrenOf(node.object)) {
          below.push_back({child, node.in});
        }
      }
      if ((searched += below.size()) > kMostNodesSearched) {
        break;
      }
      for (const Node& node : below) {
        for (const Fact fact : {Fact::role, Fact::states, Fact::childCount}) {
          reader_.ask(node.object, fact);
        }
      }
      level.clear();
      for (const Node& node : below) {
        const auto* role = reader_.read(node.object, Fact::role, seconds_).as<std::uint32_t>();
        const auto* states = reader_.read(node.object, Fact::states, seconds_).as<AtspiStates>();
        const auto* children = reader_.read(node.object, Fact::childCount, seconds_).as<std::int32_t>();
        if (!role || !states || !children || *children == 0 || !has(*states, stateShowing)) {
          continue;
        }
        const std::string_view kind = roleRow(*role).role;
        // A menu in a menu is an item of it, and shows whether it is open or not.
        const bool isOpenMenu =
            kind == "AXMenu" && (node.in != Node::menu || *role == rolePopupMenu || has(*states, stateSelected));
        const bool isOpenList =
            node.in == Node::comboBox && (kind == "AXList" || kind == "AXOutline" || kind == "AXTable");
        if (isOpenMenu || isOpenList) {
          reader_.askComponent(node.object, Fact::atPoint);
          lists.push_back(node.object);
        }
        if (kind == "AXGroup" || kind == "AXWindow") {
          level.push_back(node);
        }
        if (kind == "AXComboBox") {
          level.push_back({node.object, Node::comboBox});
        }
        const bool holdsMenus = kind == "AXMenuBar" || (kind == "AXMenuItem" && node.in == Node::menu);
        if (isOpenMenu || holdsMenus) {
          level.push_back({node.object, Node::menu});
        }
      }
    }
    std::optional<AtspiObject> found;
    for (const AtspiObject& list : lists) {
      const auto* item = reader_.read(list, Fact::atPoint, seconds_).as<AtspiObject>();
      if (!item || item->isNull() || !containsPoint(*item)) {
        continue;
      }
      const CGRect frame = *frameOf(*item);
      const bool isInPopup =
          frame.origin.y >= popup.origin.y && frame.origin.y + frame.size.height <= popup.origin.y + popup.size.height;
      if (isInPopup) {
        found = *item;
      }
    }
    return found;
  }

  /// The list of a combo box in a page pops up in an empty window, while its items stay below the combo box: that is
  /// looked for beside the popup.
  std::optional<AtspiObject> choiceBeside(const std::vector<AtspiWindow>& windows, const AtspiWindow& popup) {
    constexpr double kGap = 3;
    const CGRect& frame = popup.frame;
    const CGPoint point{double(x_), double(y_)};
    std::optional<AtspiObject> choice;
    for (const double edge : {frame.origin.y - kGap, frame.origin.y + frame.size.height + kGap}) {
      moveTo({frame.origin.x + frame.size.width / 2, edge});
      for (const AtspiWindow& window : windows) {
        if (choice || window.object == popup.object || !window.frame.contains({double(x_), double(y_)})) {
          continue;
        }
        const Result<AtspiObject> beside = descend(window.object);
        const auto combo = beside ? comboAround(beside.value) : std::nullopt;
        if (combo) {
          choice = itemAt(*combo, point.y);
        }
      }
    }
    moveTo(point);
    return choice;
  }

  void moveTo(const CGPoint& point) {
    x_ = static_cast<int>(point.x);
    y_ = static_cast<int>(point.y);
    reader_.setPoint(x_, y_);
  }

  std::optional<AtspiObject> comboAround(AtspiObject object) {
    constexpr int kMostLevels = 3;
    for (int level = 0; level < kMostLevels; ++level) {
      const RoleRow* row = roleOf(object);
      if (row && row->role == "AXComboBox") {
        return object;
      }
      const auto* parent = reader_.read(object, Fact::parent, seconds_).as<AtspiObject>();
      if (!parent) {
        break;
      }
      object = *parent;
    }
    return std::nullopt;
  }

  std::optional<AtspiObject> itemAt(const AtspiObject& combo, double y) {
    for (const AtspiObject& list : childrenOf(combo)) {
      const std::vector<AtspiObject> items = childrenOf(list);
      for (const AtspiObject& item : items) {
        reader_.askComponent(item, Fact::extents);
      }
      for (const AtspiObject& item : items) {
        const auto frame = frameOf(item);
        if (frame && frame->contains({frame->origin.x, y})) {
          return item;
        }
      }
    }
    return std::nullopt;
  }

  LinuxAccessibility& accessibility_;
  AtspiReader& reader_;
  int x_, y_;
  double seconds_;
};

}  // namespace

Result<std::vector<AtspiWindow>> windowsOf(AtspiReader& reader, const AtspiObject& root, double seconds) {
  reader.ask(root, Fact::children);
  for (const AtspiObject& window : reader.expected(root, Fact::children)) {
    askAboutWindow(reader, window);
  }
  const AtspiAnswer& answer = reader.read(root, Fact::children, seconds);
  const auto* children = answer.as<std::vector<AtspiObject>>();
  if (!children) {
    return answer.code;
  }
  for (const AtspiObject& window : *children) {
    askAboutWindow(reader, window);
  }
  std::vector<AtspiWindow> windows;
  for (const AtspiObject& child : *children) {
    auto window = readWindow(reader, child, seconds);
    if (window.code == ResultCode::cannotComplete) {
      return window.code;
    }
    if (window) {
      windows.push_back(std::move(window.value));
    }
  }
  return windows;
}

const AtspiWindow* matchingWindow(const std::vector<AtspiWindow>& windows, const WindowStack::Window& window) {
  constexpr double kLeastLikeness = 0.5, kSameTitle = 0.25;
  const AtspiWindow* best = nullptr;
  double bestScore = kLeastLikeness;
  for (const AtspiWindow& candidate : windows) {
    const double alike =
        std::max(likeness(candidate.frame, window.frame), likeness(candidate.frame, window.clientFrame));
    const double score = alike + (!window.title.empty() && candidate.name == window.title ? kSameTitle : 0);
    if (alike >= kLeastLikeness && score > bestScore) {
      best = &candidate;
      bestScore = score;
    }
  }
  return best;
}

Result<ElementRef> elementAtPoint(LinuxAccessibility& accessibility, float x, float y, std::optional<std::int32_t> pid,
                                  double seconds) {
  constexpr float kLimit = std::numeric_limits<std::int16_t>::max();  // of the X server's coordinates
  if (!std::isfinite(x) || !std::isfinite(y)) {
    return ResultCode::illegalArgument;
  }
  if (std::fabs(x) > kLimit || std::fabs(y) > kLimit) {
    return ResultCode::noValue;
  }
  return accessibility.withReader([&](AtspiReader& reader) {
    return HitTest(accessibility, reader, static_cast<int>(std::floor(x)), static_cast<int>(std::floor(y)), seconds)
        .run(pid);
  });
}

}  // namespace zqlogging
