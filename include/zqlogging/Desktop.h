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
/// bus, the window system and the login manager are reached when they are first needed. Any thread; blocks for nothing.
/// \return  never null; the library keeps a share of its own until the process ends
ZQ_EXPORT std::shared_ptr<port::Platform> systemDesktop();

/// For hosts without a main loop of their own: runs the main loop's due work (timers, notifications, chunks) on the
/// calling thread, which must always be the same and is then the main thread. Returns once at least one thing was done
/// or the time is over. A GTK host needs no pump, nor does a Qt host on Linux: their loop is this one. Never fails.
/// \param wait  how long to wait at most for something to do; zero only looks
ZQ_EXPORT void pumpMainLoop(std::chrono::milliseconds wait);

/// Wakes `pumpMainLoop` on the main thread. Any thread, but no signal handler. Blocks for nothing, never fails.
ZQ_EXPORT void wakeMainLoop();

/// Turns a point with its origin at the top-left corner of the whole desktop, as X11 and most toolkits give it, into
/// the bottom-left-origin point that the service's event operations take. Any thread. Blocks for an answer of the
/// display server, a quarter of a second at most, only when the screens are not known yet or have changed. Never fails.
/// \param desktop  whose screens count
/// \param topLeft  screen points
/// \return         screen points; (0, 0) for a point on no screen. Not-a-number where the display server cannot tell
/// its
///                 screens: the service drops an event at such a point.
ZQ_EXPORT CGPoint pointFromTopLeft(port::Platform& desktop, CGPoint topLeft);

/// What the service would record of one element. Texts are empty where the application gives none.
struct ElementDescription {
  std::string fullPath;         ///< from the application down to the element
  std::string url;              ///< address of the page that holds the element
  std::string name;             ///< at most 256 characters
  std::string controlType;      ///< the role without its leading "AX"
  std::string value;            ///< at most 256 characters; never that of a password field
  std::string window;           ///< title
  std::string application;      ///< name
  std::string applicationId;    ///< a stable name: the same each time the application runs
  std::optional<CGRect> frame;  ///< screen points, origin top-left
  std::string json;             ///< the same as one JSON object, as `zqlog replay` prints it for "describe"
};

/// Describes the element at a screen point, for people who want to know what an application says of itself. No
/// blacklist applies. Any thread. Blocks for the reads of one element, at most about 0.25 s for an application that
/// hangs. Throws std::runtime_error when the desktop does not answer.
/// \param desktop  where to look
/// \param x        screen points from the left edge
/// \param y        screen points from the top edge
/// \return         a copy of what was read; nothing when no element is there
ZQ_EXPORT std::optional<ElementDescription> describeElementAt(port::Platform& desktop, double x, double y);

/// The element tree of an application as indented text. No blacklist applies. Any thread. Blocks for as long as the
/// application takes to answer for all its elements, and no longer than about 0.25 s when it hangs. Throws
/// std::runtime_error when there is no such application or it does not answer.
/// \param desktop      where the application runs
/// \param pid          its process
/// \param maxElements  where to stop
/// \return             one element a line, each with a line feed
ZQ_EXPORT std::string describeApplication(port::Platform& desktop, int pid, int maxElements = 10000);

}  // namespace zqlogging
