#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zqlogging {

/// Between the entries of a session log file, and behind the last.
constexpr std::string_view kEntrySeparator = ",\n";

/// Tells entries apart by their bytes, without the separator. Equal in every process of one build alone.
std::uint64_t hashOfEntry(std::string_view entry);

/// Bytes at the end of `text` that begin a UTF-8 character and do not end it, as an interrupted write leaves them.
std::size_t lengthOfTornCharacter(std::string_view text);

/// What is left of an entry without the zero bytes that a crash of the system leaves around it.
std::string_view withoutZeroBytes(std::string_view entry);

/// Reads a part of a file entry by entry, holding no more than one of them and a block.
class LogEntries {
 public:
  struct Entry {
    std::string_view text;  ///< until the next call; of an entry that is too long only its beginning
    std::uint64_t hash = 0;
    std::uint64_t begin = 0;  ///< in the file
    std::uint64_t end = 0;    ///< behind the separator
    bool isTooLong = false;
  };

  LogEntries(int fd, std::uint64_t begin, std::uint64_t end) : fd_(fd), position_(begin), fileEnd_(end) {}

  /// The next one; nothing at the end of the part, or when it cannot be read. What follows the last separator counts
  /// as an entry, without what an interrupted write has left of a separator or a character; so does an empty part.
  std::optional<Entry> next();

  /// Why the reading ended before its time.
  [[nodiscard]] const std::optional<std::string>& error() const { return error_; }

 private:
  bool readMore();
  Entry take(std::size_t length, std::size_t separator);
  void letGoOfAPiece();

  const int fd_;
  std::uint64_t position_;  // in the file, of the buffer's beginning
  const std::uint64_t fileEnd_;
  std::string buffer_;
  std::size_t start_ = 0;     // in the buffer, of what is not yet given or let go
  std::size_t searched_ = 0;  // in the buffer: no separator begins before it
  std::string tooLong_;       // the beginning of an entry whose middle has been let go
  std::uint64_t letGo_ = 0;   // how much of it
  std::uint64_t hashSoFar_ = 0;
  bool any_ = false;
  std::optional<std::string> error_;
};

}  // namespace zqlogging
