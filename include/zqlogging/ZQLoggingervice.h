#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zqlogging/Diagnosis.h"
#include "zqlogging/Export.h"
#include "zqlogging/Geometry.h"
#include "zqlogging/JsonObject.h"
#include "zqlogging/Pixels.h"
#include "zqlogging/ZQLoggerDelegate.h"

namespace zqlogging {

class Application;
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
/// The settings may be read and written from any thread. Unless an operation says otherwise it blocks for nothing that
/// another process can delay, and nothing but std::logic_error and std::bad_alloc leaves it. What is passed in is
/// copied or, where it is a shared pointer, shared.
///
/// Every operation can be overridden; the service calls its own operations through the overrides. The handlers among
/// them are called by the desktop, and the types that they take cannot be made by a host: an override passes them on.
///
/// Coordinates of events: screen points, origin at the bottom-left corner of the screen, as described at
/// `pointFromTopLeft` in Desktop.h.
class ZQ_EXPORT ZQLoggingervice : public std::enable_shared_from_this<ZQLoggingervice> {
 public:
  /// A service on this system's desktop. Registers nothing, starts no thread and no timer.
  ZQLoggingervice();
  /// A service on another desktop.
  /// \param platform  shared by the service; never null
  explicit ZQLoggingervice(std::shared_ptr<port::Platform> platform);
  virtual ~ZQLoggingervice();
  ZQLoggingervice(const ZQLoggingervice&) = delete;
  ZQLoggingervice& operator=(const ZQLoggingervice&) = delete;

  /// The receiver of all callbacks. Any thread.
  /// \return  shared with the host; null at first
  [[nodiscard]] virtual std::shared_ptr<ZQLoggerDelegate> delegate() const;
  /// Replaces the receiver of all callbacks. Any thread. A callback that has begun is not waited for.
  /// \param value  shared by the service from now on; null for none
  virtual void setDelegate(std::shared_ptr<ZQLoggerDelegate> value);
  /// Reads the setting, lets the host change it, and writes it: three steps, not one. Any thread.
  /// \param change  gets the value to be changed in place; called once, on this thread. What it throws, this throws
  virtual void modifyDelegate(const std::function<void(std::shared_ptr<ZQLoggerDelegate>&)>& change);

  /// Whether text is recognized around each click, in the latest frame handed in. Off at first. Any thread.
  /// \return  as it was written last
  [[nodiscard]] virtual bool ocrEnabled() const;
  /// Switches recognition of text around clicks. Any thread. The engine is loaded on the worker, once there is a frame.
  /// \param value  true switches it on
  virtual void setOcrEnabled(bool value);
  /// As `modifyDelegate`.
  /// \param change  gets the value to be changed in place
  virtual void modifyOcrEnabled(const std::function<void(bool&)>& change);

  /// Whether the names of an element's siblings stand in the paths of pointer events. On at first. Any thread.
  /// \return  as it was written last
  [[nodiscard]] virtual bool includeSiblings() const;
  /// Switches siblings' names in the paths of pointer events. Any thread.
  /// \param value  true switches it on
  virtual void setIncludeSiblings(bool value);
  /// As `modifyDelegate`.
  /// \param change  gets the value to be changed in place
  virtual void modifyIncludeSiblings(const std::function<void(bool&)>& change);

  /// Whether the window's element tree is searched when the desktop's hit test finds nothing finer than the window.
  /// On at first. Any thread.
  /// \return  as it was written last
  [[nodiscard]] virtual bool iterateDOM() const;
  /// Switches the search of the window's element tree. Any thread.
  /// \param value  true switches it on
  virtual void setIterateDOM(bool value);
  /// As `modifyDelegate`.
  /// \param change  gets the value to be changed in place
  virtual void modifyIterateDOM(const std::function<void(bool&)>& change);

  /// Size of the rectangle around a click in which text is recognized. 300 × 120 at first. Any thread.
  /// \return  in frame pixels
  [[nodiscard]] virtual CGSize ocrDetectionSize() const;
  /// Sets the size of the rectangle around a click in which text is recognized. Any thread.
  /// \param value  in frame pixels
  virtual void setOcrDetectionSize(CGSize value);
  /// As `modifyDelegate`.
  /// \param change  gets the value to be changed in place
  virtual void modifyOcrDetectionSize(const std::function<void(CGSize&)>& change);

