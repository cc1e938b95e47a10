#pragma once

#include <memory>
#include <optional>
#include <string>

#include "linux/atspi/AtspiLink.h"
#include "platform/Session.h"

namespace zqlogging {

/// The session's word to its programs that somebody listens (the property IsEnabled of org.a11y.Status). Desktops keep
/// it beyond the session, so whoever changes it must put it back.
class AccessibilityStatus {
 public:
  /// Nothing when the session does not say. Each waits until the monotonic time `deadline` (microseconds) at most.
  static std::optional<bool> read(AtspiLink& session, std::uint64_t deadline);
  static bool write(AtspiLink& session, bool enabled, std::uint64_t deadline);

  /// Tells programs, and remembers in a file in `folder` that they were not told before. Null when that cannot be
  /// done.
  static std::unique_ptr<port::Announcement> announce(const std::string& folder);
  /// Tells programs for good.
  static bool announceForGood(const std::string& folder);
  /// Puts back what a process has left announced that lives no more.
  static void putBackLeftovers(const std::string& folder);
};

}  // namespace zqlogging
