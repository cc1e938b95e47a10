#pragma once

#include "accessibility/Vocabulary.h"

namespace zqlogging {

// clang-format off
#define ZQ_ATTRIBUTES(CASE, NAMED) \
  CASE(role) CASE(roleDescription) CASE(subrole) CASE(help) CASE(value) CASE(minValue) CASE(maxValue) CASE(enabled)   \
  CASE(focused) CASE(parent) CASE(children) CASE(window) CASE(topLevelUIElement) CASE(selectedChildren)               \
  CASE(visibleChildren) CASE(position) CASE(size) CASE(frame) CASE(contents) CASE(title) CASE(description)            \
  CASE(shownMenu) CASE(valueDescription) CASE(sharedFocusElements) CASE(previousContents) CASE(nextContents)          \
  CASE(header) CASE(edited) CASE(tabs) CASE(horizontalScrollBar) CASE(verticalScrollBar) CASE(overflowButton)         \
  CASE(incrementButton) CASE(decrementButton) CASE(filename) CASE(expanded) CASE(selected) CASE(splitters)            \
  CASE(document) CASE(activationPoint) NAMED(url, "AXURL") CASE(index) CASE(rowCount) CASE(columnCount)               \
  CASE(orderedByRow) CASE(warningValue) CASE(criticalValue) CASE(placeholderValue) CASE(containsProtectedContent)     \
  CASE(alternateUIVisible) CASE(titleUIElement) CASE(servesAsTitleForUIElements) CASE(linkedUIElements)               \
  CASE(selectedText) CASE(selectedTextRange) CASE(numberOfCharacters) CASE(visibleCharacterRange)                     \
  CASE(sharedTextUIElements) CASE(sharedCharacterRange) CASE(insertionPointLineNumber) CASE(selectedTextRanges)       \
  CASE(textInputMarkedRange) CASE(lineForIndexParameterized) CASE(rangeForLineParameterized)                          \
  CASE(stringForRangeParameterized) CASE(rangeForPositionParameterized) CASE(rangeForIndexParameterized)              \
  CASE(boundsForRangeParameterized) NAMED(rtfForRangeParameterized, "AXRTFForRangeParameterized")                     \
  CASE(styleRangeForIndexParameterized) CASE(attributedStringForRangeParameterized) CASE(fontText)                    \
  CASE(foregroundColorText) CASE(backgroundColorText) CASE(underlineColorText) CASE(strikethroughColorText)           \
  CASE(underlineText) CASE(superscriptText) CASE(strikethroughText) CASE(shadowText) CASE(attachmentText)             \
  CASE(linkText) CASE(autocorrectedText) CASE(listItemPrefixText) CASE(listItemIndexText) CASE(listItemLevelText)     \
  CASE(misspelledText) CASE(markedMisspelledText) CASE(main) CASE(minimized) CASE(closeButton) CASE(zoomButton)       \
  CASE(minimizeButton) CASE(toolbarButton) CASE(proxy) CASE(growArea) CASE(modal) CASE(defaultButton)                 \
  CASE(cancelButton) CASE(fullScreenButton) CASE(fullScreen) CASE(menuBar) CASE(windows) CASE(frontmost) CASE(hidden) \
  CASE(mainWindow) CASE(focusedWindow) CASE(focusedUIElement) CASE(extrasMenuBar) CASE(enhancedUserInterface)         \
  CASE(orientation) CASE(columnTitles) CASE(searchButton) CASE(searchMenu) CASE(clearButton) CASE(rows)               \
  CASE(visibleRows) CASE(selectedRows) CASE(columns) CASE(visibleColumns) CASE(selectedColumns) CASE(sortDirection)   \
  CASE(selectedCells) CASE(visibleCells) CASE(rowHeaderUIElements) CASE(columnHeaderUIElements)                       \
  CASE(cellForColumnAndRowParameterized) CASE(rowIndexRange) CASE(columnIndexRange) CASE(horizontalUnits)             \
  CASE(verticalUnits) CASE(horizontalUnitDescription) CASE(verticalUnitDescription)                                   \
  CASE(layoutPointForScreenPointParameterized) CASE(layoutSizeForScreenSizeParameterized)                             \
  CASE(screenPointForLayoutPointParameterized) CASE(screenSizeForLayoutSizeParameterized) CASE(handles)               \
  CASE(disclosing) CASE(disclosedRows) CASE(disclosedByRow) CASE(disclosureLevel) CASE(allowedValues)                 \
  CASE(labelUIElements) CASE(labelValue) CASE(matteHole) CASE(matteContentUIElement) CASE(markerUIElements)           \
  CASE(markerValues) CASE(markerGroupUIElement) CASE(units) CASE(unitDescription) CASE(markerType)                    \
  CASE(markerTypeDescription) CASE(identifier) CASE(focusedApplication) CASE(functionRowTopLevelElements)             \
  CASE(childrenInNavigationOrder)
// clang-format on

/// What can be read from an element. Parameterized attributes are ordinary cases of it.
enum class Attribute : unsigned char { ZQ_ATTRIBUTES(ZQ_ENUMERATOR, ZQ_ENUMERATOR) };

std::string_view rawValue(Attribute value);
/// The case with exactly this raw value, or nothing.
std::optional<Attribute> attributeFromRawValue(std::string_view rawValue);

}  // namespace zqlogging
