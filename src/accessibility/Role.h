#pragma once

#include "accessibility/Vocabulary.h"

namespace zqlogging {

// clang-format off
#define ZQ_ROLES(CASE, NAMED) \
  CASE(unknown) CASE(button) CASE(radioButton) CASE(checkBox) CASE(slider) CASE(tabGroup) CASE(textField)           \
  CASE(staticText) CASE(textArea) CASE(scrollArea) CASE(popUpButton) CASE(menuButton) CASE(table) CASE(application) \
  CASE(group) CASE(radioGroup) CASE(list) CASE(scrollBar) CASE(valueIndicator) CASE(image) CASE(menuBar) CASE(menu) \
  CASE(menuItem) CASE(menuBarItem) CASE(column) CASE(row) CASE(toolbar) CASE(busyIndicator) CASE(progressIndicator) \
  CASE(window) CASE(drawer) CASE(systemWide) CASE(outline) CASE(incrementor) CASE(browser) CASE(comboBox)           \
  CASE(splitGroup) CASE(splitter) CASE(colorWell) CASE(growArea) CASE(sheet) CASE(helpTag) CASE(matte) CASE(ruler)  \
  CASE(rulerMarker) CASE(link) CASE(disclosureTriangle) CASE(grid) CASE(relevanceIndicator) CASE(levelIndicator)    \
  CASE(cell) CASE(popover) CASE(layoutArea) CASE(layoutItem) CASE(handle)
// clang-format on

/// What an element is. Web areas are outside this table.
enum class Role : unsigned char { ZQ_ROLES(ZQ_ENUMERATOR, ZQ_ENUMERATOR) };

std::string_view rawValue(Role value);
/// The case with exactly this raw value, or nothing.
std::optional<Role> roleFromRawValue(std::string_view rawValue);

}  // namespace zqlogging
