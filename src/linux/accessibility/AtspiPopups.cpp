#include "linux/accessibility/AtspiPopups.h"

namespace zqlogging {

namespace {

constexpr int kMaxMenuDepth = 10;
constexpr int kMaxLevelsToCombo = 3;
constexpr std::size_t kMaxNodesSearched = 400;

struct Node {
  AtspiObject object;
  enum { anything, menu, comboBox } in;
};

std::vector<Node> childrenOf(AtspiPoint& point, const std::vector<Node>& level) {
  for (const Node& node : level) {
    point.batch().prefetch(node.object, AtspiRequest::children);
  }
  std::vector<Node> below;
  for (const Node& node : level) {
    for (const AtspiObject& child : point.childrenOf(node.object)) {
      below.push_back({child, node.in});
    }
  }
  return below;
}

/// The open menus, and the lists of combo boxes. Searched level by level, but not in what may be long.
std::vector<AtspiObject> openLists(AtspiPoint& point, const std::vector<AtspiWindow>& windows) {
  std::vector<Node> level;
  for (const AtspiWindow& window : windows) {
    level.push_back({window.object, Node::anything});
  }
  std::vector<AtspiObject> lists;
  std::size_t searched = 0;
  for (int depth = 0; depth < kMaxMenuDepth && !level.empty(); ++depth) {
    const std::vector<Node> below = childrenOf(point, level);
    searched += below.size();
    if (searched > kMaxNodesSearched) {
      break;
    }
    for (const Node& node : below) {
      for (const AtspiRequest request : {AtspiRequest::role, AtspiRequest::states, AtspiRequest::childCount}) {
        point.batch().prefetch(node.object, request);
      }
    }
    level.clear();
    for (const Node& node : below) {
      const auto* role = point.read<std::uint32_t>(node.object, AtspiRequest::role);
      const auto* children = point.read<std::int32_t>(node.object, AtspiRequest::childCount);
      if (!role || !children || *children == 0 || !point.hasState(node.object, stateShowing)) {
        continue;
      }
      const std::string_view kind = roleRow(*role).role;
      // A menu in a menu is an item of it, and shows whether it is open or not.
      const bool isOpenMenu = kind == "AXMenu" && (node.in != Node::menu || *role == rolePopupMenu ||
                                                   point.hasState(node.object, stateSelected));
      const bool isOpenList =
          node.in == Node::comboBox && (kind == "AXList" || kind == "AXOutline" || kind == "AXTable");
      if (isOpenMenu || isOpenList) {
        point.batch().prefetchComponent(node.object, AtspiRequest::atPoint);
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
  return lists;
}

std::optional<AtspiObject> comboAround(AtspiPoint& point, AtspiObject object) {
  for (int level = 0; level < kMaxLevelsToCombo; ++level) {
    const RoleRow* row = point.roleOf(object);
    if (row && row->role == "AXComboBox") {
      return object;
    }
    const auto parent = point.parentOf(object);
    if (!parent) {
      break;
    }
    object = *parent;
  }
  return std::nullopt;
}

/// The item of a combo box's list in the line of the point, wherever the list lies.
std::optional<AtspiObject> itemInLine(AtspiPoint& point, const AtspiObject& combo, double y) {
  for (const AtspiObject& list : point.childrenOf(combo)) {
    const std::vector<AtspiObject> items = point.childrenOf(list);
    for (const AtspiObject& item : items) {
      point.batch().prefetchComponent(item, AtspiRequest::extents);
    }
    for (const AtspiObject& item : items) {
      const auto frame = point.frameOf(item);
      if (frame && frame->contains({frame->origin.x, y})) {
        return item;
      }
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<AtspiObject> itemOfUnlistedPopup(AtspiPoint& point, const std::vector<AtspiWindow>& windows,
                                               const CGRect& popup) {
  std::optional<AtspiObject> found;
  for (const AtspiObject& list : openLists(point, windows)) {
    const auto* item = point.read<AtspiObject>(list, AtspiRequest::atPoint);
    const auto frame = item && !item->isNull() ? point.frameOf(*item) : std::nullopt;
    if (!frame || !point.isInside(*frame)) {
      continue;
    }
    const bool isInPopup =
        frame->origin.y >= popup.origin.y && frame->origin.y + frame->size.height <= popup.origin.y + popup.size.height;
    if (isInPopup) {
      found = *item;
    }
  }
  return found;
}

std::optional<AtspiObject> itemOfComboBeside(AtspiPoint& point, const std::vector<AtspiWindow>& windows,
                                             const AtspiWindow& popup) {
  constexpr double kGap = 3;
  const CGRect& frame = popup.frame;
  const int x = point.x(), y = point.y();
  std::optional<AtspiObject> item;
  for (const double edge : {frame.origin.y - kGap, frame.origin.y + frame.size.height + kGap}) {
    point.moveTo(static_cast<int>(frame.origin.x + frame.size.width / 2), static_cast<int>(edge));
    for (const AtspiWindow& window : windows) {
      if (item || window.object == popup.object || !point.isInside(window.frame)) {
        continue;
      }
      const auto beside = point.innermost(window.object);
      const auto combo = beside ? comboAround(point, beside.value) : std::nullopt;
      if (combo) {
        item = itemInLine(point, *combo, y);
      }
    }
  }
  point.moveTo(x, y);
  return item;
}

}  // namespace zqlogging
