#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "accessibility/AXNotification.h"
#include "accessibility/Application.h"
#include "accessibility/Observer.h"
#include "blacklist/BlackListManager.h"
#include "elements/IteratedElementData.h"
#include "elements/ZQAccessibilityElement.h"
#include "platform/Platform.h"
#include "privacy/PrivacyGuard.h"
#include "privacy/TypedText.h"
#include "service/EventLog.h"
#include "service/SerialQueue.h"
#include "service/TaskThread.h"
#include "vision/ZQVisionRecognizer.h"
#include "zqlogging/ZQLoggingervice.h"

namespace zqlogging {

class ZQUILogKeyboardEvent;

/// The source value that marks an event injected by remote control.
constexpr std::int64_t kRemoteSource = 1;
/// Between two chunks.
constexpr std::chrono::seconds CHUNKS_INTERVAL{20};

/// A pointer or key event as the host forwarded it.
struct ForwardedEvent {
  std::uint64_t eventType = 0;
  CGPoint point;  // origin bottom-left
  std::int64_t source = 0;
  TypedText characters;
  double at = 0;                // steady time of its forwarding
  double focusMovedBefore = 0;  // when the last event before it was forwarded that may move the focus
};
/// Load the recognition engine before the first click needs it.
struct PrepareRecognition {};
using WorkItem = std::variant<ForwardedEvent, PrepareRecognition>;

/// What records of an element have in common: its window and its application.
struct Surroundings {
  std::string applicationName;
  std::string applicationId;
  std::string windowName;
  std::string windowRect;
};
Surroundings surroundingsOf(const ZQAccessibilityElement& element);

/// Fills in what surrounds the element.
template <class Record>
void setSurroundings(Record& record, const ZQAccessibilityElement& element) {
  Surroundings surroundings = surroundingsOf(element);
  record.applicationName = std::move(surroundings.applicationName);
  record.applicationId = std::move(surroundings.applicationId);
  record.windowName = std::move(surroundings.windowName);
  record.windowRect = std::move(surroundings.windowRect);
}

struct NameAndPath {
  std::string name;
  ZQXPath path;
};

/// Everything behind the public surface of one service. Each group of operations has a file of its own.
struct ServiceImpl {
  ServiceImpl(ZQLoggingervice& owner, std::shared_ptr<port::Platform> desktop);
  ServiceImpl(const ServiceImpl&) = delete;
  ServiceImpl& operator=(const ServiceImpl&) = delete;
  ~ServiceImpl();

  // Intake.cpp: forwarded input and remote commands. On the worker, except for the next three.
  void enqueue(WorkItem item);
  void prepareRecognition();
  void recordRemoteCommand(const std::string& cli, const std::string& role, const std::string& command,
                           const std::optional<std::string>& details);
  void handle(WorkItem& item);
  void processMouseEvent(const ForwardedEvent& event, CGPoint screenPoint);
  /// What must be painted over in a part of the frame around the point; nothing when that cannot be told.
  std::optional<std::vector<CGRect>> coversIn(CGRect part, CGPoint point, PrivacyGuard& guard) const;
  void appendMouseEvent(const ZQAccessibilityElement& element, const ZQXPath& path, std::uint64_t eventType,
                        CGPoint screenPoint, const std::string& name, bool isRemote,
                        const std::vector<ZQTextDetection>& texts, const std::vector<ZQRectangleDetection>& rectangles,
                        CGPoint recognizerPoint);

  // KeyIntake.cpp, on the worker, except for the first.
  /// Remembers when something was forwarded that may move the focus; when that was last before this event. Any thread.
  double noteForwarded(std::uint64_t eventType, const std::string& characters, double now);
  /// Waits, half a second after the key at most, until it is certain which element got it. False when that stays open.
  bool waitUntilFocusIsCertain(const ForwardedEvent& key) const;
  void processKeyEvent(ForwardedEvent& event);
  /// Fills in the application in front and its window, as far as they may be told.
  void describeFront(ZQUILogKeyboardEvent& record, std::int32_t process) const;
  /// Fills in the focused element; whether the characters typed into it may be recorded.
  bool describeFocused(ZQUILogKeyboardEvent& record, const ZQAccessibilityElement& element) const;

  // TreeWalk.cpp, on the worker.
  std::vector<IteratedElementData> iterateAllElements(const ZQAccessibilityElement& element, CGPoint point);

  // Description.cpp: what may be told of an element.
  [[nodiscard]] ZQAccessibilityElement guarded(port::ElementRef element) const {
    return {std::move(element), std::make_shared<PrivacyGuard>(blackListManager)};
  }
  /// Its name and path; nothing when the element is blacklisted. The delegate has then been told, with `flag`.
  std::optional<NameAndPath> describeUnlessBlackListed(const ZQAccessibilityElement& element, bool siblings,
                                                       std::optional<std::uint64_t> eventType, bool flag);
  /// The path made of the elements found in a window; nothing as above.
  std::optional<ZQXPath> describeFoundUnlessBlackListed(const std::vector<IteratedElementData>& found,
                                                        const std::string& name, bool flag);

  // Tracking.cpp: application and focus changes. On the main thread; what they are about is read aside.
  void applicationActivated(const port::Notification& notification);
  void moveWatcher(const std::shared_ptr<Application>& application);
  void takeDownWatcher();
  void processFocusEvent(AXNotification notification, const port::ElementRef& elementRef);
  void followActivated(const port::RunningApplication& activated);
  void describeFocus(AXNotification notification, const port::ElementRef& elementRef);
  void recordFocus(const ZQAccessibilityElement& element, const NameAndPath& described);

