#pragma once

#include <optional>
#include <string>
#include <vector>

#include "linux/atspi/AtspiBatch.h"
#include "linux/x11/WindowStack.h"

namespace zqlogging {

/// The frame in an answer to AtspiRequest::extents, unless it is that of something not on the screen.
std::optional<CGRect> frameFrom(const AtspiAnswer& extents);

/// A window as its application describes it.
struct AtspiWindow {
  AtspiObject object;
  CGRect frame;
  std::string name;
};

/// The windows of an application, without those that have no frame. Waits for the answers.
port::Result<std::vector<AtspiWindow>> readWindows(AtspiBatch& batch, const AtspiObject& root, double seconds);

/// The one of them that is the given window of the X server; null when none is.
const AtspiWindow* matchingWindow(const std::vector<AtspiWindow>& windows, const WindowStack::Window& window);

/// The title that the X server has for a window of the process, or empty: for the window in that place, or for the only
/// one that there is. `windows` are the server's.
std::string titleOnServer(const std::vector<WindowStack::Window>& windows, std::int32_t pid,
                          const std::optional<CGRect>& frame);

}  // namespace zqlogging
