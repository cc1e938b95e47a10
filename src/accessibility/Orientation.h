#pragma once

#include <cstdint>
#include <optional>

namespace zqlogging {

enum class Orientation : std::int64_t { unknown = 0, vertical = 1, horizontal = 2 };

constexpr std::int64_t rawValue(Orientation value) { return static_cast<std::int64_t>(value); }

/// The case with exactly this raw value, or nothing.
constexpr std::optional<Orientation> orientationFromRawValue(std::int64_t rawValue) {
  if (rawValue < 0 || rawValue > 2) {
    return std::nullopt;
  }
  return static_cast<Orientation>(rawValue);
}

}  // namespace zqlogging
