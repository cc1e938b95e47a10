#pragma once

#include <cstdint>
#include <optional>

#include "linux/accessibility/ElementFactory.h"

namespace zqlogging {

/// The element at a screen point (origin top-left): of one process, or of whichever has the topmost window there. Waits
/// for the answers, `seconds` at most each time.
port::Result<port::ElementRef> elementAtPoint(const ElementFactory& elements, float x, float y,
                                              std::optional<std::int32_t> pid, double seconds);

}  // namespace zqlogging
