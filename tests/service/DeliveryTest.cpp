#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <thread>

#include "service/FileCalls.h"
#include "support/ServiceFixture.h"
#include "zqlogging/JsonObject.h"

namespace zqlogging::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

std::string entry(int id, const std::string& command = "c") {
  return R"({"id":)" + std::to_string(id) + R"(,"timestamp":)" + std::to_string(id * 2000) +
         R"(,"eventType":"RemoteCommand","cli":"","role":"","command":")" + command +
         R"(","details":"","isRemoteControlEvent":true})";
}

class Delivery : public ServiceTest {
 protected:
  /// The file's last session has left this text.
  void leave(const std::string& text) { platform->folder().writeFile(text); }
  void startAndReadBack() {
    service->start("S", {}, {});
    advance(400ms);
  }
  std::vector<std::int64_t> lastChunkIds() {
    std::vector<std::int64_t> ids;
    for (const EventDictionary& event : delegate->chunks.back().events) {
      ids.push_back(std::get<std::int64_t>(event.at("id")));
    }
    return ids;
  }
};

TEST_F(Delivery, AChunkCarriesTheNewestTwoHundredAndItsAnswerDeletesAll) {
  startAndReadBack();
  for (int i = 0; i < 250; ++i) {
    command("c");
    platform->time().pass(1s);
  }
  advance(20s);
  ASSERT_FALSE(delegate->chunks.empty());
  EXPECT_THAT(lastChunkIds(), SizeIs(200));
  EXPECT_EQ(lastChunkIds().front(), 51);
  delegate->chunks.back().completion(true);
  EXPECT_THAT(inspect().records(), IsEmpty());
  EXPECT_EQ(file(), std::nullopt);
}

TEST_F(Delivery, ARefusedChunkComesAgainWithWhatIsNew) {
  startAndReadBack();
  command("a");
  delegate->onChunk = [](const auto& answer) { answer(false); };
  advance(20s);
  command("b");
  advance(20s);
  EXPECT_THAT(lastChunkIds(), ElementsAre(1, 2));
  EXPECT_THAT(inspect().records(), SizeIs(2));
  service->pause();
  advance(20s);
  EXPECT_THAT(delegate->chunks, SizeIs(2)) << "no chunk while paused";
}

TEST_F(Delivery, WhatIsRecordedWhileAChunkIsOutSurvivesItsAnswer) {
  service->start("S", {}, {});
  command("a");
  advance(20s);
  command("b");
  ASSERT_THAT(delegate->chunks, SizeIs(1));
  std::thread([&] { delegate->chunks[0].completion(true); }).join();
  EXPECT_EQ(file(), inspect().records()[0] + ",\n");
  EXPECT_THAT(inspect().records(), ElementsAre(HasSubstr("\"command\":\"b\"")));
  delegate->chunks[0].completion(true);
  command("c");
  EXPECT_EQ(file(), inspect().records()[0] + ",\n" + inspect().records()[1] + ",\n") << "answering twice does nothing";
}

TEST_F(Delivery, AnswersMayComeInAnyOrder) {
  service->start("S", {}, {});
  command("a");
  advance(20s);
  command("b");
  advance(20s);
  command("c");
  ASSERT_THAT(delegate->chunks, SizeIs(2));
  delegate->chunks[1].completion(true);
  delegate->chunks[0].completion(true);
  EXPECT_THAT(inspect().records(), ElementsAre(HasSubstr("\"command\":\"c\"")));
  EXPECT_EQ(file(), inspect().records()[0] + ",\n");
  service->clearLogs();
  command("d");
  delegate->chunks[1].completion(false);
  EXPECT_THAT(inspect().records(), SizeIs(1));
}

TEST_F(Delivery, HostileDelegatesDoNoHarm) {
  service->start("S", {}, {});
  std::vector<std::string> lines;
  platform->scriptedLogs().listen([&](const port::ScriptedLogLine& line) { lines.push_back(line.message); });
  command("a");
  delegate->onChunk = [](const auto&) { throw std::runtime_error("host bug"); };
  advance(20s);
  EXPECT_THAT(lines, ElementsAre(HasSubstr("host bug")));
  delegate->onChunk = [&](const auto& answer) {
    service->clearLogs();
    command("inside");
    answer(true);
    service->setDelegate(nullptr);
  };
  advance(20s);
  EXPECT_THAT(inspect().records(), ElementsAre(HasSubstr("inside")));
  const auto late = delegate->chunks.back().completion;
  service.reset();
  late(true);
  EXPECT_NE(file(), std::nullopt) << "nobody is left to delete it";
}

TEST_F(Delivery, LeftoversAreTheFirstChunkOfTheNextSession) {
  leave(entry(1, "größer") + ",\n" + entry(2) + ",\n");
  service->start("S", {}, {});
  advance(399ms);
  EXPECT_THAT(delegate->chunks, IsEmpty());
  advance(1ms);
  EXPECT_THAT(lastChunkIds(), ElementsAre(1, 2));
  EXPECT_FALSE(delegate->chunks[0].isLast);
  delegate->chunks[0].completion(true);
  EXPECT_EQ(file(), std::nullopt);
}

