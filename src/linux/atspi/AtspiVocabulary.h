#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "linux/atspi/AtspiRequest.h"

namespace zqlogging {

/// The numbers of AT-SPI roles that the code treats specially; the names of all are in the table.
enum AtspiRole : std::uint32_t {
  roleAlert = 2,
  roleDialog = 16,
  roleMenu = 33,
  roleMenuBar = 34,
  rolePageTabList = 38,
  rolePasswordText = 40,
  rolePopupMenu = 41,
  roleApplication = 75,
};

/// The numbers of AT-SPI states.
enum AtspiState : unsigned {
  stateActive = 1,
  stateChecked = 4,
  stateDefunct = 6,
  stateEditable = 7,
  stateEnabled = 8,
  stateExpandable = 9,
  stateExpanded = 10,
  stateFocusable = 11,
  stateFocused = 12,
  stateIconified = 15,
  stateModal = 16,
  stateMultiLine = 17,
  statePressed = 20,
  stateSelectable = 22,
  stateSelected = 23,
  stateSensitive = 24,
  stateShowing = 25,
  stateIndeterminate = 32,
};
inline bool has(AtspiStates states, AtspiState state) { return states >> state & 1; }

/// The numbers of AT-SPI relations.
enum AtspiRelationType : std::uint32_t { relationLabelFor = 1, relationLabelledBy = 2 };

/// Where the AXValue of an element comes from.
enum class ValueSource {
  none,
  text,      ///< its text
  leafText,  ///< its text unless it has children, which hold the text then
  secret,    ///< never read
  number,    ///< its numeric value
  checked,   ///< whether it is checked or pressed: 0, 1, or 2 for neither
  selected,  ///< whether it is selected: 0 or 1
  choice,    ///< its text, or the name of the child that is chosen
};

/// What else decides the role.
enum class RoleDepends {
  no,
  multiLine,  ///< a text area when it has several lines
  webRole,    ///< a group when it is part of a page
  place,      ///< a window directly under the application, none deeper down: toolkits give their windows any of these
};

struct RoleRow {
  std::string_view atspiName;
  std::string_view role;
  std::string_view subrole;
  ValueSource value = ValueSource::none;
  bool labelled = false;  ///< a control, which a label or a placeholder may name
  RoleDepends depends = RoleDepends::no;

  /// Whether what is inside such an element is but its looks.
  [[nodiscard]] bool isControl() const {
    for (const char* control : {"AXButton", "AXCheckBox", "AXRadioButton", "AXLink", "AXMenuItem", "AXMenuButton",
                                "AXTextField", "AXTextArea", "AXComboBox"}) {
      if (role == control) {
        return true;
      }
    }
    return false;
  }
};

/// The row of an AT-SPI role; that of "unknown" for numbers that AT-SPI did not have when this was written.
const RoleRow& roleRow(std::uint32_t atspiRole);

/// The action under which an AT-SPI action name is offered, or empty.
std::string_view actionForName(std::string_view atspiName);

/// One AT-SPI event that stands for a notification.
struct EventRow {
  std::string_view notification;
  std::string_view registeredName;  ///< as the registry wants it
  std::string_view interface;       ///< of the D-Bus signal, without "org.a11y.atspi.Event."
  std::string_view member;
  std::string_view detail;         ///< its first argument, or empty for any
  std::int32_t requiredFlag = -1;  ///< its second argument, or -1 for any
};
/// The events of all notifications that AT-SPI can tell.
std::span<const EventRow> eventRows();

}  // namespace zqlogging