  /// Whether the developer trace (tier `enhancedlogging`) goes to the system log. Off at first. Any thread.
  /// \return  as it was written last
  [[nodiscard]] virtual bool debuLogging() const;
  /// Switches the developer trace, for the whole process: every write replaces the tiers of the one shared
  /// ZQDeveloperLogger, and makes its lines go to this service's desktop. Any thread.
  /// \param value  true switches it on
  virtual void setDebuLogging(bool value);
  /// As `modifyDelegate`.
  /// \param change  gets the value to be changed in place
  virtual void modifyDebuLogging(const std::function<void(bool&)>& change);

  /// Handler: an application was activated. Records it and its main window and follows it from then on. Returns at
  /// once: the application is read on a thread of the library's own, and recorded on the main thread. A failure is
  /// traced, not thrown.
  /// \param notification  only read
  virtual void mainAppChanged(const port::Notification& notification);

  /// Starts a session. What an earlier session left unacknowledged is delivered 0.4 s later. Main thread. Waits 40 ms
  /// at most for the accessibility service, and writes one file, which keeps the session code. When records will be
  /// poor a thread of its own writes one line about it to the general log.
  /// \param sessionCode  whose leftovers may be delivered: those of a session of another code are deleted
  /// \param urls         web addresses that must not be recorded, of which the first label of the host counts
  /// \param processes    names of applications that must not be recorded, in any case
  /// \return             false, and nothing started, when this process may not use the accessibility service or a
  ///                     session runs
  virtual bool start(const std::string& sessionCode, const std::vector<std::string>& urls,
                     const std::vector<std::string>& processes);

  /// Ends the session and hands what is left to the delegate as the last chunk, before it returns. The settings stay.
  /// Main thread. Blocks for as long as the delegate takes, and for the file when it answers at once.
  /// \param completion  gets the delegate's answer, on the thread of that answer; with no session it gets false before
  ///                    this returns; with a session but no delegate it is never called. May be empty
  virtual void stop(std::function<void(bool delivered)> completion);

  /// From now on local input and focus changes are not recorded, and no chunk is delivered. Remote input, remote
  /// commands and application switches still are. Any thread.
  virtual void pause();
  /// Ends a pause. Any thread.
  virtual void resume();

  /// Hands in the latest screen frame for recognition; the previous one is let go. Any thread.
  /// \param frame  shared, not copied. Its coordinates have their origin at its lower-left corner. A frame whose
  /// measures
  ///               do not fit its pixels counts as one without pixels
  virtual void setFrameForOcr(PixelBuffer frame);

  /// Forwards a pointer or key event seen on this machine. Returns at once: it takes no file, waits for no other
  /// process and may be called from any thread; the event is described on the service's worker, in order. While paused
  /// it does nothing. An event that cannot be described is dropped with a line in the trace.
  /// \param eventType   1 left press, 2 left release, 3 right press, 4 right release, 10 key press; others are ignored
  /// \param x           the pointer, in screen points from the left edge
  /// \param y           the pointer, in screen points from the bottom edge
  /// \param source      1 marks an event injected by remote control
  /// \param characters  not recorded: the keys of local events never are. The value of the field that they were typed
  ///                    into is, like any other value.
  virtual void processLocalEvent(std::uint64_t eventType, double x, double y, std::int64_t source,
                                 const std::string& characters);

  /// Forwards a pointer or key event injected by remote control: as `processLocalEvent`, but not affected by `pause`.
  /// \param eventType   as above
  /// \param x           as above
  /// \param y           as above
  /// \param source      as above
  /// \param characters  of a key press, UTF-8; recorded where it is certain that nothing secret and nothing
  ///                    blacklisted got them (docs/privacy.md), and zeroed in memory once that is decided
  virtual void processExternalEvent(std::uint64_t eventType, double x, double y, std::int64_t source,
                                    const std::string& characters);

  /// Deletes every record, from memory and from the file. Any thread. Blocks for the file. A link, a FIFO, a folder or
  /// somebody else's file in the place of the log file is left alone, with a line in the trace.
  virtual void clearLogs();

