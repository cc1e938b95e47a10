#include <algorithm>
#include <utility>

#include "diagnostics/DeveloperTiers.h"
#include "events/EventCoding.h"
#include "events/ZQLogEventReducer.h"
#include "json/DecodingError.h"
#include "service/ServiceImpl.h"
#include "text/Text.h"

namespace zqlogging {
namespace {

/// The most records of one chunk.
constexpr std::size_t kMaxChunkRecords = 200;
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

/// Calls `read` with each entry of the file's text, until it answers false.
template <class Read>
void forEachEntry(std::string_view text, const Read& read) {
  constexpr std::string_view kSeparator = SessionLogFile::kEntrySeparator;
  if (text.ends_with(kSeparator)) {
    text.remove_suffix(kSeparator.size());
  }
  while (true) {
    const std::size_t end = text.find(kSeparator);
    if (!read(text.substr(0, end)) || end == std::string_view::npos) {
      return;
    }
    text.remove_prefix(end + kSeparator.size());
  }
}

}  // namespace

void ServiceImpl::reportAppend(SessionLogFile::AppendResult result) {
  if (result == SessionLogFile::AppendResult::notCreated) {
    trace("ZQLogging service error. File not created.");
  }
}

void ServiceImpl::sendEvents(bool isLastChunk, std::function<void(bool)> completion) {
  log.lookAtFileAgain();  // each append would cost too much, each chunk does not
  const EventLog::Snapshot taken = log.snapshot();
  std::vector<LogEvent> records = ZQLogEventReducer::filter(taken.records);
  if (records.size() > kMaxChunkRecords) {
    records.erase(records.begin(), records.end() - kMaxChunkRecords);
  }
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

void ServiceImpl::acknowledge(std::uint64_t end) {
  if (const auto error = log.remove(end)) {
    trace("Could not delete log file: " + *error);
  }
}

void ServiceImpl::clearLogs() {
  if (const auto error = log.clear()) {
    trace("Could not delete log file: " + *error);
  }
}

void ServiceImpl::readBackPreviousSession(const std::string& sessionCode) {
  const std::uint64_t clearCount = log.clearCount();
  SessionLogFile::Content file = log.readFile();
  std::vector<LogEvent> records;
  if (file.error) {
    trace("ZQLogging service error (previousSessionAvailable): " + *file.error);
    file.text.clear();
  }
  file.text.resize(file.text.size() - lengthOfTornCharacter(file.text));
  if (file.opened && !file.error && isValidUtf8(file.text)) {
    forEachEntry(file.text, [&](std::string_view entry) {
      const auto object = service.convertToDictionary(entry);
      if (object == nullptr) {
        return true;
      }
      try {
        if (LogEvent record = decodeEntry(*object)) {
          records.push_back(std::move(record));
        }
        return true;
      } catch (const DecodingError& error) {
        trace(std::string("ZQLogging service error. Could not parse serialized event: ") + error.what());
        return false;
      }
    });
  }
  log.addReadBack(records, clearCount);

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
