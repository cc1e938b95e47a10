#include "privacy/PlainRoles.h"

#include <algorithm>
#include <array>

namespace zqlogging {

bool isPlainRole(std::string_view role) {
  static constexpr std::array<std::string_view, 38> kPlain = {"AXApplication",
                                                              "AXBusyIndicator",
                                                              "AXButton",
                                                              "AXCheckBox",
                                                              "AXColorWell",
                                                              "AXColumn",
                                                              "AXDisclosureTriangle",
                                                              "AXDockItem",
                                                              "AXDrawer",
                                                              "AXGrowArea",
                                                              "AXHandle",
                                                              "AXHeading",
                                                              "AXImage",
                                                              "AXLevelIndicator",
                                                              "AXLink",
                                                              "AXList",
                                                              "AXMenu",
                                                              "AXMenuBar",
                                                              "AXMenuBarItem",
                                                              "AXMenuButton",
                                                              "AXMenuItem",
                                                              "AXOutline",
                                                              "AXPopUpButton",
                                                              "AXPopover",
                                                              "AXProgressIndicator",
                                                              "AXRadioButton",
                                                              "AXRadioGroup",
                                                              "AXRow",
                                                              "AXRuler",
                                                              "AXScrollArea",
                                                              "AXScrollBar",
                                                              "AXSheet",
                                                              "AXSlider",
                                                              "AXSplitter",
                                                              "AXStaticText",
                                                              "AXTabGroup",
                                                              "AXToolbar",
                                                              "AXWindow"};
  return role == "AXWebArea" || std::find(kPlain.begin(), kPlain.end(), role) != kPlain.end();
}

}  // namespace zqlogging
