#pragma once

#include "accessibility/Vocabulary.h"

namespace zqlogging {

// clang-format off
#define ZQ_ACTIONS(CASE, NAMED) \
  CASE(press) CASE(increment) CASE(decrement) CASE(confirm) CASE(pick) CASE(cancel) CASE(raise) CASE(showMenu) \
  NAMED(delete_, "AXDelete") CASE(showAlternateUI) CASE(showDefaultUI)
// clang-format on

/// What can be done to an element.
enum class Action : unsigned char { ZQ_ACTIONS(ZQ_ENUMERATOR, ZQ_ENUMERATOR) };

std::string_view rawValue(Action value);
/// The case with exactly this raw value, or nothing.
std::optional<Action> actionFromRawValue(std::string_view rawValue);

}  // namespace zqlogging
