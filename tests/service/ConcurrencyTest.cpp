#include <gmock/gmock.h>

#include <atomic>
#include <latch>
#include <sstream>
#include <thread>

#include "support/ServiceFixture.h"

namespace zqlogging::test {
namespace {

using std::chrono_literals::operator""s;

using Concurrency = ServiceTest;

TEST_F(Concurrency, ProducersTicksAnswersAndClearsKeepNumbersIncreasing) {
  constexpr int kEvents = 400;
  ASSERT_TRUE(service->start("S", {}, {}));
  settle();
  activate(100);
  std::atomic<int> answers = 0;
  std::vector<std::thread> answering;
  delegate->onChunk = [&](const std::function<void(bool)>& answer) {
    switch (answers++ % 4) {
      case 0:
        answer(true);
        break;
      case 1:
        answering.emplace_back([answer] { answer(true); });
        break;
      case 2:
        answer(false);
        answer(true);
        break;
      default:
        break;  // never
    }
  };
  std::latch ready(5);
  std::vector<std::thread> producers;
  for (int i = 0; i < 2; ++i) {
    producers.emplace_back([&] {
      ready.arrive_and_wait();
      for (int n = 0; n < kEvents; ++n) {
        service->logRemoteCommand("c", "r", std::to_string(n), std::nullopt);
      }
    });
  }
  producers.emplace_back([&] {
    ready.arrive_and_wait();
    for (int n = 0; n < kEvents; ++n) {
      service->processExternalEvent(1 + static_cast<std::uint64_t>(n % 4), 15, 1034, 1, "x");
    }
  });
  producers.emplace_back([&] {
    ready.arrive_and_wait();
    for (int n = 0; n < kEvents; ++n) {
      service->setIncludeSiblings(n % 2 == 0);
      service->setOcrEnabled(n % 3 == 0);
      service->setFrameForOcr({});
      service->setDebuLogging(n % 5 == 0);
      if (n % 50 == 0) {
        service->clearLogs();
      }
    }
  });
  ready.arrive_and_wait();
  for (int n = 0; n < 40; ++n) {
    platform->scriptedAccessibility().notify("AXFocusedUIElementChanged", n % 2 == 0 ? button : group, 100);
    platform->time().advance(20s, [] {});
  }
  for (std::thread& producer : producers) {
    producer.join();
  }
  settle();
  for (std::thread& thread : answering) {
    thread.join();
  }
  service->setDebuLogging(false);
  command("last");

  std::string expected;
  for (const std::string& record : inspect().records()) {
    expected += record + ",\n";
  }
  EXPECT_EQ(file(), expected);
  std::int64_t previous = 0;
  std::istringstream lines(expected);
  for (std::string line; std::getline(lines, line);) {
    const std::int64_t id = std::stoll(line.substr(line.find("\"id\":") + 5));
    EXPECT_GT(id, previous);
    previous = id;
  }
}

TEST_F(Concurrency, TheLastReleaseOnTheWorkerEndsTheServiceWithoutWaiting) {
  /// Holds the worker inside a callback until the test has let go of its own reference.
  struct Holding : RecordingDelegate {
    void onClick(const std::string&, const std::string&, const std::string&, const std::vector<ZQTextDetection>&,
                 const std::vector<ZQRectangleDetection>&, CGPoint, bool) override {
      inside.count_down();
      released.wait();
    }
    explicit Holding(std::latch& end) : ended(end) {}
    ~Holding() override { ended.count_down(); }
    std::latch& ended;
    std::latch inside{1};
    std::latch released{1};
  };
  std::latch ended(1);
  auto holding = std::make_shared<Holding>(ended);
  service->setDelegate(holding);
  service->start("S", {}, {});
  settle();
  activate(100);  // an observer belongs to this thread
  const std::weak_ptr<ZQLoggingervice> watch = service;
  service->processExternalEvent(1, 15, 1034, 1, "");
  service->processExternalEvent(1, 15, 1034, 1, "");
  holding->inside.wait();
  service.reset();
  EXPECT_FALSE(watch.expired()) << "the worker still has it";
  holding->released.count_down();
  holding.reset();
  ended.wait();
  EXPECT_TRUE(watch.expired());
  EXPECT_TRUE(platform->time().runQueued()) << "the observer comes back to its thread to end";
}

}  // namespace
}  // namespace zqlogging::test
