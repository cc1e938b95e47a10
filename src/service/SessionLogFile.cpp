#include "service/SessionLogFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>
#include <tuple>
#include <utility>

namespace zqlogging {
namespace {

constexpr mode_t kFileMode = 0600;
constexpr mode_t kFolderMode = 0700;
// Non-blocking, so that opening a FIFO does not wait for its other end.
constexpr int kSafeFlags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;

/// Closes a descriptor at the end of the scope.
class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) {
      ::close(fd_);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  [[nodiscard]] int get() const { return fd_; }
  [[nodiscard]] bool isOpen() const { return fd_ >= 0; }

 private:
  int fd_;
};

std::string reason(int error) { return std::generic_category().message(error); }

template <class Call>
auto retrying(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) {
    result = call();
  }
  return result;
}

bool isOwnFile(const struct stat& status) { return S_ISREG(status.st_mode) && status.st_uid == ::geteuid(); }

/// Why what stands at a path must not be deleted or replaced; nothing when it may, or when nothing stands there.
std::optional<std::string> reasonToKeep(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? std::nullopt : std::optional(reason(errno));
  }
  if (S_ISDIR(status.st_mode)) {
    return reason(EISDIR);
  }
  return isOwnFile(status) ? std::nullopt : std::optional<std::string>("it is no regular file of this user");
}

/// The size of an open file, when it is a regular file of this user.
std::optional<std::size_t> sizeOfOwnFile(int fd) {
  struct stat status {};
  if (::fstat(fd, &status) != 0 || !isOwnFile(status)) {
    return std::nullopt;
  }
  return static_cast<std::size_t>(status.st_size);
}

std::string folderOf(const std::string& path) { return path.substr(0, path.find_last_of('/')); }

/// Writes all of it, or answers why not.
std::optional<std::string> writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = retrying([&] { return ::write(fd, bytes.data(), bytes.size()); });
    if (written < 0) {
      return reason(errno);
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return std::nullopt;
}

ssize_t writeOnce(int fd, std::string_view bytes) {
  return retrying([&] { return ::write(fd, bytes.data(), bytes.size()); });
}

/// Takes the part of an entry that was written last off the end of the file. If that fails too, the tail is torn.
void takeBack(int fd, ssize_t written) {
  const off_t end = written > 0 ? ::lseek(fd, 0, SEEK_END) : 0;
  if (end > 0) {
    std::ignore = ::ftruncate(fd, end - written);
  }
}

/// What has to stand between the present end of a file and the next entry.
struct TailRepair {
  std::size_t drop = 0;
  std::string_view add;
};

TailRepair repairOf(int fd, std::size_t size) {
  constexpr std::size_t kLongestCharacter = 4;
  std::array<char, kLongestCharacter> bytes{};
  const std::size_t length = std::min(size, bytes.size());
  const ssize_t got = ::pread(fd, bytes.data(), length, static_cast<off_t>(size - length));
  const std::string_view tail(bytes.data(), got < 0 ? 0 : static_cast<std::size_t>(got));
  const std::string_view separator = SessionLogFile::kEntrySeparator;
  if (tail.empty() || tail.ends_with(separator)) {
    return {};
  }
  if (tail.ends_with(separator.front())) {  // torn inside the separator
    return {0, separator.substr(1)};
  }
  return {lengthOfTornCharacter(tail), separator};
}

}  // namespace

std::size_t lengthOfTornCharacter(std::string_view text) {
  std::size_t continuations = 0;
  for (auto byte = text.rbegin(); byte != text.rend() && continuations < 4; ++byte, ++continuations) {
    const auto value = static_cast<unsigned char>(*byte);
    if ((value & 0xC0U) == 0x80) {
      continue;
    }
    std::size_t needed = 0;
    if ((value & 0xE0U) == 0xC0) {
      needed = 1;
    } else if ((value & 0xF0U) == 0xE0) {
      needed = 2;
    } else if ((value & 0xF8U) == 0xF0) {
      needed = 3;
    }
    return continuations < needed ? continuations + 1 : 0;
  }
  return 0;
}

SessionLogFile::SessionLogFile(std::string path) : path_(std::move(path)) {}

