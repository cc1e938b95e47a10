// What the library costs its host, each figure beside a control measured in the same run.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "Ratios.h"
#include "events/EventCoding.h"
#include "events/ZQLogEventReducer.h"
#include "events/ZQUILogMouseEvent.h"
#include "scenario/Settle.h"
#include "scripted/ScriptedPlatform.h"
#include "service/EventLog.h"
#include "service/ServiceInspector.h"
#include "zqlogging/ZQLoggingervice.h"

namespace zqlogging::bench {
namespace {

constexpr int kManyRecords = 10000;

std::shared_ptr<ZQUILogMouseEvent> mouseRecord(std::int64_t id) {
  auto record = std::make_shared<ZQUILogMouseEvent>();
  record->id = id;
  record->timestamp = 1700000000000 + id * 97;
  record->mouseEventType = id % 2 == 0 ? "LeftUp" : "LeftDown";
  record->button = "Left";
  record->elementXpath =
      "Application:Mail -> Window:Inbox - 3 unread{Send, Discard, Attach} -> Group:Compose -> Button:Send";
  record->elementName = "Send";
  record->elementControlType = "Button";
  record->applicationName = "Mail";
  record->applicationId = "com.example.mail";
  record->windowName = "Inbox - 3 unread";
  record->windowRect = "0, 25, 1440, 875";
  record->elementRect = "1200, 60, 64, 28";
  record->eventPoint = "1230, 74";
  record->url = "";
  record->description = "send message";
  return record;
}

std::string jsonOf(const ZQLogEventProtocol& record) {
  std::string json;
  record.appendJson(json);
  return json;
}

/// The record as the general JSON library would build it.
nlohmann::json tree(const ZQUILogMouseEvent& record) {
  nlohmann::json object;
  const auto visit = [&](std::string_view key, const auto& value) {
    if constexpr (std::is_same_v<std::decay_t<decltype(value)>, std::optional<std::string>>) {
      if (value) object[std::string(key)] = *value;
    } else {
      object[std::string(key)] = value;
    }
  };
  ZQUILogMouseEvent::visitFields(record, visit);
  return object;
}

void encode(benchmark::State& state) {
  const auto record = mouseRecord(1);
  std::string out;
  for (auto _ : state) {
    out.clear();
    record->appendJson(out);
    benchmark::DoNotOptimize(out.data());
  }
}
BENCHMARK(encode);

void encodeControl(benchmark::State& state) {
  const auto record = mouseRecord(1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(tree(*record).dump().data());
  }
}
BENCHMARK(encodeControl);

/// A private file for the bare loop.
class BareFile {
 public:
  BareFile() : path_(platform_.cachesFolder() + "/bare.json") {}
  void append(std::string_view text) const {
    const int fd = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (::write(fd, text.data(), text.size()) < 0) std::abort();
    ::close(fd);
  }

