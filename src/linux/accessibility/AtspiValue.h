#pragma once

#include <string>

#include "linux/accessibility/AtspiSubject.h"

namespace zqlogging {

/// The text, or no value when it is empty.
port::Result<port::Value> nonEmpty(const std::string& text);
/// The answer as a text; no value where the object has none, or cannot be asked.
port::Result<port::Value> textOf(const AtspiSubject& subject, AtspiRequest request);
/// Whether the object has the state.
port::Result<port::Value> stateOf(const AtspiSubject& subject, AtspiState wanted);

/// AXValue, according to the object's role.
port::Result<port::Value> valueOf(const AtspiSubject& subject);

}  // namespace zqlogging
