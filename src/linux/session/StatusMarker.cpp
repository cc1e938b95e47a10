#include "linux/session/StatusMarker.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace zqlogging {

namespace {

constexpr const char* kName = "/accessibility-announced";
constexpr mode_t kUserAlone = 0600;

bool isStillAt(const std::string& path, int descriptor) {
  struct stat opened {};
  struct stat present {};
  return fstat(descriptor, &opened) == 0 && lstat(path.c_str(), &present) == 0 && opened.st_ino == present.st_ino &&
         opened.st_dev == present.st_dev;
}

}  // namespace

std::optional<StatusMarker> StatusMarker::open(const std::string& folder, int flags, int lock) {
  const std::string path = folder + kName;
  // Whoever holds it alone is about to remove it or to let it go: another attempt then helps those who join.
  const int attempts = lock == LOCK_SH ? 50 : 1;
  constexpr useconds_t kPause = 20'000;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | flags, kUserAlone);
    if (descriptor < 0) {
      return std::nullopt;
    }
    StatusMarker marker(path, descriptor);
    if (flock(descriptor, lock | LOCK_NB) == 0 && isStillAt(path, descriptor)) {
      return marker;
    }
    if (attempt + 1 < attempts) {
      usleep(kPause);
    }
  }
  return std::nullopt;
}

std::optional<StatusMarker> StatusMarker::hold(const std::string& folder) { return open(folder, O_CREAT, LOCK_SH); }

std::optional<StatusMarker> StatusMarker::join(const std::string& folder) { return open(folder, 0, LOCK_SH); }

std::optional<StatusMarker> StatusMarker::abandoned(const std::string& folder) { return open(folder, 0, LOCK_EX); }

void StatusMarker::remove(const std::string& folder) { unlink((folder + kName).c_str()); }

StatusMarker::StatusMarker(StatusMarker&& other) noexcept
    : path_(std::move(other.path_)), descriptor_(std::exchange(other.descriptor_, -1)) {}

StatusMarker::~StatusMarker() {
  if (descriptor_ >= 0) {
    close(descriptor_);
  }
}

bool StatusMarker::becomeOnlyHolder() const {
  return flock(descriptor_, LOCK_EX | LOCK_NB) == 0 && isStillAt(path_, descriptor_);
}

void StatusMarker::remove() const { unlink(path_.c_str()); }

}  // namespace zqlogging
