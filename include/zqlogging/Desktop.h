#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "zqlogging/Export.h"
#include "zqlogging/Geometry.h"

namespace zqlogging {

namespace port {
class Platform;
}

/// This system's desktop, shared by everything in the process. Opening it connects to nothing: the accessibility
/// bus, the window system and the login manager are reached when they are first needed. Never fails, never null.
ZQ_EXPORT std::shared_ptr<port::Platform> systemDesktop();

/// For hosts without a main loop of their own: runs the main loop's due work (timers, notifications, chunks) on the
/// calling thread, which must always be the same and is then the main thread. Waits at most `wait` for something to
/// do (zero: only looks), and returns once at least one thing was done or the time is over. A GTK host needs no
/// pump, nor does a Qt host on Linux: their loop is this one.
ZQ_EXPORT void pumpMainLoop(std::chrono::milliseconds wait);

/// Wakes `pumpMainLoop` on the main thread. Any thread, and from a signal handler not at all.
ZQ_EXPORT void wakeMainLoop();

/// Turns a point with its origin at the top-left corner of the whole desktop, as X11 and most toolkits give it, into
/// the bottom-left-origin point that the service's event operations take. Points on no screen come back as (0, 0).
ZQ_EXPORT CGPoint pointFromTopLeft(port::Platform& desktop, CGPoint topLeft);

/// What the service would record of one element. Texts are empty where the application gives none.
struct ElementDescription {
  std::string fullPath;  ///< from the application down to the element
  std::string url;       ///< address of the page that holds the element
  std::string name;
  std::string controlType;  ///< the role without its leading "AX"
  std::string value;
  std::string window;       ///< title
  std::string application;  ///< name
  std::string applicationId;
  std::optional<CGRect> frame;  ///< screen points, origin top-left
  std::string json;             ///< the same as one JSON object, as `zqlog replay` prints it for "describe"
};

/// Describes the element at a screen point (origin top-left). Nothing when no element is there; throws
/// std::runtime_error when the desktop does not answer. Blocks for the reads of one element, at most about 0.25 s
/// for an application that hangs.
ZQ_EXPORT std::optional<ElementDescription> describeElementAt(port::Platform& desktop, double x, double y);

/// The element tree of an application as indented text, one element a line, at most `maxElements` of them.
/// Throws std::runtime_error when there is no such application or it does not answer.
ZQ_EXPORT std::string describeApplication(port::Platform& desktop, int pid, int maxElements = 10000);

}  // namespace zqlogging
