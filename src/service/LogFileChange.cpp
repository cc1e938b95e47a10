#include "service/LogFileChange.h"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <cerrno>

#include "service/FileCalls.h"
#include "service/LogEntries.h"

namespace zqlogging {
namespace {

/// Bytes added to the log at once.
constexpr std::size_t kBatch = std::size_t{64} << 10U;

bool lock(int fd) {
  return retrying([&] { return FileCalls::current().tryLock(fd); }) == 0;
}

bool isAt(const std::string& path, int fd) {
  const auto atPath = factsOf(path);
  const auto open = factsOf(fd);
  return atPath && open && atPath->identity == open->identity;
}

/// Zero bytes and blanks are what crashes leave; nobody misses them.
bool isNothing(const LogEntries::Entry& entry) {
  return !entry.isTooLong && withoutZeroBytes(entry.text).find_first_not_of(" \t\r\n") == std::string_view::npos;
}

}  // namespace

EntrySet::EntrySet(std::vector<std::uint64_t> hashes) {
  std::sort(hashes.begin(), hashes.end());
  for (const std::uint64_t hash : hashes) {
    if (counts_.empty() || counts_.back().first != hash) {
      counts_.emplace_back(hash, 0);
    }
    ++counts_.back().second;
  }
}

bool EntrySet::takeOut(std::uint64_t hash) {
  const auto found = std::lower_bound(counts_.begin(), counts_.end(), std::pair(hash, std::uint32_t{0}));
  if (found == counts_.end() || found->first != hash || found->second == 0) {
    return false;
  }
  --found->second;
  return true;
}

bool EntrySet::contains(std::uint64_t hash) const {
  const auto found = std::lower_bound(counts_.begin(), counts_.end(), std::pair(hash, std::uint32_t{0}));
  return found != counts_.end() && found->first == hash;
}

LogFileChange::~LogFileChange() {
  if (isBesideOurs_) {
    FileCalls::current().unlink(besidePath_.c_str());
  }
  // A child of the host may have inherited the descriptors, and the locks with them.
  for (const Descriptor* each : {&beside_, &log_.file}) {
    if (each->isOpen()) {
      ::flock(each->get(), LOCK_UN);
    }
  }
}

LogFileChange::Outcome LogFileChange::later(std::string why) {
  reason_ = std::move(why);
  return Outcome::later;
}

Descriptor LogFileChange::lockUnfinished(bool& isBusy) {
  Descriptor left = openWithoutWaiting(besidePath_, O_RDONLY);
  if (!left.isOpen()) {
    isBusy = errno != ENOENT;
    return left;
  }
  const auto facts = factsOf(left.get());
  isBusy = !facts || !facts->isOwnRegularFile || !lock(left.get()) || !isAt(besidePath_, left.get());
  if (isBusy) {
    left.close();
  }
  return left;
}

void LogFileChange::discardUnfinished() {
  bool isBusy = false;
  if (lockUnfinished(isBusy).isOpen()) {
    FileCalls::current().unlink(besidePath_.c_str());
  }
}

LogFileChange::Outcome LogFileChange::recover() {
  bool isBusy = false;
  const Descriptor left = lockUnfinished(isBusy);
  if (!left.isOpen()) {
    return isBusy ? later("another process is changing the file") : Outcome::done;
  }
  std::vector<std::uint64_t> present;
  const SessionLogFile::Opened log = file_.open();
  if (log.file.isOpen()) {
    LogEntries entries(log.file.get(), 0, log.facts.size);
    while (const auto entry = entries.next()) {
      present.push_back(entry->hash);
    }
    if (entries.error()) {
      return later(*entries.error());
    }
  } else if (log.error != ENOENT) {
    return later(reason(log.error));
  }
  const EntrySet known(std::move(present));
  const auto facts = factsOf(left.get());
  if (!facts) {
    return later(reason(errno));
  }
  LogEntries entries(left.get(), 0, facts->size);
  std::string missing;
  const auto add = [&] {
    const bool added = missing.empty() || file_.append(missing).result == SessionLogFile::AppendResult::written;
    missing.clear();
    return added;
  };
  while (const auto entry = entries.next()) {
    const bool isWhole = entry->end - entry->begin == entry->text.size() + kEntrySeparator.size();
    if (isWhole && !isNothing(*entry) && !known.contains(entry->hash)) {
      missing.append(entry->text).append(kEntrySeparator);
    }
    if (missing.size() > kBatch && !add()) {
      return later("it cannot be appended to");
    }
  }
  if (entries.error() || !add()) {
    return later(entries.error().value_or("it cannot be appended to"));
  }
  FileCalls::current().unlink(besidePath_.c_str());
  return Outcome::done;
}

std::optional<std::string> LogFileChange::copyBytes(std::uint64_t begin, std::uint64_t end) {
  std::string block;
  while (begin < end) {
    block.resize(std::min<std::uint64_t>(kBatch, end - begin));
    const ssize_t got = readFully(log_.file.get(), block.data(), block.size(), begin);
    if (got != static_cast<ssize_t>(block.size())) {
      return reason(got < 0 ? errno : EIO);
    }
    if (auto error = writeAll(beside_.get(), block)) {
      return error;
    }
    begin += block.size();
    anythingRemains_ = true;
  }
  return std::nullopt;
}

LogFileChange::Outcome LogFileChange::copyRemaining(EntrySet& without, std::uint64_t end, bool isLast) {
  LogEntries entries(log_.file.get(), copiedTo_, end);
  std::uint64_t from = copiedTo_;  // what remains is copied in stretches
  std::uint64_t to = copiedTo_;
  const auto copyStretch = [&] { return copyBytes(from, to); };
  while (const auto entry = entries.next()) {
    if (!isLast && entry->end == end && end != 0) {
      break;  // more may come behind it
    }
    copiedTo_ = entry->end;
    if (without.takeOut(entry->hash) || isNothing(*entry)) {
      if (const auto error = copyStretch()) {
        return later(*error);
      }
      from = entry->end;
    }
    to = entry->end;
  }
  if (entries.error()) {
    return later(*entries.error());
  }
  if (const auto error = copyStretch()) {
    return later(*error);
  }
  return Outcome::done;
}

LogFileChange::Outcome LogFileChange::prepare(EntrySet& without) {
  if (recover() != Outcome::done) {
    return Outcome::later;
  }
  log_ = file_.open();
  if (!log_.file.isOpen()) {
    return log_.error == ENOENT ? Outcome::done : later(reason(log_.error));
  }
  beside_ = createForThisUser(besidePath_, O_WRONLY | O_APPEND);
  if (!beside_.isOpen()) {
    return later(reason(errno));
  }
  if (!lock(beside_.get()) || !isAt(besidePath_, beside_.get())) {
    return later("another process is changing the file");
  }
  isBesideOurs_ = true;
  if (!lock(log_.file.get()) || !isAt(file_.path(), log_.file.get())) {
    return later("another process is changing the file");
  }
  return copyRemaining(without, log_.facts.size, false);
}

bool LogFileChange::takeOver(int fd, std::uint64_t begin) {
  const auto facts = factsOf(fd);
  if (!facts) {
    return false;
  }
  std::string block;
  LogEntries entries(fd, begin, facts->size);
  while (facts->size > begin) {
    const auto entry = entries.next();
    if (entry && !isNothing(*entry)) {
      block.append(entry->text).append(kEntrySeparator);
    }
    if ((!entry || block.size() > kBatch) && !block.empty()) {
      if (file_.append(block).result != SessionLogFile::AppendResult::written) {
        return false;
      }
      block.clear();
    }
    if (!entry) {
      return !entries.error();
    }
  }
  return true;
}

LogFileChange::Outcome LogFileChange::commit(EntrySet& without) {
  if (!log_.file.isOpen()) {
    return Outcome::done;  // there is no file
  }
  const auto now = factsOf(log_.file.get());
  if (!now || now->size < copiedTo_) {
    return later("the file has become shorter");
  }
  if (const Outcome copied = copyRemaining(without, now->size, true); copied != Outcome::done) {
    return copied;
  }
  if (!isAt(file_.path(), log_.file.get())) {
    return later("the file was replaced");
  }
  FileCalls& calls = FileCalls::current();
  int changed = anythingRemains_ ? retrying([&] { return calls.exchange(besidePath_.c_str(), file_.path().c_str()); })
                                 : retrying([&] { return calls.rename(file_.path().c_str(), besidePath_.c_str()); });
  bool isBeside = true;
  if (changed != 0 && anythingRemains_ && (errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP)) {
    // This file system cannot exchange names; it can only let the old file go at once.
    changed = retrying([&] { return calls.rename(besidePath_.c_str(), file_.path().c_str()); });
    isBeside = false;
  }
  if (changed != 0) {
    return later(reason(errno));
  }
  isBesideOurs_ = false;
  file_.lookAgain();
  // Whatever was at the path is now beside it. Usually the file that was read, and all of it is known.
  const Descriptor moved = isBeside ? openWithoutWaiting(besidePath_, O_RDONLY) : Descriptor();
  bool all = takeOver(log_.file.get(), now->size);
  if (moved.isOpen() && !isAt(besidePath_, log_.file.get())) {
    all = takeOver(moved.get(), 0) && all;
  }
  if (all && isBeside) {  // else it stays for the next change to take from
    calls.unlink(besidePath_.c_str());
  }
  return Outcome::done;
}

}  // namespace zqlogging
