#pragma once

#include <atomic>
#include <cstdint>

namespace zqlogging {

/// What reading has cost so far, over all threads; for measurements.
struct AtspiStatistics {
  static inline std::atomic<std::uint64_t> calls = 0;     ///< D-Bus calls sent
  static inline std::atomic<std::uint64_t> waits = 0;     ///< times a thread waited for answers
  static inline std::atomic<std::uint64_t> timeOuts = 0;  ///< waits that an application let run out
};

}  // namespace zqlogging
