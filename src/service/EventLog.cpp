#include "service/EventLog.h"

#include <algorithm>
#include <utility>

namespace zqlogging {

EventLog::EventLog(std::string path, port::Clock& clock) : path_(path), clock_(clock), file_(std::move(path)) {}

EventLog::Stamp EventLog::nextStamp() {
  Stamp stamp;
  stamp.id = ++eventId_;
  stamp.timestamp = static_cast<std::int64_t>(clock_.wallTime() * 1000.0);
  stamp.lastWasRemote = !records_.empty() && records_.back()->isRemoteControlInititated();
  return stamp;
}

SessionLogFile::AppendResult EventLog::appendLocked(LogEvent record) {
  entry_.clear();
  record->appendJson(entry_);
  entry_.append(SessionLogFile::kEntrySeparator);
  records_.push_back(std::move(record));
  const auto appended = file_.append(entry_);
  if (appended.offset && !ownEntriesFrom_) {
    ownEntriesFrom_ = appended.offset;
  }
  return appended.result;
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

EventLog::Snapshot EventLog::snapshot() const {
  const std::lock_guard lock(mutex_);
  return {{records_.begin(), records_.end()}, begin_ + records_.size()};
}

void EventLog::lookAtFileAgain() {
  const std::lock_guard lock(mutex_);
  file_.lookAgain();
}

bool EventLog::isEmpty() const {
  const std::lock_guard lock(mutex_);
  return records_.empty();
}

std::optional<std::string> EventLog::remove(std::uint64_t end) {
  const std::lock_guard lock(mutex_);
  if (end > begin_) {
    const std::size_t count = std::min<std::uint64_t>(end - begin_, records_.size());
    records_.erase(records_.begin(), records_.begin() + static_cast<std::ptrdiff_t>(count));
    begin_ += count;
  } else if (!records_.empty()) {
    return std::nullopt;  // nothing of it is left, and the file is right as it is
  }
  return rewriteFile();
}

std::optional<std::string> EventLog::rewriteFile() {
  std::string content;
  if (!leftoversRead_) {
    if (!ownEntriesFrom_) {
      return std::nullopt;  // all of the file is somebody else's
    }
    if (*ownEntriesFrom_ > 0) {
      content = file_.read().text;
      content.resize(std::min(content.size(), *ownEntriesFrom_));
    }
  }
  const std::size_t leftovers = content.size();
  for (const LogEvent& record : records_) {
    record->appendJson(content);
    content.append(SessionLogFile::kEntrySeparator);
  }
  if (content.empty()) {
    return file_.remove();
  }
  auto error = file_.replace(content);
  if (!error) {
    ownEntriesFrom_ = leftovers;
  }
  return error;
}

std::optional<std::string> EventLog::clear() {
  const std::lock_guard lock(mutex_);
  begin_ += records_.size();
  records_.clear();
  ++clearCount_;
  leftoversRead_ = true;
  return file_.remove();
}

SessionLogFile::Content EventLog::readFile() const {
  const std::lock_guard lock(mutex_);
  return file_.read();
}

void EventLog::addReadBack(const std::vector<LogEvent>& records, std::uint64_t clearCount) {
  const std::lock_guard lock(mutex_);
  if (clearCount_ != clearCount) {
    return;
  }
  records_.insert(records_.end(), records.begin(), records.end());
  leftoversRead_ = true;
}

std::uint64_t EventLog::clearCount() const {
  const std::lock_guard lock(mutex_);
  return clearCount_;
}

}  // namespace zqlogging
