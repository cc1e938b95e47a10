#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "events/ZQLogEventProtocol.h"
#include "platform/Platform.h"
#include "service/RecordList.h"
#include "service/SessionLogFile.h"

namespace zqlogging {

/// The event counter, the list of records not yet acknowledged, and their file, behind one mutex: a record's number
/// and time are taken and the record is appended to both in one step, so numbers increase in list and file order.
/// Any thread. Holds the mutex for its own appends and for the last step of a change to the file, never for reading
/// the file or for anything of others.
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

  /// What a chunk stands for.
  struct ChunkEnd {
    std::uint64_t place = 0;      ///< of the list's end
    std::uint64_t readBacks = 0;  ///< how often the file had been read back
  };
  struct Chunk {
    std::vector<LogEvent> records;  ///< the newest of the reduced list
    ChunkEnd end;
  };
  [[nodiscard]] Chunk chunk() const;
  /// The records that are held in memory; all of them, unless there are very many.
  [[nodiscard]] std::vector<LogEvent> records() const;
  [[nodiscard]] bool isEmpty() const;

  /// Drops the records before `end` that are still there. Their entries leave the file with the next `changeFile`.
  void remove(ChunkEnd end);

  /// Whether the file holds entries that should not be there any more, or lacks some that it can be given.
  [[nodiscard]] bool mustChangeFile() const;
  /// Takes the entries of removed records out of the file, and writes what is in memory alone. Takes as long as reading
  /// the file does; one thread at a time, which then does the others' part too. When it cannot be done it is kept for
  /// the next call, and the reason given.
  std::optional<std::string> changeFile();

  /// Drops everything, from the list and from the disk. The reason when the file cannot be deleted. `letGo` is given
  /// what takes its time to end.
  std::optional<std::string> clear(const std::function<void(Descriptor)>& letGo);

  /// The next append makes sure that the file is as it should be.
  void lookAtFileAgain();

  /// Zero when there is none to read.
  [[nodiscard]] std::uint64_t fileSize() const;

  /// What an earlier session left, read from the file.
  struct ReadBack {
    RecordList records;
    std::vector<std::uint64_t> entries;  ///< all of the file's, by their hashes, also those that are no records
    bool opened = false;
    bool isNothing = true;             ///< no more than a crash leaves of an empty file
    std::optional<std::string> error;  ///< why an opened file could not be read
    std::uint64_t clears = 0;
  };
  /// Reads the whole file as it is now, in a stream. `take` is called with each entry in order, until it answers false,
  /// once it is known that all is UTF-8; it puts the records into the list that it is given. Without the mutex.
  using TakeEntry = std::function<bool(std::string_view entry, bool isTooLong, RecordList& records)>;
  ReadBack readBack(const TakeEntry& take);
  /// Appends to the list what was read back; nothing when the log was cleared meanwhile.
  void addReadBack(ReadBack read);

 private:
  Stamp nextStamp();
  SessionLogFile::AppendResult appendLocked(LogEvent record);
  [[nodiscard]] bool entriesMustGo() const;
  std::optional<std::string> changeFileAlone();
  void writeWaiting(std::size_t maxBytes);
  void keepHashes(std::string_view entry, std::uint64_t place, int copies);

  /// A record in memory alone.
  struct Waiting {
    std::uint64_t place;
    LogEvent record;
  };
  /// An entry of the file that goes with the records before a place.
  struct Written {
    std::uint64_t place;
    std::uint64_t hash;
  };

  const std::string path_;
  port::Clock& clock_;
  std::mutex changing_;  // held by the one that changes the file

  mutable std::mutex mutex_;
  std::int64_t eventId_ = 0;
  RecordList list_;
  std::uint64_t begin_ = 0;  // place of the first record; places are never used twice
  std::uint64_t clears_ = 0;
  SessionLogFile file_;
  std::string entry_;  // reused for each append
  std::deque<Written> written_;
  std::deque<Waiting> waiting_;
  bool waitingMayWork_ = false;    // with the next append; else only with the next change of the file
  std::vector<Written> readBack_;  // what an earlier session left; here the place is the number of the read-back
  std::uint64_t readBacks_ = 0;
  std::vector<std::uint64_t> removed_;  // from the list and not yet from the file
  bool holdsNothing_ = false;           // a file that may go with the next change
};

}  // namespace zqlogging
