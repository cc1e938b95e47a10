#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <map>
#include <random>
#include <string>

#include "support/ServiceFixture.h"

namespace zqlogging::test {
namespace {

using std::chrono_literals::operator""ms;

constexpr int kKills = 2000;
constexpr int kKillsPerReadBack = 100;
constexpr int kRecordsPerChunk = 7;

/// What a host tells its watcher about a record: that its append has returned, or that its chunk is about to be
/// acknowledged.
struct Progress {
  enum class Kind : int { appended, acknowledging } kind;
  int upTo;
};

struct NoTimer final : port::Timer {
  void invalidate() override {}
};

/// Records until it is killed.
[[noreturn]] void runHost(const std::shared_ptr<port::ScriptedPlatform>& platform, int round, int progressFd) {
  const auto tell = [&](Progress progress) {
    if (::write(progressFd, &progress, sizeof progress) != sizeof progress) {
      ::_exit(1);
    }
  };
  const auto service = std::make_shared<ZQLoggingervice>(platform);
  const auto delegate = std::make_shared<RecordingDelegate>();
  service->setDelegate(delegate);
  int last = 0;
  delegate->onChunk = [&](const auto& answer) {
    tell({Progress::Kind::acknowledging, last});
    answer(true);
  };
  while (true) {
    ++last;
    service->logRemoteCommand("cli", "role", std::to_string(round) + ":" + std::to_string(last), std::nullopt);
    tell({Progress::Kind::appended, last});
    if (last % kRecordsPerChunk == 0) {
      service->notifyChunkAvailable(NoTimer());
    }
  }
}

using Crash = ServiceTest;

TEST_F(Crash, NoReturnedRecordIsLostAndEachIsReadBackOnce) {
  std::mt19937 random(20240229);
  std::uniform_int_distribution<int> patience(0, 3 * kRecordsPerChunk);
  service.reset();
  platform->folder();
  std::map<int, std::pair<int, int>> expected;  // round: last record acknowledged, last record appended
  for (int round = 1; round <= kKills; ++round) {
    int pipe[2];
    ASSERT_EQ(::pipe(pipe), 0);
    const pid_t host = ::fork();
    ASSERT_GE(host, 0);
    if (host == 0) {
      ::close(pipe[0]);
      runHost(platform, round, pipe[1]);
    }
    ::close(pipe[1]);
    auto& [acknowledged, appended] = expected[round];
    Progress progress{};
    for (int heard = 0, until = patience(random);; ++heard) {
      if (heard == until) {
        ::kill(host, SIGKILL);
      }
      if (::read(pipe[0], &progress, sizeof progress) != sizeof progress) {
        break;
      }
      (progress.kind == Progress::Kind::appended ? appended : acknowledged) = progress.upTo;
    }
    ::close(pipe[0]);
    int status = 0;
    ASSERT_EQ(::waitpid(host, &status, 0), host);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);

    if (round % kKillsPerReadBack != 0) {
      continue;
    }
    restart();
    ASSERT_TRUE(service->start("S", {}, {}));
    advance(400ms);
    std::map<std::string, int> found;
    for (const std::string& record : inspect().records()) {
      const std::string key = "\"command\":\"";
      const std::size_t from = record.find(key) + key.size();
      ++found[record.substr(from, record.find('"', from) - from)];
    }
    for (const auto& [number, marks] : expected) {
      for (int i = 1; i <= marks.second; ++i) {
        const std::string name = std::to_string(number) + ":" + std::to_string(i);
        ASSERT_LE(found[name], 1) << name;
        ASSERT_TRUE(found[name] == 1 || i <= marks.first) << name << " is lost";
      }
    }
    expected.clear();
    service->clearLogs();
    service.reset();
  }
}

}  // namespace
}  // namespace zqlogging::test
