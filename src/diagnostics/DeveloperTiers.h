#pragma once

#include <memory>
#include <vector>

#include "platform/Platform.h"
#include "zqlogging/ZQDeveloperLogger.h"

namespace zqlogging {

/// The switched-on tiers of the shared logger and the desktop whose system log takes their lines.
class DeveloperTiers {
 public:
  /// Replaces both at once. Without tiers the desktop is let go.
  static void set(std::vector<ZQDeveloperLogTier> tiers, std::shared_ptr<port::Platform> desktop);
  static std::vector<ZQDeveloperLogTier> get();
};

/// Writes a trace line at the one tier that the library uses.
inline void trace(std::string_view message) noexcept {
  ZQDeveloperLogger::log().log(ZQDeveloperLogTier::enhancedlogging, message);
}

}  // namespace zqlogging
