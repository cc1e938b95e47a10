#include "linux/system/LinuxLogs.h"

#define SD_JOURNAL_SUPPRESS_LOCATION
#include <poll.h>
#include <sys/uio.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <vector>

namespace zqlogging {
namespace {

constexpr const char* kJournalSocket = "/run/systemd/journal/socket";
constexpr const char* kSyslogSocket = "/dev/log";

bool sendToJournal(std::vector<std::string> fields) {
  if (!LinuxLogs::hasJournal()) {
    return false;
  }
  fields.push_back("PRIORITY=" + std::to_string(LOG_INFO));
  std::vector<iovec> parts;
  for (std::string& field : fields) {
    parts.push_back({field.data(), field.size()});
  }
  return sd_journal_sendv(parts.data(), static_cast<int>(parts.size())) == 0;
}

/// Keeps a write to a pipe that nobody reads from ending the process.
class WithoutBrokenPipeSignal {
 public:
  WithoutBrokenPipeSignal() {
    sigemptyset(&brokenPipe_);
    sigaddset(&brokenPipe_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &brokenPipe_, &before_);
  }
  WithoutBrokenPipeSignal(const WithoutBrokenPipeSignal&) = delete;
  WithoutBrokenPipeSignal& operator=(const WithoutBrokenPipeSignal&) = delete;
  ~WithoutBrokenPipeSignal() {
    const timespec noTime{};
    if (!wasPending_) {
      while (sigtimedwait(&brokenPipe_, nullptr, &noTime) < 0 && errno == EINTR) {
      }
    }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }

 private:
  sigset_t brokenPipe_{};
  sigset_t before_{};
  bool wasPending_ = false;
};

}  // namespace

bool LinuxLogs::hasJournal() { return access(kJournalSocket, W_OK) == 0; }

bool LinuxLogs::hasSyslog() { return access(kSyslogSocket, W_OK) == 0; }

void LinuxLogs::systemLog(std::string_view subsystem, std::string_view category, std::string_view message) {
  const std::string text(message);
  if (!sendToJournal({"MESSAGE=" + text, "SUBSYSTEM=" + std::string(subsystem), "CATEGORY=" + std::string(category)})) {
    syslog(LOG_USER | LOG_INFO, "[%.*s:%.*s] %s", static_cast<int>(subsystem.size()), subsystem.data(),
           static_cast<int>(category.size()), category.data(), text.c_str());
  }
}

void LinuxLogs::generalLog(std::string_view message) {
  const std::string text(message);
  if (!sendToJournal({"MESSAGE=" + text})) {
    syslog(LOG_USER | LOG_INFO, "%s", text.c_str());
  }
}

void LinuxLogs::standardOutput(std::string_view line) {
  std::string text(line);
  text += '\n';
  pollfd output{STDOUT_FILENO, POLLOUT, 0};
  if (poll(&output, 1, 0) != 1 || (output.revents & POLLOUT) == 0) {
    return;
  }
  const WithoutBrokenPipeSignal guard;
  std::string_view rest = text;
  while (!rest.empty()) {
    const ssize_t written = write(STDOUT_FILENO, rest.data(), rest.size());
    if (written < 0 && errno != EINTR) {
      return;
    }
    rest.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
  }
}

}  // namespace zqlogging
