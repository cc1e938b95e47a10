#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zqlogging {

/// Which program a process runs, from what /proc tells. Nothing when the process is gone or another user's.

/// The identifier of the desktop entry that the process was launched from, e.g. "org.gnome.gedit".
std::optional<std::string> launchedDesktopEntry(std::int32_t pid);
/// The file name of the program.
std::optional<std::string> executableName(std::int32_t pid);
/// The moment of its start, in clock ticks since boot: with the process id it names a process for good.
/// Nothing also when it has ended and only waits to be collected.
std::optional<std::uint64_t> startTime(std::int32_t pid);

/// "org.gnome.gedit" of "/usr/share/applications/org.gnome.gedit.desktop".
std::string desktopEntryIdentifier(const std::string& path);

}  // namespace zqlogging
