#include "service/SessionLogFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <tuple>
#include <utility>

#include "service/FileCalls.h"
#include "service/LogEntries.h"

namespace zqlogging {
namespace {

constexpr mode_t kFolderMode = 0700;

bool mayPass(int error) {
  constexpr std::array kPassing = {ENOSPC, EDQUOT, EIO, EMFILE, ENFILE, ENOMEM, EINTR, EAGAIN};
  return std::find(kPassing.begin(), kPassing.end(), error) != kPassing.end();
}

ssize_t writeOnce(int fd, std::string_view bytes) {
  return retrying([&] { return FileCalls::current().write(fd, bytes.data(), bytes.size()); });
}

/// Takes the bytes behind `end` off the file, which are its last `count`, unless somebody has appended to it. If that
/// fails too, the tail is torn.
void takeBack(int fd, std::uint64_t end, std::uint64_t count) {
  const auto facts = factsOf(fd);
  if (facts && facts->size == end + count) {
    std::ignore = retrying([&] { return FileCalls::current().ftruncate(fd, static_cast<off_t>(end)); });
  }
}

/// What has to stand between the present end of a file and the next entry.
struct TailRepair {
  std::size_t drop = 0;
  std::string_view add;
};

std::optional<TailRepair> repairOf(int fd, std::uint64_t size) {
  constexpr std::size_t kLongestCharacter = 4;
  std::array<char, kLongestCharacter> bytes{};
  const std::size_t length = std::min<std::uint64_t>(size, bytes.size());
  if (readFully(fd, bytes.data(), length, size - length) != static_cast<ssize_t>(length)) {
    return std::nullopt;
  }
  const std::string_view tail(bytes.data(), length);
  if (tail.empty() || tail.ends_with(kEntrySeparator)) {
    return TailRepair{};
  }
  if (tail.ends_with(kEntrySeparator.front())) {  // torn inside the separator
    return TailRepair{0, kEntrySeparator.substr(1)};
  }
  return TailRepair{lengthOfTornCharacter(tail), kEntrySeparator};
}

}  // namespace

std::optional<std::string> whatIsWrongWithFolderOf(const std::string& path) {
  const auto folder = factsOf(folderOf(path));
  if (!folder) {
    return errno == ENOENT ? std::nullopt : std::optional(reason(errno));
  }
  return folder->isOwnFolder ? std::nullopt : std::optional<std::string>("its folder is not this user's");
}

SessionLogFile::SessionLogFile(std::string path) : path_(std::move(path)) {}

Descriptor SessionLogFile::openForAppending(Appended& failure) const {
  if (!isKnown_ && whatIsWrongWithFolderOf(path_)) {
    failure.result = AppendResult::notOpened;
    return Descriptor();
  }
  const int flags = (isKnown_ ? O_WRONLY : O_RDWR) | O_APPEND;
  // Between not being there and being created by somebody else it may change a few times.
  constexpr int kMaxTurns = 3;
  Descriptor file;
  for (int turn = 0; turn < kMaxTurns && !file.isOpen(); ++turn) {
    failure.result = AppendResult::notOpened;
    file = openWithoutWaiting(path_, flags);
    if (file.isOpen() || errno != ENOENT) {
      break;
    }
    failure.result = AppendResult::notCreated;
    file = createForThisUser(path_, flags);
    if (!file.isOpen() && errno == ENOENT &&
        retrying([&] { return FileCalls::current().mkdir(folderOf(path_).c_str(), kFolderMode); }) == 0) {
      file = createForThisUser(path_, flags);
    }
    if (!file.isOpen() && errno != EEXIST) {
      break;
    }
  }
  failure.mayWorkLater = !file.isOpen() && mayPass(errno);
  return file;
}

SessionLogFile::Appended SessionLogFile::append(std::string_view entriesWithSeparators) {
  constexpr int kMaxCopies = 3;  // of a file that is replaced again and again
  Appended appended;
  for (int copies = 1; copies <= kMaxCopies; ++copies) {
    bool wasReplaced = false;
    appended = appendOnce(entriesWithSeparators, wasReplaced);
    appended.copies = copies;
    if (appended.result != AppendResult::written) {
      isKnown_ = false;
      return appended;
    }
    if (!wasReplaced) {
      return appended;
    }
    isKnown_ = false;
  }
  return appended;
}

SessionLogFile::Appended SessionLogFile::appendOnce(std::string_view entries, bool& wasReplaced) {
  Appended appended;
  const Descriptor file = openForAppending(appended);
  if (!file.isOpen()) {
    return appended;
  }
  appended = {AppendResult::notOpened, false, 1};
  std::string closed;
  std::optional<FileFacts> facts;
  if (!isKnown_) {
    facts = factsOf(file.get());
    if (!facts || !facts->isOwnRegularFile) {
      appended.mayWorkLater = !facts;
      return appended;
    }
    const auto repair = repairOf(file.get(), facts->size);
    if (!repair) {
      appended.mayWorkLater = true;
      return appended;
    }
    if (repair->drop != 0) {
      takeBack(file.get(), facts->size - repair->drop, repair->drop);
    }
    if (!repair->add.empty()) {
      entries = closed.append(repair->add).append(entries);
    }
  }
  const ssize_t written = writeOnce(file.get(), entries);
  if (written != static_cast<ssize_t>(entries.size())) {
    const int error = errno;
    const off_t behind = written > 0 ? ::lseek(file.get(), 0, SEEK_CUR) : 0;
    if (behind >= written && written > 0) {
      takeBack(file.get(), static_cast<std::uint64_t>(behind - written), static_cast<std::uint64_t>(written));
    }
    return {AppendResult::notWritten, written >= 0 || mayPass(error), 1};
  }
  // Compared while the file is open: only as long as that is its number its own.
  const auto mine = factsOf(file.get());
  const auto atPath = factsOf(path_);
  if (!atPath) {
    wasReplaced = errno == ENOENT;
    isKnown_ = false;
    return {};
  }
  wasReplaced = !mine || !(mine->identity == atPath->identity);
  isKnown_ = !wasReplaced;
  return {};
}

SessionLogFile::Opened SessionLogFile::open() const {
  Opened opened;
  if (whatIsWrongWithFolderOf(path_)) {
    opened.error = EPERM;
    return opened;
  }
  opened.file = openWithoutWaiting(path_, O_RDONLY);
  opened.error = opened.file.isOpen() ? 0 : errno;
  if (opened.error == 0) {
    const auto facts = factsOf(opened.file.get());
    opened.error = facts ? 0 : errno;
    opened.facts = facts.value_or(FileFacts());
  }
  if (opened.error == 0 && !opened.facts.isOwnRegularFile) {
    opened.error = opened.facts.isOwnFolder ? EISDIR : EPERM;
  }
  if (opened.error != 0) {
    opened.file.close();
  }
  return opened;
}

std::optional<std::string> SessionLogFile::remove(const std::function<void(Descriptor)>& letGo) {
  constexpr std::uint64_t kLarge = std::uint64_t{1} << 20U;
  isKnown_ = false;
  if (auto wrong = whatIsWrongWithFolderOf(path_)) {
    return wrong;
  }
  const auto facts = factsOf(path_);
  if (!facts) {
    return errno == ENOENT || errno == ENOTDIR ? std::nullopt : std::optional(reason(errno));
  }
  if (!facts->isOwnRegularFile) {
    return facts->isOwnFolder ? reason(EISDIR) : "it is no regular file of this user";
  }
  Descriptor content = facts->size > kLarge ? openWithoutWaiting(path_, O_RDONLY) : Descriptor();
  if (retrying([&] { return FileCalls::current().unlink(path_.c_str()); }) != 0 && errno != ENOENT) {
    return reason(errno);
  }
  letGo(std::move(content));
  return std::nullopt;
}

}  // namespace zqlogging