 private:
  port::ScriptedPlatform platform_;
  std::string path_;
};

void appendControl(benchmark::State& state) {
  const BareFile file;
  const std::string text = jsonOf(*mouseRecord(1)) + ",\n";
  for (auto _ : state) {
    file.append(text);
  }
}
BENCHMARK(appendControl);

void append(benchmark::State& state) {
  port::ScriptedPlatform platform;
  EventLog log(platform.cachesFolder() + "/slog.json", platform.clock());
  const auto record = mouseRecord(1);
  for (auto _ : state) {
    log.append([&](const EventLog::Stamp&) { return record; });
  }
}
BENCHMARK(append);

/// A service whose worker has nothing to find: what is measured is the caller's side.
struct Forwarding {
  std::shared_ptr<port::ScriptedPlatform> platform = std::make_shared<port::ScriptedPlatform>();
  std::shared_ptr<ZQLoggingervice> service = std::make_shared<ZQLoggingervice>(platform);
};

void forwardInABurst(benchmark::State& state) {
  Forwarding host;
  host.service->processExternalEvent(5, 0, 0, 1, "");
  for (auto _ : state) {
    host.service->processExternalEvent(5, 100, 100, 1, "");
  }
}
BENCHMARK(forwardInABurst)->Iterations(200000);

void forwardToASleepingWorker(benchmark::State& state) {
  Forwarding host;
  host.service->processExternalEvent(5, 0, 0, 1, "");
  for (auto _ : state) {
    state.PauseTiming();
    ServiceInspector(*host.service).waitForWorker();
    ::usleep(50);  // the worker goes from idle to asleep
    state.ResumeTiming();
    host.service->processExternalEvent(5, 100, 100, 1, "");
  }
}
BENCHMARK(forwardToASleepingWorker)->Iterations(3000);

std::vector<LogEvent> manyRecords() {
  std::vector<LogEvent> records;
  for (int id = 1; id <= kManyRecords; ++id) {
    records.push_back(mouseRecord(id));
  }
  return records;
}

void reduceAndWriteAChunk(benchmark::State& state) {
  const auto records = manyRecords();
  for (auto _ : state) {
    const auto reduced = ZQLogEventReducer::filter(records);
    std::vector<EventDictionary> events;
    for (const LogEvent& record : reduced) {
      events.push_back(record->toDictionary());
    }
    benchmark::DoNotOptimize(jsonText(events).data());
  }
}
BENCHMARK(reduceAndWriteAChunk);

void reduceAndWriteAChunkControl(benchmark::State& state) {
  const auto records = manyRecords();
  for (auto _ : state) {
    nlohmann::json array = nlohmann::json::array();
    for (const LogEvent& record : records) {
      array.push_back(tree(static_cast<const ZQUILogMouseEvent&>(*record)));
    }
    benchmark::DoNotOptimize(array.dump().data());
  }
}
BENCHMARK(reduceAndWriteAChunkControl);

std::string manyEntries() {
  std::string text;
  for (int id = 1; id <= kManyRecords; ++id) {
    text += jsonOf(*mouseRecord(id)) + ",\n";
  }
  return text;
}

void readBack(benchmark::State& state) {
  const std::string text = manyEntries();
  for (auto _ : state) {
    state.PauseTiming();
    auto platform = std::make_shared<port::ScriptedPlatform>();
    platform->folder().writeFile(text);
    auto service = std::make_shared<ZQLoggingervice>(platform);
    service->start("S", {}, {});
    state.ResumeTiming();
    advance(*service, *platform, std::chrono::milliseconds(400));
    state.PauseTiming();
    if (ServiceInspector(*service).records().size() != kManyRecords) state.SkipWithError("records are missing");
    service.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(readBack);

void readBackControl(benchmark::State& state) {
  std::string text = "[" + manyEntries();
  text.replace(text.size() - 2, 2, "]");
  for (auto _ : state) {
    benchmark::DoNotOptimize(nlohmann::json::parse(text));
  }
}
BENCHMARK(readBackControl);

/// Memory that a pending record takes, in times of its JSON text.
void printMemory() {
  std::size_t text = 0;
  std::vector<LogEvent> records;
  const std::size_t before = mallinfo2().uordblks;
  for (int id = 1; id <= kManyRecords; ++id) {
    records.push_back(mouseRecord(id));
  }
  const std::size_t taken = mallinfo2().uordblks - before;
  for (const LogEvent& record : records) {
    text += jsonOf(*record).size();
  }
  std::printf("%-58s %7zu B  %8.3f %8.3f\n", "a pending record in memory (times of its JSON text)",
              taken / kManyRecords, static_cast<double>(taken) / static_cast<double>(text), 2.5);
}

struct NoTimer final : port::Timer {
  void invalidate() override {}
};

/// Keeps the answer to each chunk for later.
struct LateHost final : ZQLoggerDelegate {
  void onClick(const std::string&, const std::string&, const std::string&, const std::vector<ZQTextDetection>&,
               const std::vector<ZQRectangleDetection>&, CGPoint, bool) override {}
  void onBlackListed(const std::string&, const std::string&, const std::string&, bool) override {}
  void onLogChunkAvailable(const std::vector<EventDictionary>&, const std::string&, bool,
                           std::function<void(bool)> completion) override {
    answer = std::move(completion);
  }
  std::function<void(bool)> answer;
};

template <class Work>
double millisecondsOf(const Work& work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

/// How long the main thread is held by a tick, an answer and a read-back, the control being 50 ms, and how long the
/// file takes beside it.
void printHolds() {
  std::printf("\n%-10s %10s %10s %12s %12s %12s %10s\n", "pending", "tick ms", "answer ms", "file ms", "readback ms",
              "file ms", "memory MB");
  for (const int count : {1000, 100000, 1000000}) {
    const auto platform = std::make_shared<port::ScriptedPlatform>();
    platform->setWorksInline(false);
    const auto host = std::make_shared<LateHost>();
    auto service = std::make_shared<ZQLoggingervice>(platform);
    service->setDelegate(host);
    const std::size_t before = mallinfo2().uordblks;
    for (int i = 0; i < count; ++i) {
      service->logRemoteCommand("cli", "role", "a command of some length, as remote parties give them", "details");
    }
    const auto memory = static_cast<double>(mallinfo2().uordblks - before) / 1e6;
    // What is left of a first service, for the second.
    const double tick = millisecondsOf([&] { service->notifyChunkAvailable(NoTimer()); });
    service = std::make_shared<ZQLoggingervice>(platform);
    service->setDelegate(host);
    host->answer = nullptr;
    service->start("S", {}, {});
    double readBack = 0;
    const double whole = millisecondsOf([&] {
      platform->time().advance(std::chrono::milliseconds(400), [] {});
      do {
        ServiceInspector(*service).waitForWorker();
        bool any = false;
        readBack = std::max(readBack, millisecondsOf([&] { any = platform->time().runQueued(); }));
        if (!any) break;
      } while (true);
    });
    if (!host->answer) std::abort();
    const double answer = millisecondsOf([&] { host->answer(true); });
    const double file = millisecondsOf([&] { settle(*service, *platform); });
    if (platform->folder().readFile()) std::abort();
    std::printf("%-10d %10.2f %10.2f %12.1f %12.2f %12.1f %10.1f\n", count, tick, answer, file, readBack, whole,
                memory);
  }
}

}  // namespace
}  // namespace zqlogging::bench

int main(int argc, char** argv) {
  const int status = zqlogging::bench::run(
      argc, argv,
      {{"encode a record (JSON library's build and dump)", "encode", "encodeControl", 0.10},
       {"append a record (bare open, write, close)", "append", "appendControl", 1.4},
       {"forward an event in a burst (bare open, write, close)", "forwardInABurst", "appendControl", 0.10},
       {"forward to a sleeping worker (bare open, write, close)", "forwardToASleepingWorker", "appendControl", 1.5},
       {"reduce 10,000 records, write the chunk (JSON library)", "reduceAndWriteAChunk", "reduceAndWriteAChunkControl",
        1.0},
       {"read 10,000 records back (JSON library's parse)", "readBack", "readBackControl", 0.30}});
  zqlogging::bench::printMemory();
  zqlogging::bench::printHolds();
  return status;
}
