#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "service/OwnFile.h"

namespace zqlogging {

/// The file that keeps records until they are acknowledged: entries, each followed by `kEntrySeparator`. All services
/// of the user append to it, and each may put another file without its own entries in its place (LogFileChange).
/// Opened and closed for each operation. Only a regular file of this user, in a folder of this user or the system's,
/// is opened or deleted; anything else at the path or the folder's is left alone. Not synchronized.
class SessionLogFile {
 public:
  enum class AppendResult {
    written,
    notCreated,
    notOpened,
    notWritten,
  };
  struct Appended {
    AppendResult result = AppendResult::written;
    /// It failed for want of something that may come back: room, descriptors, a healthy disk.
    bool mayWorkLater = false;
    /// How often the entry has been written: again for each time that the file was replaced meanwhile. What replaced
    /// it may have taken the entry over or not.
    int copies = 1;
  };

  explicit SessionLogFile(std::string path);

  [[nodiscard]] const std::string& path() const { return path_; }

  /// Adds entries, separators included, in one write that is taken back when it is cut short. Creates the file, and
  /// its folder, for this user alone. The first append, and the first after `lookAgain` or a failure, looks at the
  /// file: whose it is, and whether an interrupted write has left a tail, which is then closed. The others open,
  /// write, close, and look whether the file is still the one at the path.
  Appended append(std::string_view entriesWithSeparators);

  /// Others may have changed the file.
  void lookAgain() { isKnown_ = false; }

  /// The file, open for reading; not open when there is none that may be read.
  struct Opened {
    Descriptor file;
    FileFacts facts;
    int error = 0;  ///< why it is not open
  };
  [[nodiscard]] Opened open() const;

  /// Deletes the file when there is one. The reason when it cannot be deleted. What `letGo` is given keeps the content
  /// of a large one alive, whose end takes its time.
  std::optional<std::string> remove(const std::function<void(Descriptor)>& letGo);

 private:
  Descriptor openForAppending(Appended& failure) const;
  Appended appendOnce(std::string_view entries, bool& wasReplaced);

  std::string path_;
  bool isKnown_ = false;  // an own file that ends with a separator, as far as we know
};

/// Why the folder of a log file must not be used; nothing also when it is not there.
std::optional<std::string> whatIsWrongWithFolderOf(const std::string& path);

}  // namespace zqlogging
