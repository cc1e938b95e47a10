#include "linux/session/LinuxSession.h"

#include <sys/stat.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <thread>

#include "linux/session/AccessibilityStatus.h"
#include "linux/session/ApplicationIdentity.h"
#include "linux/session/BusLook.h"
#include "linux/session/Toolkit.h"
#include "linux/system/LinuxLogs.h"
#include "linux/system/MonotonicTime.h"
#include "linux/system/XdgFolders.h"
#include "linux/x11/XServer.h"

namespace zqlogging {

namespace {

using port::Answer;
using port::SeenApplication;
using port::SessionFacts;
using Presence = SeenApplication::Presence;

constexpr std::uint64_t kLookTime = 2'000'000;  // microseconds, without the X server

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

SessionFacts::Kind kindOfSession() {
  if (variable("XDG_SESSION_TYPE") == "wayland" || !variable("WAYLAND_DISPLAY").empty()) {
    return SessionFacts::Kind::wayland;
  }
  return variable("DISPLAY").empty() ? SessionFacts::Kind::none : SessionFacts::Kind::x11;
}

/// The resolution that the desktop asks toolkits to draw for, as a factor.
double scaleOf(XConnection& x) {
  constexpr std::string_view kResource = "Xft.dpi:";
  constexpr double kOrdinary = 96;
  const std::string resources = x.text(x.requestProperty(x.root(), XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING));
  auto at = resources.find(kResource);
  if (at == std::string::npos) {
    return 1;
  }
  at = resources.find_first_not_of(" \t", at + kResource.size());
  double value = 0;
  const char* end = resources.data() + resources.size();
  const bool isNumber =
      at != std::string::npos && std::from_chars(resources.data() + at, end, value).ec == std::errc() && value > 0;
  return isNumber ? value / kOrdinary : 1;
}

void lookAtDisplay(SessionFacts& facts) {
  constexpr std::uint64_t kAtOnce = 200'000;  // microseconds; a server that is not there says so sooner
  const std::uint64_t begin = monotonicMicroseconds();
  facts.display = variable("DISPLAY");
  XServer server;
  const auto x = facts.display.empty() ? nullptr : server.connect();
  if (x) {
    x->startWaiting();
    facts.scale = scaleOf(*x);
  }
  const bool answers = x && x->isUsable();
  const bool isLate = x || monotonicMicroseconds() - begin > kAtOnce;
  facts.displayServer = answers ? Answer::inTime : isLate ? Answer::late : Answer::none;
}

/// Why no file can be kept in the folder; empty when one can.
std::string problemOf(const std::string& folder) {
  struct stat status {};
  if (stat(folder.c_str(), &status) != 0 || access(folder.c_str(), R_OK | W_OK | X_OK) != 0) {
    return std::strerror(errno);
  }
  return S_ISDIR(status.st_mode) ? "" : std::strerror(ENOTDIR);
}

bool anyoneIsToCome(const SessionFacts& facts) {
  return std::any_of(facts.applications.begin(), facts.applications.end(), [](const SeenApplication& application) {
    return application.presence == Presence::missing && application.heeds == SeenApplication::Heeds::whenTold;
  });
}

}  // namespace

void LinuxSession::lookAtApplications(SessionFacts& facts, std::uint64_t deadline) {
  const BusLook buses = lookAtBuses(deadline);
  facts.sessionBus = buses.sessionBus;
  facts.accessibilityBus = buses.accessibilityBus;
  facts.registry = buses.registry;
  facts.listenerAnnounced = buses.listenerAnnounced;
  if (buses.registry != Answer::inTime || facts.displayServer != Answer::inTime) {
    return;
  }
  for (const port::RunningApplication& running : workspace_.runningApplications()) {
    if (running.pid == getpid()) {
      continue;  // the host may be waiting for this look
    }
    const auto known = buses.applications.find(running.pid);
    const Presence presence = known != buses.applications.end() ? known->second : Presence::missing;
    if (presence == Presence::complete) {
      continue;  // there is nothing to say of it
    }
    const Toolkit toolkit = toolkitOf(running.pid);
    facts.applications.push_back(
        {running.pid, running.bundleIdentifier.value_or("A program"), toolkit.name, presence, toolkit.heeds});
  }
}

SessionFacts LinuxSession::look() {
  SessionFacts facts;
  facts.kind = kindOfSession();
  lookAtDisplay(facts);
  lookAtApplications(facts, monotonicMicroseconds() + kLookTime);
  facts.cachesFolder = cachesFolder_();
  facts.cachesProblem = problemOf(facts.cachesFolder);
  facts.log = LinuxLogs::hasJournal()  ? SessionFacts::Log::structured
              : LinuxLogs::hasSyslog() ? SessionFacts::Log::plain
                                       : SessionFacts::Log::none;
  return facts;
}

std::unique_ptr<port::Announcement> LinuxSession::announceListener(std::chrono::milliseconds patience) {
  auto announcement = AccessibilityStatus::announce(cachesFolder_());
  const auto end = std::chrono::steady_clock::now() + patience;
  constexpr std::chrono::milliseconds kPause(100);
  while (announcement && anyoneIsToCome(look()) && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(kPause);
  }
  return announcement;
}

bool LinuxSession::announceListenerForGood() { return AccessibilityStatus::announceForGood(cachesFolder_()); }

void LinuxSession::putBackLeftovers() { AccessibilityStatus::putBackLeftovers(cachesFolder_()); }

bool LinuxSession::repairCachesFolder() {
  const std::string folder = cachesFolder_();
  constexpr mode_t kUserAlone = 0700;
  return createPrivateFolder(folder) && chmod(folder.c_str(), kUserAlone) == 0 && problemOf(folder).empty();
}

}  // namespace zqlogging
