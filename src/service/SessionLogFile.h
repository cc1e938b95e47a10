#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zqlogging {

/// The file that keeps records until they are acknowledged: entries, each followed by `kEntrySeparator`.
/// Opened and closed for each operation. Only a regular file of this user is read or written; a link, a FIFO or
/// another user's file at the path counts as a file that cannot be opened. Not synchronized.
class SessionLogFile {
 public:
  static constexpr std::string_view kEntrySeparator = ",\n";

  enum class AppendResult { written, notCreated, notOpened, notWritten };
  struct Appended {
    AppendResult result = AppendResult::written;
    std::optional<std::size_t> offset;  ///< where the entry begins, when the file was looked at
  };

  explicit SessionLogFile(std::string path);

  [[nodiscard]] const std::string& path() const { return path_; }

  /// Adds an entry, separator included, in one write that is taken back when it is cut short. Creates the file, and
  /// its folder, for this user alone. The first append, and the first after `lookAgain` or a failure, looks at the
  /// file: whose it is, and whether an interrupted write has left a tail, which is then closed. The others open, write
  /// and close.
  Appended append(std::string_view entryWithSeparator);

  /// Others may have changed the file.
  void lookAgain() { isKnown_ = false; }

  struct Content {
    bool opened = false;
    std::string text;
    std::optional<std::string> error;  ///< why an opened file could not be read
  };
  [[nodiscard]] Content read() const;

  /// Deletes the file when there is one. The reason when it cannot be deleted.
  std::optional<std::string> remove();

  /// Puts a file with this content in the place of the present one, at once. The reason when it cannot; the present
  /// file then stays.
  std::optional<std::string> replace(std::string_view content);

 private:
  [[nodiscard]] int openForAppending(AppendResult& failure) const;
  static Appended appendWithALook(int fd, std::string_view entryWithSeparator);

  std::string path_;
  bool isKnown_ = false;  // a regular file of this user that ends with a separator, as far as we know
};

/// Bytes at the end of `text` that begin a UTF-8 character and do not end it, as an interrupted write leaves them.
std::size_t lengthOfTornCharacter(std::string_view text);

}  // namespace zqlogging
