#pragma once

#include <cstdint>
#include <map>

#include "platform/Session.h"

namespace zqlogging {

/// What a look over connections of its own finds on the session bus and the accessibility bus.
struct BusLook {
  port::Answer sessionBus = port::Answer::none;
  port::Answer accessibilityBus = port::Answer::none;
  port::Answer registry = port::Answer::none;
  std::optional<bool> listenerAnnounced;
  std::map<std::int32_t, port::SeenApplication::Presence> applications;  ///< by process; the missing ones are not here
};

/// Looks until the monotonic time `deadline` (microseconds) at most. Applications are asked for nothing but children,
/// which wakes none of those that build their trees when they are asked more.
BusLook lookAtBuses(std::uint64_t deadline);

}  // namespace zqlogging
