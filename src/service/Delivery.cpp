#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

#include "diagnostics/DeveloperTiers.h"
#include "events/EventCoding.h"
#include "json/DecodingError.h"
#include "service/ServiceImpl.h"
#include "zqlogging/JsonObject.h"

namespace zqlogging {
namespace {

/// A file that is at most so large is read and changed at once, without a thread of its own.
constexpr std::uint64_t kMaxAtOnce = std::uint64_t{256} << 10U;
/// How often a change of the file is tried again, and after what time, while another process is at it.
constexpr int kMaxTries = 20;
constexpr std::chrono::milliseconds kBetweenTries{2};
/// Key of the session code in the defaults store.
constexpr const char* kSessionId = "kSessionId";

std::vector<EventDictionary> dictionariesOf(const std::vector<LogEvent>& records) {
  std::vector<EventDictionary> dictionaries;
  dictionaries.reserve(records.size());
  for (const LogEvent& record : records) {
    dictionaries.push_back(record->toDictionary());
  }
  return dictionaries;
}

}  // namespace

void ServiceImpl::reportAppend(SessionLogFile::AppendResult result) {
  if (result == SessionLogFile::AppendResult::notCreated) {
    trace("ZQLogging service error. File not created.");
  }
}

void ServiceImpl::sendEvents(bool isLastChunk, std::function<void(bool)> completion) {
  log.lookAtFileAgain();  // each append would cost too much, each chunk does not
  changeFile();           // if the last time it could not be done
  const EventLog::Chunk taken = log.chunk();
  const std::vector<LogEvent>& records = taken.records;
  if (records.empty() && !isLastChunk) {
    return;
  }
  const std::vector<EventDictionary> events = dictionariesOf(records);
  const std::string text = records.empty() ? std::string() : jsonText(events);
  if (records.empty()) {
    trace("onLogChunkAvailable: empty. IsLastChunk: true ");
    trace("Events: []");
  } else {
    trace("onLogChunkAvailable: " + std::to_string(records.size()) +
          " events. IsLastChunk: " + (isLastChunk ? "true" : "false"));
  }
  // The first answer counts; later ones, and those after the end of the service, change nothing.
  const auto answered = std::make_shared<std::atomic<bool>>(false);
  const auto answer = [weak = service.weak_from_this(), desktop = platform, end = taken.end, answered,
                       completion = std::move(completion)](bool delivered) {
    if (answered->exchange(true)) {
      return;
    }
    const auto alive = weak.lock();
    if (delivered && alive != nullptr) {
      alive->impl_->acknowledge(end);
    }
    complete(*desktop, completion, delivered);
  };
  tellDelegate([&](ZQLoggerDelegate& host) { host.onLogChunkAvailable(events, text, isLastChunk, answer); });
}

void ServiceImpl::acknowledge(EventLog::ChunkEnd end) {
  log.remove(end);
  changeFile();
}

void ServiceImpl::onFileThread(std::function<void()> work) {
  try {
    // The item lets go of what it holds, perhaps of the service, before the queue goes on.
    fileQueue.push(std::move(work), [] { return [](std::function<void()>& next) { std::exchange(next, nullptr)(); }; });
  } catch (const std::system_error& error) {
    platform->logs().generalLog(std::string("ZQLogging: no thread for the log file: ") + error.what());
  }
}

void ServiceImpl::changeFile() {
  if (!log.mustChangeFile()) {
    return;
  }
  std::optional<std::string> error;
  const bool atOnce = platform->worksInline() || log.fileSize() <= kMaxAtOnce;
  if (atOnce) {
    error = log.changeFile();
  }
  const auto alive = service.weak_from_this().lock();
  if (alive != nullptr && !platform->worksInline() && log.mustChangeFile()) {
    onFileThread([alive] { alive->impl_->perform([&] { alive->impl_->changeFileOnItsThread(); }); });
  } else if (error) {
    trace("Could not delete log file: " + *error);
  }
}

void ServiceImpl::changeFileOnItsThread() {
  std::optional<std::string> error;
  for (int tries = 0; tries < kMaxTries && log.mustChangeFile(); ++tries) {
    if (tries > 0) {
      std::this_thread::sleep_for(kBetweenTries);
    }
    error = log.changeFile();
  }
  if (error) {
    trace("Could not delete log file: " + *error);
  }
}

void ServiceImpl::clearLogs() {
  const auto error = log.clear([&](Descriptor content) {
    if (content.isOpen() && !platform->worksInline()) {
      onFileThread([held = std::make_shared<Descriptor>(std::move(content))] {});
    }
  });
  if (error) {
    trace("Could not delete log file: " + *error);
  }
}

bool ServiceImpl::readEntry(std::string_view entry, bool isTooLong, RecordList& records) {
  if (isTooLong) {
    platform->logs().standardOutput("The text is not JSON: it is longer than any record.");
    return true;
  }
  const auto object = service.convertToDictionary(entry);
  if (object == nullptr) {
    return true;
  }
  try {
    if (LogEvent record = decodeEntry(*object)) {
      records.add(std::move(record));
    }
    return true;
  } catch (const DecodingError& error) {
    trace(std::string("ZQLogging service error. Could not parse serialized event: ") + error.what());
    return false;
  }
}

void ServiceImpl::readBackPreviousSession(const std::string& sessionCode) {
  const auto read = [this] {
    return log.readBack([this](std::string_view entry, bool isTooLong, RecordList& records) {
      return readEntry(entry, isTooLong, records);
    });
  };
  if (platform->worksInline() || log.fileSize() <= kMaxAtOnce) {
    deliverReadBack(read(), sessionCode);
    return;
  }
  onFileThread([weak = service.weak_from_this(), sessionCode, read] {
    const auto alive = weak.lock();
    if (alive == nullptr) {
      return;
    }
    const auto result = std::make_shared<EventLog::ReadBack>();
    alive->impl_->perform([&] { *result = read(); });
    alive->impl_->platform->mainLoop().runSoon([weak, sessionCode, result] {
      if (const auto later = weak.lock()) {
        later->impl_->perform([&] { later->impl_->deliverReadBack(std::move(*result), sessionCode); });
      }
    });
  });
}

void ServiceImpl::deliverReadBack(EventLog::ReadBack read, const std::string& sessionCode) {
  if (read.error) {
    trace("ZQLogging service error (previousSessionAvailable): " + *read.error);
  }
  log.addReadBack(std::move(read));
  const auto storedCode = platform->defaults().string(kSessionId);
  if (log.isEmpty()) {
    return;
  }
  if (storedCode == sessionCode) {
    sendEvents(false, nullptr);
  } else {
    clearLogs();
  }
}

void ServiceImpl::storeSessionCode(const std::string& sessionCode) {
  platform->defaults().setString(kSessionId, sessionCode);
}

}  // namespace zqlogging