TEST_F(Delivery, DamagedFilesGiveWhatCanBeRead) {
  const std::string missing = R"({"eventType":"Mouse","id":3,"timestamp":1,"mouseEventType":"LeftDown"})";
  struct {
    const char* what;
    std::string text;
    std::vector<std::int64_t> ids;
    std::size_t printed;
  } cases[] = {
      {"empty", "", {}, 1},
      {"cut off in the middle", entry(1) + ",\n" + entry(2).substr(0, 30), {1}, 1},
      {"no last separator", entry(1) + ",\n" + entry(2), {1, 2}, 0},
      {"torn separator", entry(1) + ",\n" + entry(2) + ",", {1, 2}, 0},
      {"zero bytes around an entry", std::string(9, '\0') + entry(1) + std::string(9, '\0'), {1}, 0},
      {"torn inside a character", entry(1) + ",\n{\"details\":\"gr\xc3", {1}, 1},
      {"an array and an unknown type", "[1],\n{\"eventType\":\"Unknown\"},\n" + entry(4), {4}, 0},
      {"a missing key ends the reading", entry(1) + ",\n" + missing + ",\n" + entry(5) + ",\n", {1}, 0},
      {"not UTF-8", entry(1) + ",\n{\"cli\":\"\xff\"},\n", {}, 0},
  };
  std::size_t printed = 0;
  platform->scriptedLogs().listen([&](const port::ScriptedLogLine& line) {
    printed += line.sink == port::ScriptedLogLine::Sink::standardOutput ? 1 : 0;
  });
  for (const auto& [what, text, ids, lines] : cases) {
    restart();
    leave(text);
    delegate->chunks.clear();
    printed = 0;
    startAndReadBack();
    EXPECT_EQ(delegate->chunks.size(), ids.empty() ? 0U : 1U) << what;
    if (!delegate->chunks.empty()) {
      EXPECT_EQ(lastChunkIds(), ids) << what;
    }
    EXPECT_EQ(printed, lines) << what;
    EXPECT_EQ(file(), text) << what;
  }
}

TEST_F(Delivery, ATornTailIsClosedBeforeTheNextRecord) {
  const std::string torn[] = {entry(1) + ",\n{\"id\":2", entry(1) + ",\n" + entry(2) + ",", entry(1),
                              entry(1) + ",\n{\"a\":\"gr\xc3"};
  const char* closed[] = {",\n", "\n", ",\n", ",\n"};
  for (std::size_t i = 0; i < std::size(torn); ++i) {
    restart();
    leave(torn[i]);
    command("new");
    std::string kept = torn[i];
    if (kept.ends_with('\xc3')) {
      kept.pop_back();
    }
    EXPECT_EQ(file(), kept + closed[i] + inspect().records()[0] + ",\n");
  }
  startAndReadBack();
  command("known");
  leave("{\"torn by another process");
  advance(20s);
  command("new");
  EXPECT_EQ(file(), "{\"torn by another process,\n" + inspect().records().back() + ",\n") << "seen at the next chunk";
}

TEST_F(Delivery, AnAnswerBeforeTheReadBackLeavesTheLeftoversAlone) {
  leave(entry(7) + ",\n");
  service->start("S", {}, {});
  command("early");
  delegate->onChunk = [](const auto& answer) { answer(true); };
  service->stop(nullptr);
  EXPECT_EQ(file(), entry(7) + ",\n");
  restart();
  delegate->onChunk = nullptr;
  startAndReadBack();
  EXPECT_THAT(lastChunkIds(), ElementsAre(7));
}

TEST_F(Delivery, LeftoversOfAnotherSessionCodeAreCleared) {
  leave(entry(1) + ",\n");
  service->start("S1", {}, {});
  platform->scriptedDefaults().setString("kSessionId", "S2");
  advance(400ms);
  EXPECT_THAT(delegate->chunks, IsEmpty());
  EXPECT_EQ(file(), std::nullopt);
}

TEST_F(Delivery, TheReadBackTakesTheWholeFileWhateverIsInMemory) {
  startAndReadBack();
  command("a");
  delegate->onChunk = [](const auto& answer) { answer(false); };
  service->stop(nullptr);
  settle();
  startAndReadBack();
  EXPECT_THAT(lastChunkIds(), ElementsAre(1, 1));
  EXPECT_EQ(file(), inspect().records()[0] + ",\n") << "what is read back is in the file already";
}

TEST_F(Delivery, AYesTakesOutTheAnsweringServicesEntriesAlone) {
  const auto other = std::make_shared<ZQLoggingervice>(platform);
  startAndReadBack();
  command("mine");
  other->logRemoteCommand("cli", "role", "theirs", std::nullopt);
  delegate->onChunk = [](const auto& answer) { answer(true); };
  service->stop(nullptr);
  EXPECT_THAT(inspect().records(), IsEmpty());
  EXPECT_EQ(file(), ServiceInspector(*other).records().back() + ",\n");
}

