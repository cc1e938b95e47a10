#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "zqlogging/EventDictionary.h"

namespace zqlogging {

/// What a mouse event is; reduction turns every one into a click.
enum class ZQLogEventMouseType { LeftDown, LeftUp, Click, RightDown, RightUp, Unknown };

/// The platform's event types that the service knows, by the numbers in which hosts forward them.
enum class PlatformEventType : std::uint64_t {
  leftMouseDown = 1,
  leftMouseUp = 2,
  rightMouseDown = 3,
  rightMouseUp = 4,
  keyDown = 10,
};

std::string_view rawValue(ZQLogEventMouseType type);

/// Exact, case-sensitive; nothing for any other text.
std::optional<ZQLogEventType> logEventTypeFromRawValue(std::string_view rawValue);

/// "Right" for the right button's events, "Left" for everything else.
std::string_view mouseButton(std::uint64_t platformEventType);
ZQLogEventMouseType mouseLogEventTypeOf(std::uint64_t platformEventType);

}  // namespace zqlogging
