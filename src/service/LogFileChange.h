#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "service/OwnFile.h"
#include "service/SessionLogFile.h"

namespace zqlogging {

/// Entries by their hashes, each as often as it was put in.
class EntrySet {
 public:
  explicit EntrySet(std::vector<std::uint64_t> hashes);

  /// Whether the entry is in it, once more than it was taken out.
  bool takeOut(std::uint64_t hash);
  [[nodiscard]] bool contains(std::uint64_t hash) const;

 private:
  std::vector<std::pair<std::uint64_t, std::uint32_t>> counts_;  // by hash
};

/// Puts a file without some entries, or none, in the place of the session log file, while other services append to
/// it and may want to change it too.
///
/// What remains is written to a file beside it. Holding a lock on that and on the log file makes the change this
/// service's alone; nobody waits for it: who finds it taken tries again later. Then both files change their names in
/// one step, what others have appended to the old file meanwhile is added to the new one, and the old one is deleted.
/// Who appends to the old file after that step sees that it is not at the path any more. A change that was killed
/// leaves the file beside the log behind; the next one takes from it what the log lacks.
class LogFileChange {
 public:
  enum class Outcome {
    done,
    later,  ///< somebody else is changing the file, or a call failed: nothing has changed
  };

  explicit LogFileChange(SessionLogFile& file) : file_(file), besidePath_(file.path() + ".next") {}
  ~LogFileChange();
  LogFileChange(const LogFileChange&) = delete;
  LogFileChange& operator=(const LogFileChange&) = delete;

  /// The long part: writes what remains beside the log. Appending may go on.
  Outcome prepare(EntrySet& without);
  /// The short part: the file is changed. This service must not append meanwhile. After `done` alone.
  Outcome commit(EntrySet& without);

  /// Why the outcome was `later`.
  [[nodiscard]] const std::string& reasonForLater() const { return reason_; }

  /// Adds to the log what a killed change has left beside it and the log lacks.
  Outcome recover();
  /// Deletes what a killed change has left beside the log.
  void discardUnfinished();

 private:
  Outcome later(std::string why);
  /// Copies the entries from `copiedTo_` to `end`, but for those of `without`.
  Outcome copyRemaining(EntrySet& without, std::uint64_t end, bool isLast);
  std::optional<std::string> copyBytes(std::uint64_t begin, std::uint64_t end);
  /// Appends to the log what is behind `begin` in the file that was at its path.
  bool takeOver(int fd, std::uint64_t begin);
  Descriptor lockUnfinished(bool& isBusy);

  SessionLogFile& file_;
  const std::string besidePath_;
  std::string reason_;
  Descriptor beside_;
  bool isBesideOurs_ = false;
  SessionLogFile::Opened log_;
  std::uint64_t copiedTo_ = 0;
  bool anythingRemains_ = false;
};

}  // namespace zqlogging
