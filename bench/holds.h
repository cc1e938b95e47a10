#pragma once

namespace zqlogging::bench {

/// Prints the longest hold of the main thread in each of several sick states of the desktop; the exit status.
int printHolds();

}  // namespace zqlogging::bench
