#pragma once

#include "accessibility/Vocabulary.h"

namespace zqlogging {

// clang-format off
#define ZQ_AX_NOTIFICATIONS(CASE, NAMED) \
  CASE(mainWindowChanged) CASE(focusedWindowChanged) CASE(focusedUIElementChanged) CASE(focusedTabChanged)        \
  CASE(applicationActivated) CASE(applicationDeactivated) CASE(applicationHidden) CASE(applicationShown)          \
  CASE(windowCreated) CASE(windowMoved) CASE(windowResized) CASE(windowMiniaturized) CASE(windowDeminiaturized)   \
  CASE(drawerCreated) CASE(sheetCreated) NAMED(uiElementDestroyed, "AXUIElementDestroyed") CASE(valueChanged)     \
  CASE(titleChanged) CASE(resized) CASE(moved) CASE(created) CASE(layoutChanged) CASE(helpTagCreated)             \
  CASE(selectedTextChanged) CASE(rowCountChanged) CASE(selectedChildrenChanged) CASE(selectedRowsChanged)         \
  CASE(selectedColumnsChanged) CASE(loadComplete) CASE(rowExpanded) CASE(rowCollapsed) CASE(selectedCellsChanged) \
  CASE(unitsChanged) CASE(selectedChildrenMoved) CASE(announcementRequested)
// clang-format on

/// What an observer can be told about.
enum class AXNotification : unsigned char { ZQ_AX_NOTIFICATIONS(ZQ_ENUMERATOR, ZQ_ENUMERATOR) };

std::string_view rawValue(AXNotification value);
/// The case with exactly this raw value, or nothing.
std::optional<AXNotification> axNotificationFromRawValue(std::string_view rawValue);

}  // namespace zqlogging