  /// Handler: the computer is about to be switched off. Takes the next event number and makes no record, as the four
  /// below do. Main thread.
  /// \param notification  only read
  virtual void willPowerOff(const port::Notification& notification);
  /// Handler: the computer is about to sleep.
  /// \param notification  only read
  virtual void didSleep(const port::Notification& notification);
  /// Handler: the screens woke up.
  /// \param notification  only read
  virtual void didWake(const port::Notification& notification);
  /// Handler: the screen was locked.
  /// \param notification  only read
  virtual void screenLocked(const port::Notification& notification);
  /// Handler: the screen was unlocked.
  /// \param notification  only read
  virtual void screenUnlocked(const port::Notification& notification);

  /// Moves the accessibility observer to an application. Main thread. Waits for the accessibility service, at most
  /// about 0.25 s. Throws std::invalid_argument for null, and a std::exception that says why when the application
  /// cannot be observed; the previous one is then not observed any more. \param application  made by the library;
  /// shared by the service
  virtual void startAppWatcher(const std::shared_ptr<Application>& application);

  /// Records a command issued by the remote party, before it returns. Any thread. Blocks for one append to the file;
  /// a file that cannot be written costs no record.
  /// \param cli      the program that the command is for
  /// \param role     of the remote party
  /// \param command  what was to be done
  /// \param details  nothing is recorded as the empty text
  virtual void logRemoteCommand(const std::string& cli, const std::string& role, const std::string& command,
                                const std::optional<std::string>& details);

  /// Handler: the chunk timer fired. Delivers what is recorded, unless paused. Main thread. Blocks for as long as the
  /// delegate takes.
  /// \param timer  not used
  virtual void notifyChunkAvailable(const port::Timer& timer);

  /// Reads one entry of the session log file. Any thread. A text that is not JSON is told on standard output.
  /// \param text  one entry without its separator, UTF-8
  /// \return      the caller's; null when the text is not JSON, or its top level is no object
  virtual std::unique_ptr<JsonObject> convertToDictionary(std::string_view text);

  /// Asks whether this process may use the accessibility service. Any thread. Waits 40 ms at most: a service that
  /// has not answered by then is taken as it was before, and at first as willing.
  /// \param prompt  lets the desktop ask the user, or switch accessibility on
  /// \return        false also when there is no service
  virtual bool checkAccessibilityPermission(bool prompt);

  /// Whether a session follows the application that is in front when it starts: it and its main window are recorded as
  /// if it had just come forward, and key presses in it have their element. Off at first: an application is then
  /// followed once the user has switched to it. Any thread.
  /// \return  as it was written last
  [[nodiscard]] virtual bool followsFromStart() const;
  /// Switches following from the start. Heeded by the next `start`. Any thread.
  /// \param value  true switches it on
  virtual void setFollowsFromStart(bool value);
  /// As `modifyDelegate`.
  /// \param change  gets the value to be changed in place
  virtual void modifyFollowsFromStart(const std::function<void(bool&)>& change);

  /// Tells the programs of this desktop session that somebody listens, as screen readers do; without it many tell
  /// nothing of what is in their windows (`diagnose` says which). It concerns the whole session, so it is the host's to
  /// decide. Best called before `start`. It holds until `stop`, or the end of the service. Then it is put back as it
  /// was before, by the last of all services of this user that have asked for it; after a crash by the next `start` of
  /// any. Main thread. Returns at once: a thread of its own waits for the session, at most 1 s, and gives programs that
  /// run about 2 s to heed it. Never fails; what came of it is told.
  /// \param completion  called on the main thread; not at all when the service has ended
  virtual void enableAccessibility(std::function<void(const EnabledAccessibility&)> completion = nullptr);
  /// Tells how many forwarded events gave no record because what was under the pointer could not be told. Any thread;
  /// waits for nobody.
  /// \return  the counts by reason, since the service was made
  [[nodiscard]] std::map<std::string, std::uint64_t> droppedEvents() const;

 private:
  friend class ServiceInspector;
  friend struct ServiceImpl;
  std::unique_ptr<ServiceImpl> impl_;
};

/// As `ZQLoggingervice::checkAccessibilityPermission`, on this system's desktop.
/// \param prompt  lets the desktop ask the user, or switch accessibility on
/// \return        false also when there is no service
ZQ_EXPORT bool checkIsProcessTrusted(bool prompt);

}  // namespace zqlogging
