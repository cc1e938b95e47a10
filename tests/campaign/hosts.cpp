// Hosts that are killed while they record, acknowledge and read back, alone and several at one file.

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstring>
#include <sstream>

#include "campaign/Campaign.h"

namespace zqlogging::campaign {
namespace {

/// What a host tells its watcher: that a record's append has returned ('+'), or that it is about to answer yes to a
/// list that holds the record ('-').
class Reports {
 public:
  Reports() {
    if (::pipe(ends_.data()) != 0) {
      std::abort();
    }
  }
  ~Reports() {
    ::close(ends_[0]);
    ::close(ends_[1]);
  }
  Reports(const Reports&) = delete;
  Reports& operator=(const Reports&) = delete;

  /// On the host's side. At most as much as a pipe takes in one piece.
  void tell(char kind, const std::string& name) const {
    const std::string line = kind + name + "\n";
    if (::write(ends_[1], line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
      ::_exit(1);
    }
  }
  void closeHostsSide() { ::close(std::exchange(ends_[1], -1)); }
  /// Some of what was told; empty at the end.
  [[nodiscard]] std::string read() const {
    std::array<char, 4096> part{};
    const ssize_t got = ::read(ends_[0], part.data(), part.size());
    return {part.data(), got > 0 ? static_cast<std::size_t>(got) : 0};
  }

 private:
  std::array<int, 2> ends_{};
};

/// Reads back, records, answers, until it is killed or has recorded `count`.
[[noreturn]] void live(const std::shared_ptr<port::ScriptedPlatform>& platform, const Reports& reports,
                       const std::string& prefix, int count, unsigned seed) {
  std::mt19937 random(seed);
  Host host(platform);
  host.delegate->onChunk = [&](const auto& completion) {
    const bool yes = random() % 4 != 0;
    if (yes) {
      for (const std::string& name : host.names()) {
        reports.tell('-', name);
      }
    }
    completion(yes);
  };
  if (random() % 2 == 0) {
    host.start();
  } else {
    host.service->start("S", {}, {});
  }
  for (int i = 0; i < count; ++i) {
    const std::string name = prefix + "." + std::to_string(i);
    host.record(name);
    reports.tell('+', name);
    if (random() % 8 == 0) {
      host.tick();
    }
  }
  ::_exit(0);
}

struct Account {
  std::set<std::string> recorded;
  std::set<std::string> acknowledged;
  std::string rest;  // of a line that is not yet whole

  void take(const std::string& part) {
    std::istringstream lines(rest + part);
    rest.clear();
    for (std::string line; std::getline(lines, line);) {
      if (lines.eof()) {
        rest = line;
      } else if (line.front() == '+') {
        recorded.insert(line.substr(1));
      } else {
        acknowledged.insert(line.substr(1));
      }
    }
  }
  void settle(Campaign& campaign, const std::shared_ptr<port::ScriptedPlatform>& platform, const std::string& what) {
    const auto found = deliverTheRest(platform);
    for (const std::string& name : recorded) {
      campaign.expect(acknowledged.contains(name) || found.contains(name), what + ": " + name + " is lost");
    }
    campaign.expect(deliverTheRest(platform).empty(), what + ": what was acknowledged comes again");
    campaign.expect(filesOf(*platform).empty(), what + ": a file remains");
  }
};

pid_t startHost(Campaign& campaign, const std::shared_ptr<port::ScriptedPlatform>& platform, const Reports& reports,
                const std::string& prefix, int count) {
  const auto seed = static_cast<unsigned>(campaign.random());
  const pid_t pid = ::fork();
  if (pid == 0) {
    live(platform, reports, prefix, count, seed);
  }
  return pid;
}

}  // namespace

void killHosts(Campaign& campaign) {
  constexpr int kKillsPerFile = 10;
  for (int round = 0; round < campaign.times(20); ++round) {
    const auto platform = std::make_shared<port::ScriptedPlatform>();
    platform->folder();
    Account account;
    for (int kill = 0; kill < kKillsPerFile; ++kill) {
      Reports reports;
      const pid_t pid = startHost(campaign, platform, reports, std::to_string(kill), 1000000);
      reports.closeHostsSide();
      for (int heard = campaign.pick(0, 30); heard > 0; --heard) {
        account.take(reports.read());
      }
      ::usleep(static_cast<useconds_t>(campaign.pick(0, 300)));  // anywhere in the host's work
      ::kill(pid, SIGKILL);
      ::waitpid(pid, nullptr, 0);
      for (std::string part = reports.read(); !part.empty(); part = reports.read()) {
        account.take(part);
      }
      account.rest.clear();
      ++campaign.tried["kills"];
    }
    account.settle(campaign, platform, "killed hosts, file " + std::to_string(round));
  }
}

void shareOneFile(Campaign& campaign) {
  for (const int hosts : {2, 4, 8}) {
    const auto platform = std::make_shared<port::ScriptedPlatform>();
    platform->folder();
    const std::string what = std::to_string(hosts) + " hosts at one file";
    const int lives = campaign.times(24);
    Account account;
    std::vector<std::pair<pid_t, std::unique_ptr<Reports>>> living;
    for (int life = 0; life < lives || !living.empty();) {
      while (life < lives && living.size() < static_cast<std::size_t>(hosts)) {
        auto reports = std::make_unique<Reports>();
        // Some live on until they are killed.
        const int count = campaign.pick(1, 200);
        const pid_t pid =
            startHost(campaign, platform, *reports, std::to_string(hosts) + "." + std::to_string(life), count);
        reports->closeHostsSide();
        living.emplace_back(pid, std::move(reports));
        ++life;
      }
      const std::size_t chosen = campaign.random() % living.size();
      auto [pid, reports] = std::move(living.at(chosen));
      living.erase(living.begin() + static_cast<std::ptrdiff_t>(chosen));
      const bool isKilled = campaign.pick(0, 2) == 0;
      account.rest.clear();
      if (isKilled) {
        account.take(reports->read());
        ::kill(pid, SIGKILL);
      }
      for (std::string part = reports->read(); !part.empty(); part = reports->read()) {
        account.take(part);
      }
      ::waitpid(pid, nullptr, 0);
    }
    campaign.tried["records of hosts that share a file"] += account.recorded.size();
    account.settle(campaign, platform, what);
  }
}

}  // namespace zqlogging::campaign
