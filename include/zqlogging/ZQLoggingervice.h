#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zqlogging/Export.h"
#include "zqlogging/Geometry.h"
#include "zqlogging/Pixels.h"
#include "zqlogging/ZQLoggerDelegate.h"

namespace zqlogging {

class Application;
class JsonObject;
struct ServiceImpl;
namespace port {
class Platform;
class Timer;
struct Notification;
}  // namespace port

/// Records what the user does on the desktop during one session and hands it to the host in chunks.
///
/// Create it with std::make_shared and keep the pointer: queued work, timers and completions hold it weakly, so the
/// last release ends it, on any thread, without waiting for anything. Using it without a shared owner throws
/// std::logic_error. Call `stop` before releasing it, or the last records wait in the file for the next session.
///
/// Threads: call it from the main thread (the one that runs the main loop), except where another thread is named.
/// The settings may be read and written from any thread. No operation waits for an application on the desktop or
/// for the network; nothing but std::logic_error and std::bad_alloc leaves it.
///
/// Coordinates of events: screen points, origin at the bottom-left corner of the screen, as described at
/// `pointFromTopLeft` in Desktop.h.
class ZQ_EXPORT ZQLoggingervice : public std::enable_shared_from_this<ZQLoggingervice> {
 public:
  /// A service on this system's desktop. Registers nothing, starts no thread and no timer.
  ZQLoggingervice();
  /// A service on the given desktop, which it shares.
  explicit ZQLoggingervice(std::shared_ptr<port::Platform> platform);
  virtual ~ZQLoggingervice();
  ZQLoggingervice(const ZQLoggingervice&) = delete;
  ZQLoggingervice& operator=(const ZQLoggingervice&) = delete;

  /// The receiver of all callbacks, shared with the host; none at first. The `modify` form of each setting reads
  /// it, lets the function change it in place and writes the result.
  [[nodiscard]] virtual std::shared_ptr<ZQLoggerDelegate> delegate() const;
  virtual void setDelegate(std::shared_ptr<ZQLoggerDelegate> value);
  virtual void modifyDelegate(const std::function<void(std::shared_ptr<ZQLoggerDelegate>&)>& change);

  /// Recognize text around each click, in the latest frame handed in. Off at first.
  [[nodiscard]] virtual bool ocrEnabled() const;
  virtual void setOcrEnabled(bool value);
  virtual void modifyOcrEnabled(const std::function<void(bool&)>& change);

  /// List the names of an element's siblings in the paths of pointer events. On at first.
  [[nodiscard]] virtual bool includeSiblings() const;
  virtual void setIncludeSiblings(bool value);
  virtual void modifyIncludeSiblings(const std::function<void(bool&)>& change);

  /// Search the window's element tree when the desktop's hit test finds nothing finer than the window. On at first.
  [[nodiscard]] virtual bool iterateDOM() const;
  virtual void setIterateDOM(bool value);
  virtual void modifyIterateDOM(const std::function<void(bool&)>& change);

  /// Size of the rectangle around a click in which text is recognized, in frame pixels. 300 × 120 at first.
  [[nodiscard]] virtual CGSize ocrDetectionSize() const;
  virtual void setOcrDetectionSize(CGSize value);
  virtual void modifyOcrDetectionSize(const std::function<void(CGSize&)>& change);

  /// Write the developer trace (tier `enhancedlogging`) to the system log. Off at first. The switch is the
  /// process's: every write replaces the tiers of the one shared ZQDeveloperLogger.
  [[nodiscard]] virtual bool debuLogging() const;
  virtual void setDebuLogging(bool value);
  virtual void modifyDebuLogging(const std::function<void(bool&)>& change);

  /// Handler: an application was activated. Records it and its main window and follows it from then on.
  virtual void mainAppChanged(const port::Notification& notification);

  /// Starts a session. `urls` and `processes` name what must not be recorded: web addresses, of which the first
  /// label of the host counts, and application names. Leftovers of an unacknowledged session are delivered 0.4 s
  /// later. False, and nothing started, when the process may not use the accessibility service or a session runs.
  virtual bool start(const std::string& sessionCode, const std::vector<std::string>& urls,
                     const std::vector<std::string>& processes);

  /// Ends the session and hands what is left to the delegate as the last chunk, on this thread; `completion` gets
  /// the delegate's answer, on the thread of that answer. With no session it gets false at once; with a session but
  /// no delegate it is never called. The settings stay.
  virtual void stop(std::function<void(bool delivered)> completion);

  /// While paused, local input and focus changes are not recorded and no chunk is delivered. Remote input, remote
  /// commands and application switches are.
  virtual void pause();
  virtual void resume();

  /// Hands in the latest screen frame for recognition; the previous one is let go. Nothing is copied. Frame
  /// coordinates have their origin at the lower-left corner of the frame. Any thread. A frame whose measures do not
  /// fit its pixels counts as one without pixels.
  virtual void setFrameForOcr(PixelBuffer frame);

  /// Forwards a pointer or key event seen on this machine. Returns at once: it takes no file, waits for no other
  /// process and may be called from any thread; the event is described on the service's worker, in order.
  /// `eventType` is 1 left press, 2 left release, 3 right press, 4 right release, 10 key press; others are ignored.
  /// `x`, `y`: the pointer, origin bottom-left. `source`: 1 marks an event injected by remote control.
  /// The characters of local events are never recorded.
  virtual void processLocalEvent(std::uint64_t eventType, double x, double y, std::int64_t source,
                                 const std::string& characters);

  /// Forwards a pointer or key event injected by remote control; as above, but not affected by `pause`, and the
  /// characters of a key press are recorded, except those typed into a password field.
  virtual void processExternalEvent(std::uint64_t eventType, double x, double y, std::int64_t source,
                                    const std::string& characters);

  /// Deletes every record, from memory and from the file. Any thread.
  virtual void clearLogs();

  /// Handlers: system notifications. Each takes the next event number; none makes a record.
  virtual void willPowerOff(const port::Notification& notification);
  virtual void didSleep(const port::Notification& notification);
  virtual void didWake(const port::Notification& notification);
  virtual void screenLocked(const port::Notification& notification);
  virtual void screenUnlocked(const port::Notification& notification);

  /// Moves the accessibility observer to the application. Throws what the accessibility service answers.
  virtual void startAppWatcher(const std::shared_ptr<Application>& application);

  /// Records a command issued by the remote party, before it returns. Any thread. Blocks for one append to the file.
  virtual void logRemoteCommand(const std::string& cli, const std::string& role, const std::string& command,
                                const std::optional<std::string>& details);

  /// Handler: the chunk timer fired. Delivers what is recorded, unless paused.
  virtual void notifyChunkAvailable(const port::Timer& timer);

  /// Reads one entry of the session log file; null when it is not a JSON object.
  virtual std::unique_ptr<JsonObject> convertToDictionary(std::string_view text);

  /// Whether this process may use the accessibility service; with `prompt` the desktop may ask the user.
  virtual bool checkAccessibilityPermission(bool prompt);

 private:
  friend class ServiceInspector;
  friend struct ServiceImpl;
  std::unique_ptr<ServiceImpl> impl_;
};

/// Whether this process may use this system's accessibility service; with `prompt` the desktop may ask the user.
ZQ_EXPORT bool checkIsProcessTrusted(bool prompt);

}  // namespace zqlogging
