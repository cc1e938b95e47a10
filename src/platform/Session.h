#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zqlogging::port {

/// How a part of the session takes a question.
enum class Answer { inTime, late, none };

/// An application with windows, as accessibility knows it.
struct SeenApplication {
  enum class Presence {
    complete,  ///< it tells what is in its windows
    empty,     ///< it is known, but shows nothing in any of its windows
    silent,    ///< it is known and does not answer
    missing,   ///< accessibility does not know it
  };
  /// When an application of its toolkit heeds that somebody listens.
  enum class Heeds { whenTold, whenStarted, never, unknown };

  std::int32_t pid = -1;
  std::string name;
  std::string toolkit;  ///< empty where it is not known
  Presence presence = Presence::complete;
  Heeds heeds = Heeds::unknown;
};

/// What can be seen of a session's fitness for being recorded.
struct SessionFacts {
  enum class Kind { x11, wayland, none };
  enum class Log { structured, plain, none };

  Kind kind = Kind::none;
  std::string display;  ///< how the display server is addressed; empty when nothing says so
  Answer displayServer = Answer::none;
  Answer sessionBus = Answer::none;
  Answer accessibilityBus = Answer::none;
  Answer registry = Answer::none;
  /// Whether programs are told that somebody listens; nothing when the session does not say.
  std::optional<bool> listenerAnnounced;
  std::vector<SeenApplication> applications;  ///< in the desktop's order
  double scale = 1;                           ///< pixels per point
  std::string cachesFolder;
  std::string cachesProblem;  ///< why no file can be kept there; empty when one can
  Log log = Log::none;        ///< where lines for people end up
};

/// Programs are told that somebody listens. Destroying it puts back what was before, once nobody else of this user
/// needs it, without waiting for anybody; so does a later process when this one could not.
class Announcement {
 public:
  virtual ~Announcement() = default;
};

/// The care for a session. All operations wait for others and belong on a thread beside the main one.
class Session {
 public:
  virtual ~Session() = default;
  /// Waits two seconds at most in all, however broken the session is, and changes nothing but that it may start the
  /// accessibility service.
  virtual SessionFacts look() = 0;
  /// Tells programs that somebody listens, and gives those that run and heed it up to `patience` to do so. Null when
  /// the session cannot be told.
  virtual std::unique_ptr<Announcement> announceListener(std::chrono::milliseconds patience) = 0;
  /// The same for good: nobody puts it back. Whether the session took it.
  virtual bool announceListenerForGood() = 0;
  /// Puts back what a process that crashed has left announced.
  virtual void putBackLeftovers() = 0;
  /// Creates the folder of the session log file, for this user alone. Whether it is there then.
  virtual bool repairCachesFolder() = 0;
};

}  // namespace zqlogging::port
