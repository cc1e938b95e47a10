// What the library costs its host, each figure beside a control measured in the same run.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

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

}  // namespace
}  // namespace zqlogging::bench

int main(int argc, char** argv) {
  const int status = zqlogging::bench::run(
      argc, argv,
      {{"encode a record (JSON library's build and dump)", "encode", "encodeControl", 0.10},
       {"append a record (bare open, write, close)", "append", "appendControl", 1 / 0.80},
       {"forward an event in a burst (bare open, write, close)", "forwardInABurst", "appendControl", 0.10},
       {"forward to a sleeping worker (bare open, write, close)", "forwardToASleepingWorker", "appendControl", 1.5},
       {"reduce 10,000 records, write the chunk (JSON library)", "reduceAndWriteAChunk", "reduceAndWriteAChunkControl",
        1.0},
       {"read 10,000 records back (JSON library's parse)", "readBack", "readBackControl", 0.30}});
  zqlogging::bench::printMemory();
  return status;
}
