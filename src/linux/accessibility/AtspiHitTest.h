#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "linux/accessibility/LinuxAccessibility.h"

namespace zqlogging {

/// The element at a screen point (origin top-left): of one process, or of whichever has the topmost window there.
port::Result<port::ElementRef> elementAtPoint(LinuxAccessibility& accessibility, float x, float y,
                                              std::optional<std::int32_t> pid, double seconds);

/// A window as its application describes it.
struct AtspiWindow {
  AtspiObject object;
  CGRect frame;
  std::string name;
};
/// The windows of an application; those without a frame are left out.
port::Result<std::vector<AtspiWindow>> windowsOf(AtspiReader& reader, const AtspiObject& root, double seconds);

/// The one of them that is the given window of the X server; null when none is.
const AtspiWindow* matchingWindow(const std::vector<AtspiWindow>& windows, const WindowStack::Window& window);

}  // namespace zqlogging
