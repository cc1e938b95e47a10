#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "events/RunningReduction.h"

namespace zqlogging {

/// Records in order, of which the newest are held, and what a chunk would carry of all. Not synchronized.
class RecordList {
 public:
  /// The most records of one chunk.
  static constexpr std::size_t kMaxChunkRecords = 200;
  /// The most records that are held; of those before them only the number is known.
  static constexpr std::size_t kMaxHeld = 10000;

  void add(LogEvent record);
  /// Adds the other's records behind these.
  void add(RecordList other);

  /// Takes out the first `count`, held or not, for the caller to end.
  std::deque<LogEvent> takeFirst(std::uint64_t count);

  [[nodiscard]] std::uint64_t size() const { return size_; }
  [[nodiscard]] const std::deque<LogEvent>& held() const { return held_; }
  /// The reduced list's newest records, at most `kMaxChunkRecords`.
  [[nodiscard]] std::vector<LogEvent> chunk() const { return reduction_.result(); }

 private:
  std::uint64_t size_ = 0;
  std::deque<LogEvent> held_;
  RunningReduction reduction_{kMaxChunkRecords};
};

}  // namespace zqlogging
