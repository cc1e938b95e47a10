#pragma once

#include <chrono>
#include <cstdint>

namespace zqlogging {

/// The monotonic time in microseconds.
inline std::uint64_t monotonicMicroseconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

}  // namespace zqlogging
