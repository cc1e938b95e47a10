#include "service/EventLog.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "service/LogEntries.h"
#include "service/LogFileChange.h"
#include "text/Text.h"

namespace zqlogging {
namespace {

/// Bytes that are written at once of what was in memory alone, and with one append.
constexpr std::size_t kMaxBatch = std::size_t{64} << 10U;
constexpr std::size_t kMaxWithOneAppend = std::size_t{1} << 20U;

using Result = SessionLogFile::AppendResult;

void appendEntry(const LogEvent& record, std::string& out) {
  record->appendJson(out);
  out.append(kEntrySeparator);
}

std::string_view withoutSeparator(std::string_view entry) {
  return entry.substr(0, entry.size() - kEntrySeparator.size());
}

}  // namespace

EventLog::EventLog(std::string path, port::Clock& clock) : path_(path), clock_(clock), file_(std::move(path)) {}

EventLog::Stamp EventLog::nextStamp() {
  Stamp stamp;
  stamp.id = ++eventId_;
  stamp.timestamp = static_cast<std::int64_t>(clock_.wallTime() * 1000.0);
  stamp.lastWasRemote = !list_.held().empty() && list_.held().back()->isRemoteControlInititated();
  return stamp;
}

void EventLog::keepHashes(std::string_view entry, std::uint64_t place, int copies) {
  const Written written = {place, hashOfEntry(entry)};
  auto behind = written_.end();  // what waited comes behind what did not, and goes before it
  while (behind != written_.begin() && std::prev(behind)->place > place) {
    --behind;
  }
  written_.insert(behind, static_cast<std::size_t>(copies), written);
}

Result EventLog::appendLocked(LogEvent record) {
  const std::uint64_t place = begin_ + list_.size();
  if (waitingMayWork_) {
    writeWaiting(kMaxWithOneAppend);
  }
  entry_.clear();
  appendEntry(record, entry_);
  list_.add(record);
  if (waitingMayWork_ && !waiting_.empty()) {  // in order
    waiting_.push_back({place, std::move(record)});
    return Result::notWritten;
  }
  const auto appended = file_.append(entry_);
  if (appended.result == Result::written) {
    keepHashes(withoutSeparator(entry_), place, appended.copies);
  } else {
    waiting_.push_back({place, std::move(record)});
    waitingMayWork_ = appended.mayWorkLater;
  }
  return appended.result;
}

void EventLog::writeWaiting(std::size_t maxBytes) {
  std::string batch;
  std::vector<std::string> entries;
  std::size_t total = 0;
  while (!waiting_.empty() && total < maxBytes) {
    batch.clear();
    entries.clear();
    for (auto next = waiting_.begin(); next != waiting_.end() && batch.size() < kMaxBatch; ++next) {
      next->record->appendJson(entries.emplace_back());
      batch.append(entries.back()).append(kEntrySeparator);
    }
    const auto appended = file_.append(batch);
    if (appended.result != Result::written) {
      waitingMayWork_ = appended.mayWorkLater;
      return;
    }
    for (const std::string& entry : entries) {
      keepHashes(entry, waiting_.front().place, appended.copies);
      waiting_.pop_front();
    }
    total += batch.size();
  }
}

void EventLog::takeNumber() {
  const std::lock_guard lock(mutex_);
  ++eventId_;
}

void EventLog::resetNumber() {
  const std::lock_guard lock(mutex_);
  eventId_ = 0;
}

std::int64_t EventLog::eventId() const {
  const std::lock_guard lock(mutex_);
  return eventId_;
}

EventLog::Chunk EventLog::chunk() const {
  const std::lock_guard lock(mutex_);
  return {list_.chunk(), {begin_ + list_.size(), readBacks_}};
}

std::vector<LogEvent> EventLog::records() const {
  const std::lock_guard lock(mutex_);
  return {list_.held().begin(), list_.held().end()};
}

void EventLog::lookAtFileAgain() {
  const std::lock_guard lock(mutex_);
  file_.lookAgain();
}

bool EventLog::isEmpty() const {
  const std::lock_guard lock(mutex_);
  return list_.size() == 0;
}

void EventLog::remove(ChunkEnd end) {
  std::deque<LogEvent> ended;  // after the lock
  const std::lock_guard lock(mutex_);
  if (end.place > begin_) {
    const std::uint64_t count = std::min(end.place - begin_, list_.size());
    ended = list_.takeFirst(count);
    begin_ += count;
  }
  while (!waiting_.empty() && waiting_.front().place < begin_) {
    waiting_.pop_front();
  }
  while (!written_.empty() && written_.front().place < begin_) {
    removed_.push_back(written_.front().hash);
    written_.pop_front();
  }
  // All that an earlier session left goes with its records, also what could not be read.
  const auto stays = std::stable_partition(readBack_.begin(), readBack_.end(),
                                           [&](const Written& entry) { return entry.place < end.readBacks; });
  for (auto entry = readBack_.begin(); entry != stays; ++entry) {
    removed_.push_back(entry->hash);
  }
  readBack_.erase(readBack_.begin(), stays);
  waitingMayWork_ = !waiting_.empty();
}

bool EventLog::entriesMustGo() const {
  const std::lock_guard lock(mutex_);
  return !removed_.empty() || holdsNothing_;
}

bool EventLog::mustChangeFile() const {
  const std::lock_guard lock(mutex_);
  return !removed_.empty() || holdsNothing_ || (waitingMayWork_ && !waiting_.empty());
}

std::optional<std::string> EventLog::changeFile() {
  // Who finds another thread at it leaves its part to that one, which therefore looks again when it has done.
  constexpr int kMaxTurns = 10;
  std::optional<std::string> error;
  for (int turn = 0; turn < kMaxTurns && !error && entriesMustGo(); ++turn) {
    const std::unique_lock alone(changing_, std::try_to_lock);
    if (!alone.owns_lock()) {
      break;
    }
    error = changeFileAlone();
  }
  const std::lock_guard lock(mutex_);
  if (waitingMayWork_) {
    writeWaiting(kMaxWithOneAppend);
  }
  return error;
}

std::optional<std::string> EventLog::changeFileAlone() {
  std::vector<std::uint64_t> removed;
  std::uint64_t clears = 0;
  SessionLogFile file(path_);
  {
    const std::lock_guard lock(mutex_);
    removed = removed_;
    clears = clears_;
  }
  EntrySet without(removed);
  LogFileChange change(file);
  LogFileChange::Outcome outcome = change.prepare(without);
  const std::lock_guard lock(mutex_);
  if (clears != clears_) {
    return std::nullopt;
  }
  if (outcome == LogFileChange::Outcome::done) {
    outcome = change.commit(without);
  }
  if (outcome != LogFileChange::Outcome::done) {
    return change.reasonForLater();
  }
  file_.lookAgain();
  removed_.erase(removed_.begin(), removed_.begin() + static_cast<std::ptrdiff_t>(removed.size()));
  holdsNothing_ = false;
  return std::nullopt;
}

std::optional<std::string> EventLog::clear(const std::function<void(Descriptor)>& letGo) {
  RecordList ended;  // after the lock
  const std::lock_guard lock(mutex_);
  begin_ += list_.size();
  std::swap(list_, ended);
  ++clears_;
  written_.clear();
  waiting_.clear();
  readBack_.clear();
  removed_.clear();
  holdsNothing_ = false;
  LogFileChange(file_).discardUnfinished();
  return file_.remove(letGo);
}

std::uint64_t EventLog::fileSize() const {
  const auto facts = factsOf(path_);
  return facts && facts->isOwnRegularFile ? facts->size : 0;
}

EventLog::ReadBack EventLog::readBack(const TakeEntry& take) {
  ReadBack read;
  {
    const std::lock_guard lock(mutex_);
    read.clears = clears_;
  }
  if (const std::unique_lock alone(changing_, std::try_to_lock); alone.owns_lock()) {
    SessionLogFile reading(path_);
    LogFileChange(reading).recover();
  }
  const auto opened = SessionLogFile(path_).open();
  if (!opened.file.isOpen()) {
    return read;
  }
  read.opened = true;
  bool isUtf8 = true;
  {
    LogEntries entries(opened.file.get(), 0, opened.facts.size);
    while (const auto entry = entries.next()) {
      isUtf8 = isUtf8 && (entry->isTooLong || isValidUtf8(entry->text));
      read.isNothing = read.isNothing && !entry->isTooLong && withoutZeroBytes(entry->text).empty();
      read.entries.push_back(entry->hash);
    }
    read.error = entries.error();
  }
  if (read.error) {
    read.entries.clear();
  }
  if (read.error || !isUtf8) {
    return read;
  }
  LogEntries entries(opened.file.get(), 0, opened.facts.size);
  while (const auto entry = entries.next()) {
    const std::string_view text = withoutZeroBytes(entry->text);
    if (!take(text.empty() ? entry->text : text, entry->isTooLong, read.records)) {
      break;
    }
  }
  if (entries.error()) {
    // What was read stays in the file, to be read again.
    read.error = entries.error();
    read.entries.clear();
    read.records = {};
  }
  return read;
}

void EventLog::addReadBack(ReadBack read) {
  const std::lock_guard lock(mutex_);
  if (clears_ != read.clears) {
    return;
  }
  for (const std::uint64_t hash : read.entries) {
    readBack_.push_back({readBacks_, hash});
  }
  ++readBacks_;
  holdsNothing_ = read.opened && !read.error && read.isNothing;
  list_.add(std::move(read.records));
}

}  // namespace zqlogging