/// A disk without room, as long as it is full.
struct FullDisk final : FileCalls {
  FullDisk() { FileCalls::use(this); }
  ~FullDisk() override { FileCalls::use(nullptr); }
  ssize_t write(int fd, const void* from, std::size_t length) override {
    errno = ENOSPC;
    return isFull ? -1 : FileCalls::write(fd, from, length);
  }
  bool isFull = true;
};

TEST_F(Delivery, WhatAFullDiskRefusedIsWrittenInOrderOnceThereIsRoom) {
  FullDisk disk;
  command("a");
  command("b");
  EXPECT_EQ(file(), "");
  disk.isFull = false;
  command("c");
  const auto records = inspect().records();
  ASSERT_THAT(records, SizeIs(3));
  EXPECT_EQ(file(), records[0] + ",\n" + records[1] + ",\n" + records[2] + ",\n");
}

TEST_F(Delivery, AYesThatCannotReachTheFileIsMadeGoodLater) {
  startAndReadBack();
  command("a");
  delegate->onChunk = [](const auto& answer) { answer(true); };
  {
    /// Lets nothing leave its place.
    struct NoRenames final : FileCalls {
      int rename(const char*, const char*) override {
        errno = EIO;
        return -1;
      }
    } calls;
    FileCalls::use(&calls);
    advance(20s);
    FileCalls::use(nullptr);
  }
  EXPECT_THAT(inspect().records(), IsEmpty());
  EXPECT_NE(file(), std::nullopt);
  advance(20s);
  EXPECT_EQ(file(), std::nullopt);
}

TEST_F(Delivery, WhatACrashLeavesOfAnEmptyFileGoesWithTheNextTick) {
  for (const std::string& text : {std::string(), std::string(4096, '\0')}) {
    restart();
    leave(text);
    startAndReadBack();
    EXPECT_EQ(file(), text) << "reading changes nothing";
    advance(20s);
    EXPECT_EQ(file(), std::nullopt);
  }
}

TEST_F(Delivery, ALargeFileIsReadAndChangedOnAThreadOfItsOwn) {
  struct Watching : ZQLoggingervice {
    using ZQLoggingervice::ZQLoggingervice;
    std::unique_ptr<JsonObject> convertToDictionary(std::string_view text) override {
      readOnMain = readOnMain || std::this_thread::get_id() == main;
      return ZQLoggingervice::convertToDictionary(text);
    }
    std::thread::id main = std::this_thread::get_id();
    std::atomic<bool> readOnMain = false;
  };
  constexpr int kCount = 3000;  // of which memory keeps all, and a chunk the newest
  std::string text;
  for (int id = 1; id <= kCount; ++id) {
    text += entry(id) + ",\n";
  }
  leave(text);
  platform->setWorksInline(false);
  const auto watching = std::make_shared<Watching>(platform);
  service = watching;
  service->setDelegate(delegate);
  startAndReadBack();
  EXPECT_FALSE(watching->readOnMain);
  ASSERT_THAT(delegate->chunks, SizeIs(1));
  EXPECT_EQ(lastChunkIds().back(), kCount);
  EXPECT_THAT(inspect().records(), SizeIs(kCount));
  delegate->chunks.back().completion(true);
  command("new");
  settle();
  EXPECT_EQ(file(), inspect().records()[0] + ",\n");
}

TEST_F(Delivery, OfVeryManyRecordsTheNewestAreHeldAndAllAreAnswered) {
  constexpr int kCount = 10300;
  startAndReadBack();
  for (int i = 0; i < kCount; ++i) {
    command("c");
    platform->time().pass(1s);
  }
  EXPECT_THAT(inspect().records(), SizeIs(10000));
  delegate->onChunk = [](const auto& answer) { answer(true); };
  advance(20s);
  EXPECT_EQ(lastChunkIds().back(), kCount);
  EXPECT_THAT(inspect().records(), IsEmpty());
  EXPECT_EQ(file(), std::nullopt);
}

TEST_F(Delivery, AnUnusableFileCostsNoRecord) {
  std::vector<std::string> lines;
  platform->scriptedLogs().listen([&](const port::ScriptedLogLine& line) { lines.push_back(line.message); });
  service->setDebuLogging(true);
  platform->folder().block(port::PrivateFolder::Block::noParent);
  command("a");
  EXPECT_THAT(lines, ElementsAre(HasSubstr("ZQLogging service error. File not created.")));
  platform->folder().block(port::PrivateFolder::Block::directory);
  command("b");
  EXPECT_THAT(inspect().records(), SizeIs(2));
  EXPECT_THAT(lines, SizeIs(1));
  service->clearLogs();
  EXPECT_THAT(lines.back(), HasSubstr("Could not delete log file: "));
  EXPECT_THAT(inspect().records(), IsEmpty());
  platform->folder().unblock();
  command("c");
  EXPECT_EQ(file(), inspect().records()[0] + ",\n");
}

}  // namespace
}  // namespace zqlogging::test
