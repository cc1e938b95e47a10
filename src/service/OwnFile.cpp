#include "service/OwnFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <system_error>
#include <utility>

#include "service/FileCalls.h"

namespace zqlogging {
namespace {

constexpr int kSafeFlags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
constexpr mode_t kFileMode = 0600;

std::optional<FileFacts> look(int fd, const char* path) {
  struct statx answer {};
  if (retrying([&] { return FileCalls::current().look(fd, path, &answer); }) != 0) {
    return std::nullopt;
  }
  FileFacts facts;
  facts.identity = {(std::uint64_t{answer.stx_dev_major} << 32U) | answer.stx_dev_minor, answer.stx_ino,
                    answer.stx_btime.tv_sec, answer.stx_btime.tv_nsec};
  facts.size = answer.stx_size;
  facts.isOwnRegularFile = S_ISREG(answer.stx_mode) && answer.stx_uid == ::geteuid();
  facts.isOwnFolder = S_ISDIR(answer.stx_mode) && (answer.stx_uid == ::geteuid() || answer.stx_uid == 0);
  return facts;
}

}  // namespace

std::optional<FileFacts> factsOf(int fd) { return look(fd, ""); }

std::optional<FileFacts> factsOf(const std::string& path) { return look(-1, path.c_str()); }

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  if (this != &other) {
    close();
    fd_ = other.release();
  }
  return *this;
}

void Descriptor::close() {
  if (fd_ >= 0) {
    ::close(std::exchange(fd_, -1));
  }
}

int Descriptor::release() { return std::exchange(fd_, -1); }

Descriptor openWithoutWaiting(const std::string& path, int flags) {
  return Descriptor(retrying([&] { return FileCalls::current().open(path.c_str(), flags | kSafeFlags, 0); }));
}

Descriptor createForThisUser(const std::string& path, int flags) {
  return Descriptor(retrying(
      [&] { return FileCalls::current().open(path.c_str(), flags | O_CREAT | O_EXCL | kSafeFlags, kFileMode); }));
}

std::optional<std::string> writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = retrying([&] { return FileCalls::current().write(fd, bytes.data(), bytes.size()); });
    if (written <= 0) {  // a write of nothing would go on for ever
      return reason(written < 0 ? errno : EIO);
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return std::nullopt;
}

ssize_t readFully(int fd, char* to, std::size_t length, std::uint64_t offset) {
  std::size_t got = 0;
  while (got < length) {
    const ssize_t part = retrying(
        [&] { return FileCalls::current().pread(fd, to + got, length - got, static_cast<off_t>(offset + got)); });
    if (part < 0) {
      return -1;
    }
    if (part == 0) {
      break;
    }
    got += static_cast<std::size_t>(part);
  }
  return static_cast<ssize_t>(got);
}

std::string folderOf(const std::string& path) { return path.substr(0, path.find_last_of('/')); }

std::string reason(int error) { return std::generic_category().message(error); }

}  // namespace zqlogging
