#pragma once

#include <optional>
#include <vector>

#include "linux/accessibility/AtspiPoint.h"
#include "linux/accessibility/AtspiWindows.h"

namespace zqlogging {

// Items at a point in popups whose windows say nothing of them. Both wait for the answers.

/// Menus of menu bars and lists of combo boxes pop up in windows that some applications don't list: their items are
/// below the bar or the box, and inside the frame of the popup.
std::optional<AtspiObject> itemOfUnlistedPopup(AtspiPoint& point, const std::vector<AtspiWindow>& windows,
                                               const CGRect& popup);

/// The list of a combo box in a page pops up in an empty window, while its items stay below the combo box: that is
/// looked for beside the popup.
std::optional<AtspiObject> itemOfComboBeside(AtspiPoint& point, const std::vector<AtspiWindow>& windows,
                                             const AtspiWindow& popup);

}  // namespace zqlogging
