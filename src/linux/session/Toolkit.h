#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Session.h"

namespace zqlogging {

/// What draws an application's windows, and when it heeds that somebody listens.
struct Toolkit {
  std::string name;  ///< empty when it is not known
  port::SeenApplication::Heeds heeds = port::SeenApplication::Heeds::unknown;
};

/// By the libraries that the process has loaded and the files beside its program.
Toolkit toolkitOf(std::int32_t pid);

/// By the lines of /proc/PID/maps.
Toolkit toolkitFromMaps(std::string_view maps);

}  // namespace zqlogging
