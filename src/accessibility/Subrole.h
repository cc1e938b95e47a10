#pragma once

#include "accessibility/Vocabulary.h"

namespace zqlogging {

// clang-format off
#define ZQ_SUBROLES(CASE, NAMED) \
  CASE(unknown) CASE(closeButton) CASE(zoomButton) CASE(minimizeButton) CASE(toolbarButton) CASE(tableRow)         \
  CASE(outlineRow) CASE(secureTextField) CASE(standardWindow) CASE(dialog) CASE(systemDialog) CASE(floatingWindow) \
  CASE(systemFloatingWindow) CASE(incrementArrow) CASE(decrementArrow) CASE(incrementPage) CASE(decrementPage)     \
  CASE(searchField) CASE(textAttachment) CASE(textLink) CASE(timeline) CASE(sortButton) CASE(ratingIndicator)      \
  CASE(contentList) CASE(definitionList) CASE(fullScreenButton) CASE(toggle) NAMED(switchSubrole, "AXSwitch")      \
  CASE(descriptionList)
// clang-format on

/// What an element is, more closely.
enum class Subrole : unsigned char { ZQ_SUBROLES(ZQ_ENUMERATOR, ZQ_ENUMERATOR) };

std::string_view rawValue(Subrole value);
/// The case with exactly this raw value, or nothing.
std::optional<Subrole> subroleFromRawValue(std::string_view rawValue);

}  // namespace zqlogging
