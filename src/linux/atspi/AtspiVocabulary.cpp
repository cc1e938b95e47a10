#include "linux/atspi/AtspiVocabulary.h"

#include <array>

namespace zqlogging {

namespace {

using enum ValueSource;
using enum RoleDepends;

// clang-format off: tables
// In the order of AT-SPI's role numbers.
constexpr std::array kRoles = std::to_array<RoleRow>({
    // AT-SPI role              role                   subrole                value      labelled  depends
    {"invalid", "AXUnknown", "", none, false, place},
    {"accelerator label", "AXStaticText", "", text},
    {"alert", "AXWindow", "AXDialog", none, false, webRole},
    {"animation", "AXImage", "", none},
    {"arrow", "AXImage", "", none},
    {"calendar", "AXGroup", "", none, true},
    {"canvas", "AXLayoutArea", "", none, false, place},
    {"check box", "AXCheckBox", "", checked, true},
    {"check menu item", "AXMenuItem", "", checked},
    {"color chooser", "AXWindow", "AXDialog", none, false, webRole},
    {"column header", "AXCell", "", leafText},
    {"combo box", "AXComboBox", "", choice, true},
    {"date editor", "AXTextField", "", leafText, true},
    {"desktop icon", "AXImage", "", none},
    {"desktop frame", "AXSystemWide", "", none},
    {"dial", "AXSlider", "", number, true},
    {"dialog", "AXWindow", "AXDialog", none, false, webRole},
    {"directory pane", "AXBrowser", "", none, true},
    {"drawing area", "AXLayoutArea", "", none, false, place},
    {"file chooser", "AXWindow", "AXDialog", none},
    {"filler", "AXGroup", "", none, false, place},
    {"focus traversable", "AXGroup", "", none, false, place},
    {"font chooser", "AXWindow", "AXDialog", none},
    {"frame", "AXWindow", "AXStandardWindow", none, false, place},
    {"glass pane", "AXGroup", "", none, false, place},
    {"html container", "AXWebArea", "", none},
    {"icon", "AXImage", "", none},
    {"image", "AXImage", "", none},
    {"internal frame", "AXWindow", "AXFloatingWindow", none, false, place},
    {"label", "AXStaticText", "", text},
    {"layered pane", "AXGroup", "", none, false, place},
    {"list", "AXList", "AXContentList", none, true},
    {"list item", "AXRow", "AXTableRow", leafText},
    {"menu", "AXMenu", "", none},
    {"menu bar", "AXMenuBar", "", none},
    {"menu item", "AXMenuItem", "", none},
    {"option pane", "AXWindow", "AXDialog", none},
    {"page tab", "AXRadioButton", "", selected},
    {"page tab list", "AXTabGroup", "", none},
    {"panel", "AXGroup", "", none, false, place},
    {"password text", "AXTextField", "AXSecureTextField", secret, true},
    {"popup menu", "AXMenu", "", none},
    {"progress bar", "AXProgressIndicator", "", number, true},
    {"push button", "AXButton", "", none, true},
    {"radio button", "AXRadioButton", "", checked, true},
    {"radio menu item", "AXMenuItem", "", checked},
    {"root pane", "AXGroup", "", none, false, place},
    {"row header", "AXCell", "", leafText},
    {"scroll bar", "AXScrollBar", "", number},
    {"scroll pane", "AXScrollArea", "", none, false, place},
    {"separator", "AXSplitter", "", none},
    {"slider", "AXSlider", "", number, true},
    {"spin button", "AXIncrementor", "", number, true},
    {"split pane", "AXSplitGroup", "", none, false, place},
    {"status bar", "AXGroup", "", leafText},
    {"table", "AXTable", "", none, true},
    {"table cell", "AXCell", "", leafText},
    {"table column header", "AXButton", "AXSortButton", none},
    {"table row header", "AXCell", "", leafText},
    {"tearoff menu item", "AXMenuItem", "", none},
    {"terminal", "AXTextArea", "", text},
    {"text", "AXTextField", "", text, true, multiLine},
    {"toggle button", "AXCheckBox", "AXToggle", checked, true},
    {"tool bar", "AXToolbar", "", none},
    {"tool tip", "AXHelpTag", "", leafText},
    {"tree", "AXOutline", "", none, true},
    {"tree table", "AXOutline", "", none, true},
    {"unknown", "AXUnknown", "", none, false, place},
    {"viewport", "AXGroup", "", none, false, place},
    {"window", "AXWindow", "AXFloatingWindow", none, false, place},
    {"extended", "AXUnknown", "", none},
    {"header", "AXGroup", "", leafText},
    {"footer", "AXGroup", "", leafText},
    {"paragraph", "AXGroup", "", leafText},
    {"ruler", "AXRuler", "", none},
    {"application", "AXApplication", "", none},
    {"autocomplete", "AXTextField", "", text, true, multiLine},
    {"edit bar", "AXTextField", "", text, true, multiLine},
    {"embedded component", "AXGroup", "", none, false, place},
    {"entry", "AXTextField", "", text, true, multiLine},
    {"chart", "AXImage", "", none},
    {"caption", "AXStaticText", "", leafText},
    {"document frame", "AXGroup", "", none, false, place},
    {"heading", "AXStaticText", "", text},
    {"page", "AXGroup", "", leafText},
    {"section", "AXGroup", "", leafText},
    {"redundant object", "AXGroup", "", none, false, place},
    {"form", "AXGroup", "", none, false, place},
    {"link", "AXLink", "AXTextLink", none},
    {"input method window", "AXWindow", "AXSystemFloatingWindow", none, false, place},
    {"table row", "AXRow", "AXTableRow", none},
    {"tree item", "AXRow", "AXOutlineRow", leafText},
    {"document spreadsheet", "AXGroup", "", none},
    {"document presentation", "AXGroup", "", none},
    {"document text", "AXGroup", "", none},
    {"document web", "AXWebArea", "", none},
    {"document email", "AXGroup", "", none},
    {"comment", "AXGroup", "", leafText},
    {"list box", "AXList", "AXContentList", none, true},
    {"grouping", "AXGroup", "", none, false, place},
    {"image map", "AXImage", "", none},
    {"notification", "AXGroup", "", leafText},
    {"info bar", "AXGroup", "", none},
    {"level bar", "AXLevelIndicator", "", number, true},
    {"title bar", "AXGroup", "", none},
    {"block quote", "AXGroup", "", leafText},
    {"audio", "AXGroup", "", none},
    {"video", "AXGroup", "", none},
    {"definition", "AXGroup", "", leafText},
    {"article", "AXGroup", "", leafText},
    {"landmark", "AXGroup", "", leafText},
    {"log", "AXGroup", "", leafText},
    {"marquee", "AXGroup", "", leafText},
    {"math", "AXGroup", "", leafText},
    {"rating", "AXRelevanceIndicator", "AXRatingIndicator", number, true},
    {"timer", "AXGroup", "AXTimeline", leafText},
    {"static", "AXStaticText", "", text},
    {"math fraction", "AXGroup", "", leafText},
    {"math root", "AXGroup", "", leafText},
    {"subscript", "AXGroup", "", leafText},
    {"superscript", "AXGroup", "", leafText},
    {"description list", "AXList", "AXDescriptionList", none},
    {"description term", "AXGroup", "", leafText},
    {"description value", "AXGroup", "", leafText},
    {"footnote", "AXGroup", "", leafText},
    {"content deletion", "AXGroup", "", leafText},
    {"content insertion", "AXGroup", "", leafText},
    {"mark", "AXGroup", "", leafText},
    {"suggestion", "AXGroup", "", leafText},
    {"push button menu", "AXMenuButton", "", none, true},
    {"switch", "AXCheckBox", "AXSwitch", checked, true},
});

// clang-format on

static_assert(kRoles.size() == 131);
constexpr std::uint32_t kUnknownRole = 67;
static_assert(kRoles[kUnknownRole].atspiName == "unknown");
static_assert(kRoles[roleAlert].atspiName == "alert" && kRoles[roleDialog].atspiName == "dialog");
static_assert(kRoles[roleMenu].atspiName == "menu" && kRoles[roleMenuBar].atspiName == "menu bar");
static_assert(kRoles[rolePageTabList].atspiName == "page tab list" && kRoles[rolePopupMenu].atspiName == "popup menu");
static_assert(kRoles[rolePasswordText].value == secret && kRoles[roleApplication].role == "AXApplication");

struct ActionRow {
  std::string_view atspiName, action;
};

// clang-format off: tables
// Toolkits name the same action in many ways, and some translate the names.
constexpr ActionRow kActions[] = {
    {"click", "AXPress"},         {"press", "AXPress"},        {"activate", "AXPress"},
    {"jump", "AXPress"},          {"toggle", "AXPress"},       {"open", "AXPress"},
    {"select", "AXPick"},         {"confirm", "AXConfirm"},    {"increase", "AXIncrement"},
    {"increment", "AXIncrement"}, {"decrease", "AXDecrement"}, {"decrement", "AXDecrement"},
    {"cancel", "AXCancel"},       {"raise", "AXRaise"},        {"showmenu", "AXShowMenu"},
    {"show menu", "AXShowMenu"},  {"menu", "AXShowMenu"},      {"delete", "AXDelete"},
};

constexpr EventRow kEvents[] = {
    // notification               registered name                                interface  member            detail
    {"AXMainWindowChanged", "window:activate", "Window", "Activate", ""},
    {"AXFocusedWindowChanged", "window:activate", "Window", "Activate", ""},
    {"AXFocusedUIElementChanged", "object:state-changed:focused", "Object", "StateChanged", "focused", 1},
    {"AXApplicationActivated", "window:activate", "Window", "Activate", ""},
    {"AXApplicationDeactivated", "window:deactivate", "Window", "Deactivate", ""},
    {"AXWindowCreated", "window:create", "Window", "Create", ""},
    {"AXWindowMoved", "window:move", "Window", "Move", ""},
    {"AXWindowResized", "window:resize", "Window", "Resize", ""},
    {"AXWindowMiniaturized", "window:minimize", "Window", "Minimize", ""},
    {"AXWindowDeminiaturized", "window:restore", "Window", "Restore", ""},
    {"AXUIElementDestroyed", "object:state-changed:defunct", "Object", "StateChanged", "defunct", 1},
    {"AXValueChanged", "object:property-change:accessible-value", "Object", "PropertyChange", "accessible-value"},
    {"AXValueChanged", "object:text-changed", "Object", "TextChanged", ""},
    {"AXValueChanged", "object:state-changed:checked", "Object", "StateChanged", "checked"},
    {"AXTitleChanged", "object:property-change:accessible-name", "Object", "PropertyChange", "accessible-name"},
    {"AXResized", "object:bounds-changed", "Object", "BoundsChanged", ""},
    {"AXMoved", "object:bounds-changed", "Object", "BoundsChanged", ""},
    {"AXCreated", "object:children-changed:add", "Object", "ChildrenChanged", "add"},
    {"AXLayoutChanged", "object:visible-data-changed", "Object", "VisibleDataChanged", ""},
    {"AXSelectedTextChanged", "object:text-selection-changed", "Object", "TextSelectionChanged", ""},
    {"AXSelectedTextChanged", "object:text-caret-moved", "Object", "TextCaretMoved", ""},
    {"AXRowCountChanged", "object:row-inserted", "Object", "RowInserted", ""},
    {"AXRowCountChanged", "object:row-deleted", "Object", "RowDeleted", ""},
    {"AXSelectedChildrenChanged", "object:selection-changed", "Object", "SelectionChanged", ""},
    {"AXSelectedRowsChanged", "object:selection-changed", "Object", "SelectionChanged", ""},
    {"AXLoadComplete", "document:load-complete", "Document", "LoadComplete", ""},
    {"AXRowExpanded", "object:state-changed:expanded", "Object", "StateChanged", "expanded", 1},
    {"AXRowCollapsed", "object:state-changed:expanded", "Object", "StateChanged", "expanded", 0},
    {"AXAnnouncementRequested", "object:announcement", "Object", "Announcement", ""},
};
// clang-format on

}  // namespace

const RoleRow& roleRow(std::uint32_t atspiRole) { return kRoles[atspiRole < kRoles.size() ? atspiRole : kUnknownRole]; }

std::string_view actionForName(std::string_view atspiName) {
  std::string lower(atspiName);
  for (char& c : lower) {
    c = c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
  }
  for (const ActionRow& row : kActions) {
    if (row.atspiName == lower) {
      return row.action;
    }
  }
  return {};
}

std::span<const EventRow> eventRows() { return kEvents; }

}  // namespace zqlogging
