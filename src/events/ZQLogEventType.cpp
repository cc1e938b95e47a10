#include "events/ZQLogEventType.h"

#include <algorithm>
#include <array>

namespace zqlogging {
namespace {

// In declaration order of the enumerations.
constexpr std::array<std::string_view, 7> kEventTypes = {"Focus",  "Mouse",       "KeyPressed", "RemoteCommand",
                                                         "System", "Application", "Unknown"};
constexpr std::array<std::string_view, 6> kMouseTypes = {"LeftDown",  "LeftUp",  "Click",
                                                         "RightDown", "RightUp", "Unknown"};

}  // namespace

std::string_view rawValue(ZQLogEventType type) { return kEventTypes.at(static_cast<std::size_t>(type)); }

std::string_view rawValue(ZQLogEventMouseType type) { return kMouseTypes.at(static_cast<std::size_t>(type)); }

std::optional<ZQLogEventType> logEventTypeFromRawValue(std::string_view rawValue) {
  const auto* found = std::find(kEventTypes.begin(), kEventTypes.end(), rawValue);
  if (found == kEventTypes.end()) {
    return std::nullopt;
  }
  return static_cast<ZQLogEventType>(found - kEventTypes.begin());
}

std::string_view mouseButton(std::uint64_t platformEventType) {
  switch (PlatformEventType{platformEventType}) {
    case PlatformEventType::rightMouseDown:
    case PlatformEventType::rightMouseUp:
      return "Right";
    default:
      return "Left";
  }
}

ZQLogEventMouseType mouseLogEventTypeOf(std::uint64_t platformEventType) {
  switch (PlatformEventType{platformEventType}) {
    case PlatformEventType::leftMouseDown:
      return ZQLogEventMouseType::LeftDown;
    case PlatformEventType::leftMouseUp:
      return ZQLogEventMouseType::LeftUp;
    case PlatformEventType::rightMouseDown:
      return ZQLogEventMouseType::RightDown;
    case PlatformEventType::rightMouseUp:
      return ZQLogEventMouseType::RightUp;
    default:
      return ZQLogEventMouseType::Unknown;
  }
}

}  // namespace zqlogging