  // Delivery.cpp: the event log, chunks and the read-back.
  /// Numbers a record that is complete but for its stamp and appends it to the list and the file. `finish` may fill
  /// in what depends on the record before it.
  template <class Record, class Finish>
  void appendEvent(std::shared_ptr<Record> record, const Finish& finish) {
    const auto result = log.append([&](const EventLog::Stamp& stamp) {
      record->id = stamp.id;
      record->timestamp = stamp.timestamp;
      finish(*record, stamp);
      return std::move(record);
    });
    reportAppend(result);
  }
  template <class Record>
  void appendEvent(std::shared_ptr<Record> record) {
    appendEvent(std::move(record), [](Record&, const EventLog::Stamp&) {});
  }
  static void reportAppend(SessionLogFile::AppendResult result);
  void sendEvents(bool isLastChunk, std::function<void(bool)> completion);
  /// The host has the records up to `end`.
  void acknowledge(EventLog::ChunkEnd end);
  /// Brings the file in line with the list, now or on the thread for the file.
  void changeFile();
  void changeFileOnItsThread();
  void onFileThread(std::function<void()> work);
  void clearLogs();
  void storeSessionCode(const std::string& sessionCode);
  void readBackPreviousSession(const std::string& sessionCode);
  bool readEntry(std::string_view entry, bool isTooLong, RecordList& records);
  void deliverReadBack(EventLog::ReadBack read, const std::string& sessionCode);

  // SessionCare.cpp: whether the session can be recorded well. What waits for others runs on a thread of its own.
  /// Puts back what a crash has left, and writes a line when records will be poor.
  void lookAtSession();
  void enableAccessibility(std::function<void(const EnabledAccessibility&)> completion);
  void endAnnouncement();
  /// The main loop has come by.
  void noteDriven();
  /// Writes a line when it has not for too long. Any thread.
  void checkDriven();
  void runBeside(std::function<void()> task);

  // Failure.cpp: what other code throws ends here.
  /// Runs the work on one event; a failure drops the event and is written to a log.
  void perform(const std::function<void()>& work) const;
  /// Runs what waits for the desktop where it holds nobody.
  void runAside(std::function<void(ServiceImpl&)> work) const;
  /// For what runs aside: goes on, on the main thread, unless `stop` has been called in between.
  void returnToMain(std::function<void(ServiceImpl&)> work) const;
  /// Counts an event that gave no record because what it was about could not be told. Each has its trace line.
  void countDropped(const std::string& reason);
  /// Calls the delegate, when there is one.
  void tellDelegate(const std::function<void(ZQLoggerDelegate&)>& call);
  /// Calls other code of the host.
  void tellHost(const std::function<void()>& call) const;
  /// Calls a completion that the host gave.
  static void complete(port::Platform& desktop, const std::function<void(bool)>& completion, bool flag);

  ZQLoggingervice& service;
  const std::shared_ptr<port::Platform> platform;

  std::atomic<bool> paused = false;
  std::atomic<bool> ocrEnabled = false;
  std::atomic<bool> includeSiblings = true;
  std::atomic<bool> iterateDOM = true;
  std::atomic<bool> debuLogging = false;
  std::atomic<bool> followsFromStart = false;

  std::atomic<bool> isWatched = false;  ///< a session runs, so that its timer should come by
  std::atomic<double> drivenAt = 0;     ///< when it did last, or the session began
  std::atomic<bool> isUndrivenTold = false;
  std::atomic<std::uint64_t> announcements = 0;                                      ///< how often it was ended
  const std::shared_ptr<std::string> lastWarning = std::make_shared<std::string>();  ///< the task thread's

  std::mutex mutex;  // guards the next five, for copying in and out alone
  bool recognitionPrepared = false;
  std::shared_ptr<ZQLoggerDelegate> delegate;
  std::optional<PixelBuffer> bufferForOcr;
  std::optional<ZQAccessibilityElement> focusedElement;
  std::map<std::string, std::uint64_t> dropped;  // by reason
  double focusedSince = 0;                       // when its news came, by the steady clock

  // When the last thing was forwarded, or happened, that may move the focus, and when the last click was.
  std::atomic<double> focusMayHaveMoved = -1e9;  // by what was forwarded
  std::atomic<double> lastSwitch = -1e9;         // of applications
  std::atomic<double> lastClick = -1e9;

  BlackListManager blackListManager;
  EventLog log;
  ZQVisionRecognizer ocr;

  // On the main thread alone.
  bool running = false;
  std::uint64_t sessions = 0;
  std::unique_ptr<port::Timer> chunksTimer;
  std::vector<std::unique_ptr<port::Subscription>> subscriptions;
  std::shared_ptr<Observer> observer;
  std::shared_ptr<Application> app;
  std::shared_ptr<port::Announcement> announcement;

  TaskThread taskThread;

  std::atomic<std::uint64_t> stops = 0;
  // On the thread aside alone.
  std::uint64_t stopsBefore = 0;  // what it runs now was begun
  std::uint64_t leftOut = 0;      // notifications, as last traced

  std::int64_t iterateDOMDepth = 0;  // on the worker alone

  // Last, so that their workers have ended before anything else is gone.
  SerialQueue<WorkItem> serialQueue;
  SerialQueue<std::function<void()>> fileQueue;  // what takes long with the log file
};

/// The part of a text that records keep.
std::string cutForRecord(std::string text);

}  // namespace zqlogging
