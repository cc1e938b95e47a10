#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "events/ZQLogEventProtocol.h"
#include "platform/Platform.h"
#include "service/SessionLogFile.h"

namespace zqlogging {

/// The event counter, the list of records not yet acknowledged, and their file, behind one mutex: a record's number
/// and time are taken and the record is appended to both in one step, so numbers increase in list and file order.
/// Any thread. Holds the mutex for its own file, never for anything of others.
class EventLog {
 public:
  EventLog(std::string path, port::Clock& clock);

  [[nodiscard]] const std::string& path() const { return path_; }

  /// What a record under construction is given.
  struct Stamp {
    std::int64_t id = 0;
    std::int64_t timestamp = 0;  ///< milliseconds since 1970
    bool lastWasRemote = false;  ///< of the record before it in the list; false when there is none
  };

  /// Numbers, builds and appends a record. `build` takes the Stamp and only assembles what was read before.
  template <class Build>
  SessionLogFile::AppendResult append(const Build& build) {
    const std::lock_guard lock(mutex_);
    return appendLocked(build(nextStamp()));
  }

  /// Takes the next number without making a record.
  void takeNumber();
  void resetNumber();
  [[nodiscard]] std::int64_t eventId() const;

  struct Snapshot {
    std::vector<LogEvent> records;
    std::uint64_t end = 0;  ///< place of the list's end, for `remove`
  };
  [[nodiscard]] Snapshot snapshot() const;
  [[nodiscard]] bool isEmpty() const;

  /// Drops the records before `end` that are still there; the file is replaced by what remains, or deleted. What an
  /// earlier session left and nobody has read back yet stays in it. The reason when the file cannot be changed.
  std::optional<std::string> remove(std::uint64_t end);

  /// Drops everything, from the list and from the disk. The reason when the file cannot be deleted.
  std::optional<std::string> clear();

  /// The next append makes sure that the file is as it should be.
  void lookAtFileAgain();

  /// The whole file, for reading back.
  [[nodiscard]] SessionLogFile::Content readFile() const;
  /// Appends to the list what was read back from the file; nothing when the log was cleared since `clearCount`.
  void addReadBack(const std::vector<LogEvent>& records, std::uint64_t clearCount);
  [[nodiscard]] std::uint64_t clearCount() const;

 private:
  Stamp nextStamp();
  SessionLogFile::AppendResult appendLocked(LogEvent record);
  std::optional<std::string> rewriteFile();

  const std::string path_;
  port::Clock& clock_;

  mutable std::mutex mutex_;
  std::int64_t eventId_ = 0;
  std::deque<LogEvent> records_;
  std::uint64_t begin_ = 0;  // place of the first record; places are never used twice
  std::uint64_t clearCount_ = 0;
  SessionLogFile file_;
  std::string entry_;  // reused for each append
  /// Where the first entry of this service begins in the file: before it lies what an earlier session left.
  std::optional<std::size_t> ownEntriesFrom_;
  bool leftoversRead_ = false;
};

}  // namespace zqlogging
