#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zqlogging {

/// Which file a path or a descriptor means. A number that the file system gives to a new file is told by its birth.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;
  std::int64_t bornSeconds = 0;
  std::uint32_t bornNanoseconds = 0;

  bool operator==(const FileIdentity&) const = default;
};

struct FileFacts {
  FileIdentity identity;
  std::uint64_t size = 0;
  bool isOwnRegularFile = false;  ///< of this user
  bool isOwnFolder = false;       ///< of this user, or of the system's
};

/// Nothing, and errno, when they cannot be had. Links are not followed.
std::optional<FileFacts> factsOf(int fd);
std::optional<FileFacts> factsOf(const std::string& path);

/// Closes a descriptor, and lets go of the lock on it, at the end of the scope.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  ~Descriptor() { close(); }
  Descriptor(Descriptor&& other) noexcept : fd_(other.release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept;

  [[nodiscard]] int get() const { return fd_; }
  [[nodiscard]] bool isOpen() const { return fd_ >= 0; }
  void close();

 private:
  int release();

  int fd_;
};

/// Opens without ever waiting, following no link, and not for a program that is started later.
Descriptor openWithoutWaiting(const std::string& path, int flags);
/// Creates a file for this user alone, where none may be.
Descriptor createForThisUser(const std::string& path, int flags);

/// Writes all of it, or answers why not.
std::optional<std::string> writeAll(int fd, std::string_view bytes);

/// Reads as much as is there, up to `length`; fewer bytes at the end of the file alone. Negative, and errno, when that
/// fails.
ssize_t readFully(int fd, char* to, std::size_t length, std::uint64_t offset);

std::string folderOf(const std::string& path);
std::string reason(int error);

}  // namespace zqlogging