int SessionLogFile::openForAppending(AppendResult& failure) const {
  const int flags = (isKnown_ ? O_WRONLY : O_RDWR) | O_APPEND | kSafeFlags;
  int fd = retrying([&] { return ::open(path_.c_str(), flags); });
  if (fd >= 0 || errno != ENOENT) {
    failure = AppendResult::notOpened;
    return fd;
  }
  failure = AppendResult::notCreated;
  const auto create = [&] { return ::open(path_.c_str(), flags | O_CREAT | O_EXCL, kFileMode); };
  fd = retrying(create);
  if (fd < 0 && errno == ENOENT && ::mkdir(folderOf(path_).c_str(), kFolderMode) == 0) {
    fd = retrying(create);
  }
  return fd;
}

SessionLogFile::Appended SessionLogFile::append(std::string_view entryWithSeparator) {
  AppendResult failure{};
  const Descriptor file(openForAppending(failure));
  if (!file.isOpen()) {
    isKnown_ = false;
    return {failure, std::nullopt};
  }
  Appended appended;
  if (!isKnown_) {
    appended = appendWithALook(file.get(), entryWithSeparator);
  } else if (const ssize_t written = writeOnce(file.get(), entryWithSeparator);
             written != static_cast<ssize_t>(entryWithSeparator.size())) {
    takeBack(file.get(), written);
    appended.result = AppendResult::notWritten;
  }
  isKnown_ = appended.result == AppendResult::written;
  return appended;
}

SessionLogFile::Appended SessionLogFile::appendWithALook(int fd, std::string_view entryWithSeparator) {
  const auto present = sizeOfOwnFile(fd);
  if (!present) {
    return {AppendResult::notOpened, std::nullopt};
  }
  std::size_t size = *present;
  const TailRepair repair = repairOf(fd, size);
  if (repair.drop != 0 && ::ftruncate(fd, static_cast<off_t>(size - repair.drop)) == 0) {
    size -= repair.drop;
  }
  std::string closed(repair.add);
  closed.append(entryWithSeparator);
  const ssize_t written = writeOnce(fd, closed);
  if (written != static_cast<ssize_t>(closed.size())) {
    takeBack(fd, written);
    return {AppendResult::notWritten, std::nullopt};
  }
  return {AppendResult::written, size + repair.add.size()};
}

SessionLogFile::Content SessionLogFile::read() const {
  const Descriptor file(retrying([&] { return ::open(path_.c_str(), O_RDONLY | kSafeFlags); }));
  const auto size = file.isOpen() ? sizeOfOwnFile(file.get()) : std::nullopt;
  if (!size) {
    return {};
  }
  Content content;
  content.opened = true;
  content.text.resize(*size);
  std::size_t length = 0;
  while (length < content.text.size()) {
    const ssize_t got =
        retrying([&] { return ::read(file.get(), content.text.data() + length, content.text.size() - length); });
    if (got < 0) {
      content.error = reason(errno);
      return content;
    }
    if (got == 0) {
      break;
    }
    length += static_cast<std::size_t>(got);
  }
  content.text.resize(length);
  return content;
}

std::optional<std::string> SessionLogFile::remove() {
  isKnown_ = false;
  if (auto toKeep = reasonToKeep(path_)) {
    return toKeep;
  }
  if (::unlink(path_.c_str()) != 0 && errno != ENOENT && errno != ENOTDIR) {
    return reason(errno);
  }
  return std::nullopt;
}

std::optional<std::string> SessionLogFile::replace(std::string_view content) {
  if (auto toKeep = reasonToKeep(path_)) {
    return toKeep;
  }
  const std::string next = path_ + ".next";
  if (::unlink(next.c_str()) != 0 && errno != ENOENT) {
    return reason(errno);
  }
  const Descriptor file(
      retrying([&] { return ::open(next.c_str(), O_WRONLY | O_CREAT | O_EXCL | kSafeFlags, kFileMode); }));
  if (!file.isOpen()) {
    return reason(errno);
  }
  auto error = writeAll(file.get(), content);
  if (!error && ::rename(next.c_str(), path_.c_str()) != 0) {
    error = reason(errno);
  }
  if (error) {
    ::unlink(next.c_str());
    return error;
  }
  isKnown_ = true;
  return std::nullopt;
}

}  // namespace zqlogging
