#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>

namespace zqlogging {

/// The system calls on files that the event log makes, one function each, so that a test can let any of them fail.
/// Each answers as the call of its name does. Any thread.
class FileCalls {
 public:
  virtual ~FileCalls() = default;

  virtual int open(const char* path, int flags, mode_t mode);
  virtual ssize_t write(int fd, const void* from, std::size_t length);
  virtual ssize_t pread(int fd, void* to, std::size_t length, off_t offset);
  virtual int ftruncate(int fd, off_t length);
  virtual int fsync(int fd);
  /// What `statx` says of the file open as `fd` when the path is empty, else of the path, which is not followed.
  virtual int look(int fd, const char* path, struct statx* answer);
  virtual int rename(const char* from, const char* to);
  /// Both names exist, and each then means what the other meant.
  virtual int exchange(const char* one, const char* other);
  virtual int unlink(const char* path);
  virtual int mkdir(const char* path, mode_t mode);
  /// Takes the lock on the open file, or fails at once.
  virtual int tryLock(int fd);

  /// The calls that are made from now on; null: the system's own. Answers those before. For tests, while no service
  /// is at work.
  static FileCalls* use(FileCalls* calls);
  static FileCalls& current();
};

/// A call that a signal interrupted is made again, though not for ever.
template <class Call>
auto retrying(const Call& call) {
  constexpr int kMaxTries = 100;
  auto result = call();
  for (int tries = 1; result < 0 && errno == EINTR && tries < kMaxTries; ++tries) {
    result = call();
  }
  return result;
}

}  // namespace zqlogging
