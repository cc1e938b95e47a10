#include "service/FileCalls.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>

namespace zqlogging {
namespace {

FileCalls systemCalls;
std::atomic<FileCalls*> currentCalls = &systemCalls;

}  // namespace

int FileCalls::open(const char* path, int flags, mode_t mode) { return ::open(path, flags, mode); }

ssize_t FileCalls::write(int fd, const void* from, std::size_t length) { return ::write(fd, from, length); }

ssize_t FileCalls::pread(int fd, void* to, std::size_t length, off_t offset) { return ::pread(fd, to, length, offset); }

int FileCalls::ftruncate(int fd, off_t length) { return ::ftruncate(fd, length); }

int FileCalls::fsync(int fd) { return ::fsync(fd); }

int FileCalls::look(int fd, const char* path, struct statx* answer) {
  const bool isOpen = *path == '\0';
  return ::statx(isOpen ? fd : AT_FDCWD, path, isOpen ? AT_EMPTY_PATH : AT_SYMLINK_NOFOLLOW,
                 STATX_TYPE | STATX_UID | STATX_INO | STATX_SIZE | STATX_BTIME, answer);
}

int FileCalls::rename(const char* from, const char* to) { return ::rename(from, to); }

int FileCalls::exchange(const char* one, const char* other) {
  return ::renameat2(AT_FDCWD, one, AT_FDCWD, other, RENAME_EXCHANGE);
}

int FileCalls::unlink(const char* path) { return ::unlink(path); }

int FileCalls::mkdir(const char* path, mode_t mode) { return ::mkdir(path, mode); }

int FileCalls::tryLock(int fd) { return ::flock(fd, LOCK_EX | LOCK_NB); }

FileCalls* FileCalls::use(FileCalls* calls) { return currentCalls.exchange(calls == nullptr ? &systemCalls : calls); }

FileCalls& FileCalls::current() { return *currentCalls.load(std::memory_order_relaxed); }

}  // namespace zqlogging
