#include "service/RecordList.h"

#include <utility>

namespace zqlogging {

void RecordList::add(LogEvent record) {
  reduction_.add(record);
  held_.push_back(std::move(record));
  ++size_;
  if (held_.size() > kMaxHeld) {
    held_.pop_front();
  }
}

void RecordList::add(RecordList other) {
  if (size_ == 0) {
    *this = std::move(other);
    return;
  }
  size_ += other.size_ - other.held_.size();
  for (LogEvent& record : other.held_) {
    add(std::move(record));
  }
}

std::deque<LogEvent> RecordList::takeFirst(std::uint64_t count) {
  std::deque<LogEvent> taken;
  if (count >= size_) {
    taken.swap(held_);
    size_ = 0;
  } else {
    const std::uint64_t notHeld = size_ - held_.size();
    size_ -= count;
    while (count > notHeld) {
      taken.push_back(std::move(held_.front()));
      held_.pop_front();
      --count;
    }
  }
  reduction_ = RunningReduction(kMaxChunkRecords);
  for (const LogEvent& record : held_) {
    reduction_.add(record);
  }
  return taken;
}

}  // namespace zqlogging
