#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "support/ServiceFixture.h"

namespace zqlogging::campaign {

/// What the trials are told, and where they put what they find.
struct Campaign {
  std::mt19937 random;
  double effort = 1;  ///< how many trials, in times of those that run with the tests
  std::vector<std::string> findings;
  std::map<std::string, std::uint64_t> tried;

  [[nodiscard]] int times(int count) const { return static_cast<int>(count * effort); }
  int pick(int from, int to) { return std::uniform_int_distribution<int>(from, to)(random); }
  void expect(bool condition, const std::string& otherwise) {
    if (!condition) {
      findings.push_back(otherwise);
    }
  }
};

void killHosts(Campaign& campaign);
void shareOneFile(Campaign& campaign);
void failCalls(Campaign& campaign);
void damageFiles(Campaign& campaign);

/// A service that records commands on a scripted desktop, whose folder the next host takes over.
class Host {
 public:
  explicit Host(std::shared_ptr<port::ScriptedPlatform> desktop) : platform(std::move(desktop)) {
    service->setDelegate(delegate);
  }

  /// Also reads back what is left.
  void start() {
    service->start("S", {}, {});
    advance(std::chrono::milliseconds(400));
  }
  void record(const std::string& name) { service->logRemoteCommand("cli", "role", name, std::nullopt); }
  void tick() { advance(std::chrono::seconds(20)); }
  void advance(std::chrono::nanoseconds time) { zqlogging::advance(*service, *platform, time); }
  void answer(bool yes) {
    delegate->onChunk = [this, yes](const auto& completion) {
      if (yes) {
        for (const std::string& name : names()) {
          acknowledged.insert(name);
        }
      }
      completion(yes);
    };
  }
  /// Of the records in the list.
  [[nodiscard]] std::multiset<std::string> names() const;

  std::shared_ptr<port::ScriptedPlatform> platform;
  std::shared_ptr<test::RecordingDelegate> delegate = std::make_shared<test::RecordingDelegate>();
  std::shared_ptr<ZQLoggingervice> service = std::make_shared<ZQLoggingervice>(platform);
  std::set<std::string> acknowledged;
};

/// Reads back all that is left, answers yes, and ends. The names of what was found.
std::multiset<std::string> deliverTheRest(const std::shared_ptr<port::ScriptedPlatform>& platform);

/// What lies in the folder of the log file.
std::vector<std::string> filesOf(port::ScriptedPlatform& platform);

/// An entry as a remote command leaves it.
std::string entry(const std::string& name, int number);

}  // namespace zqlogging::campaign
