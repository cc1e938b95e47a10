// Each system call on files fails, for every k, once and from then on: nothing that was left or recorded is lost,
// nothing hangs, and no file remains once everything is acknowledged.

#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>

#include "campaign/Campaign.h"
#include "service/FileCalls.h"

namespace zqlogging::campaign {
namespace {

enum class Call { open, write, pread, ftruncate, look, rename, exchange, unlink, mkdir, tryLock };
constexpr std::array kCalls = {"open",   "write",    "pread",  "ftruncate", "statx",
                               "rename", "exchange", "unlink", "mkdir",     "flock"};
constexpr int kShort = 0;  // instead of an error: half of what was asked for
constexpr std::array kErrors = {EIO, ENOSPC, EDQUOT, EMFILE, EACCES, EINTR, ENOMEM, kShort};

/// The k-th call of a kind fails, or every one from the k-th on.
class FailingCalls final : public FileCalls {
 public:
  FailingCalls(Call call, int error, int first, bool always)
      : call_(call), error_(error), first_(first), always_(always) {}

  int open(const char* path, int flags, mode_t mode) override {
    return fails(Call::open) ? -1 : FileCalls::open(path, flags, mode);
  }
  ssize_t write(int fd, const void* from, std::size_t length) override {
    return fails(Call::write) ? partOf(length, [&](std::size_t part) { return FileCalls::write(fd, from, part); })
                              : FileCalls::write(fd, from, length);
  }
  ssize_t pread(int fd, void* to, std::size_t length, off_t offset) override {
    return fails(Call::pread) ? partOf(length, [&](std::size_t part) { return FileCalls::pread(fd, to, part, offset); })
                              : FileCalls::pread(fd, to, length, offset);
  }
  int ftruncate(int fd, off_t length) override {
    return fails(Call::ftruncate) ? -1 : FileCalls::ftruncate(fd, length);
  }
  int look(int fd, const char* path, struct statx* answer) override {
    return fails(Call::look) ? -1 : FileCalls::look(fd, path, answer);
  }
  int rename(const char* from, const char* to) override {
    return fails(Call::rename) ? -1 : FileCalls::rename(from, to);
  }
  int exchange(const char* one, const char* other) override {
    return fails(Call::exchange) ? -1 : FileCalls::exchange(one, other);
  }
  int unlink(const char* path) override { return fails(Call::unlink) ? -1 : FileCalls::unlink(path); }
  int mkdir(const char* path, mode_t mode) override { return fails(Call::mkdir) ? -1 : FileCalls::mkdir(path, mode); }
  int tryLock(int fd) override { return fails(Call::tryLock) ? -1 : FileCalls::tryLock(fd); }

  [[nodiscard]] bool hasFailed() const { return count_ >= first_; }
  [[nodiscard]] bool goesOnForEver() const { return total_ > kMaxCalls; }

 private:
  static constexpr int kMaxCalls = 20000;

  bool fails(Call call) {
    if (++total_ > kMaxCalls) {
      errno = EPERM;  // lets whatever repeats itself end
      return true;
    }
    if (call != call_) {
      return false;
    }
    ++count_;
    errno = error_ == kShort ? EIO : error_;
    return count_ == first_ || (always_ && count_ > first_);
  }
  ssize_t partOf(std::size_t length, const std::function<ssize_t(std::size_t)>& call) const {
    return error_ == kShort ? call(length / 2) : -1;
  }

  const Call call_;
  const int error_;
  const int first_;
  const bool always_;
  int count_ = 0;
  int total_ = 0;
};

/// Leftovers of two sessions, records, a no, a yes, more records, and a last yes. True when the call was made.
bool tryOne(Campaign& campaign, FailingCalls& calls, const std::string& what) {
  const auto platform = std::make_shared<port::ScriptedPlatform>();
  const std::set<std::string> left = {"left 1", "left 2", "left 3"};
  std::string text;
  for (const std::string& name : left) {
    text += entry(name, static_cast<int>(text.size())) + ",\n";
  }
  platform->folder().writeFile(text);
  std::set<std::string> acknowledged;
  FileCalls::use(&calls);
  {
    Host host(platform);
    host.start();
    host.record("recorded 1");
    host.answer(false);
    host.tick();
    host.record("recorded 2");
    host.answer(true);
    host.tick();
    host.record("recorded 3");
    host.service->stop(nullptr);
    settle(*host.service, *platform);
    acknowledged = host.acknowledged;
  }
  FileCalls::use(nullptr);
  const auto found = deliverTheRest(platform);
  for (const std::string& name : left) {
    campaign.expect(acknowledged.contains(name) || found.contains(name), what + ": \"" + name + "\" is lost");
  }
  for (const std::string name : {"recorded 1", "recorded 2", "recorded 3"}) {
    campaign.expect(acknowledged.contains(name), what + ": \"" + name + "\" was not delivered");
  }
  campaign.expect(filesOf(*platform).empty(), what + ": a file remains");
  campaign.expect(!calls.goesOnForEver(), what + ": goes on for ever");
  ++campaign.tried["failing calls"];
  return calls.hasFailed();
}

}  // namespace

void failCalls(Campaign& campaign) {
  for (std::size_t call = 0; call < kCalls.size(); ++call) {
    for (const int error : kErrors) {
      if (error == kShort && Call(call) != Call::write && Call(call) != Call::pread) {
        continue;
      }
      for (const bool always : {false, true}) {
        bool wasMade = true;
        for (int k = 1; wasMade; ++k) {
          FailingCalls calls(Call(call), error, k, always);
          wasMade =
              tryOne(campaign, calls,
                     std::string(kCalls.at(call)) + " no. " + std::to_string(k) + " answers " +
                         (error == kShort ? "half" : std::to_string(error)) + (always ? " from then on" : " once"));
        }
      }
    }
  }
}

}  // namespace zqlogging::campaign
