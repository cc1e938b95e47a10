#include "diagnostics/SessionFindings.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace zqlogging {

namespace {

using port::Answer;
using port::SeenApplication;
using port::SessionFacts;
using Gravity = Finding::Gravity;
using Presence = SeenApplication::Presence;
using Heeds = SeenApplication::Heeds;

/// What is said of a part of the session that has to answer, by how it does.
struct PartText {
  const char* code;  // of the part; how it stands is added
  const char* works;
  const char* late;
  const char* missing;
  const char* lateRemedy;
  const char* missingRemedy;
};
constexpr PartText kDisplay = {"display",
                               "Windows, screens and the application in front are known.",
                               "The X server does not answer in time: nothing that is clicked can be told.",
                               "There is no X server: nothing that is clicked can be told.",
                               "Find out what holds the X server up.",
                               "Run the host inside the user's session, with its DISPLAY and XAUTHORITY."};
constexpr PartText kSessionBus = {"session-bus",
                                  "The session's services can be reached.",
                                  "The session bus does not answer in time: nothing can be recorded.",
                                  "There is no session bus: accessibility cannot be found, and nothing be recorded.",
                                  "Log out and in again.",
                                  "Run the host inside the user's session, with its DBUS_SESSION_BUS_ADDRESS."};
constexpr PartText kAccessibilityBus = {"accessibility-bus",
                                        "Applications can be asked.",
                                        "The accessibility bus does not answer in time: nothing can be recorded.",
                                        "There is no accessibility bus: nothing can be recorded.",
                                        "Log out and in again.",
                                        "Install at-spi2-core, then log out and in again."};
constexpr PartText kRegistry = {"registry",
                                "Applications can be found.",
                                "The registry of accessibility does not answer in time: no application can be found.",
                                "There is no registry of accessibility: no application can be found.",
                                "Log out and in again.",
                                "Install at-spi2-core, then log out and in again."};

class Findings {
 public:
  /// Whether the part answers, so that what depends on it can be looked at.
  bool addPart(const PartText& part, Answer answer, const std::string& subject = {}) {
    const std::string code = part.code;
    switch (answer) {
      case Answer::inTime:
        add({code + "-answers", Gravity::fine, subject, part.works, {}});
        return true;
      case Answer::late:
        add({code + "-silent", Gravity::fatal, subject, part.late, part.lateRemedy});
        return false;
      case Answer::none:
        break;
    }
    add({code + "-missing", Gravity::fatal, subject, part.missing, part.missingRemedy});
    return false;
  }
  void add(Finding finding) { findings_.push_back(std::move(finding)); }
  std::vector<Finding> take() { return std::move(findings_); }

 private:
  std::vector<Finding> findings_;
};

std::string process(const SeenApplication& application) { return "process " + std::to_string(application.pid); }

std::string subjectOf(const SeenApplication& application) {
  const std::string toolkit = application.toolkit.empty() ? "" : application.toolkit + ", ";
  return application.name + " (" + toolkit + process(application) + ")";
}

Finding sessionFinding(SessionFacts::Kind kind) {
  switch (kind) {
    case SessionFacts::Kind::x11:
      return {"session-x11", Gravity::fine, "", "An X session: all of it can be recorded.", ""};
    case SessionFacts::Kind::wayland:
      return {"session-wayland", Gravity::poor, "",
              "A Wayland session: only programs that run as X clients are recorded, of clicks elsewhere nothing.",
              "Log in to an X session (\"on Xorg\")."};
    case SessionFacts::Kind::none:
      break;
  }
  return {"session-none", Gravity::fatal, "", "There is no graphical session here: nothing can be recorded.",
          "Run the host inside the user's session."};
}

Finding listenerFinding(std::optional<bool> announced) {
  if (!announced) {
    return {"listener-unknown", Gravity::note, "",
            "The session does not say whether programs are told that somebody listens.", ""};
  }
  if (*announced) {
    return {"listener-announced", Gravity::fine, "", "Programs are told that somebody listens.", ""};
  }
  return {"listener-not-announced",
          Gravity::poor,
          "",
          "Programs are not told that somebody listens: many (Qt, Chromium, Firefox) then tell nothing of what is in "
          "their windows.",
          "Call enableAccessibility before start, or switch it on for good with \"zqlog doctor --fix\".",
          true};
}

Finding missingFinding(const SeenApplication& application, bool announced) {
  Finding finding{"application-missing", Gravity::poor, subjectOf(application),
                  "It is not known to accessibility: records of it name its window alone.", ""};
  switch (application.heeds) {
    case Heeds::whenTold:
      finding.remedy = announced ? "Start it again." : "It comes when programs are told that somebody listens.";
      break;
    case Heeds::whenStarted:
      finding.remedy = announced ? "Start it again." : "Tell programs that somebody listens, then start it again.";
      break;
    case Heeds::never:
      finding.gravity = Gravity::note;
      break;
    case Heeds::unknown:
      finding.remedy = "Start it again; where that does not help, it has no accessibility.";
      break;
  }
  return finding;
}

std::optional<Finding> applicationFinding(const SeenApplication& application, bool announced) {
  switch (application.presence) {
    case Presence::complete:
      return std::nullopt;
    case Presence::missing:
      return missingFinding(application, announced);
    case Presence::silent:
      return Finding{"application-silent", Gravity::poor, subjectOf(application),
                     "It does not answer in time: records of it name its window alone.",
                     "Wait until it answers again, or end it."};
    case Presence::empty:
      break;
  }
  return Finding{"application-empty", Gravity::poor, subjectOf(application),
                 "It is known to accessibility, but shows nothing inside its windows: records of it name these alone.",
                 application.heeds == Heeds::unknown
                     ? "Start it again; where that does not help, it draws all by itself and tells nothing of it."
                     : "It may come with the first question about it; else start it again."};
}

Finding cachesFinding(const SessionFacts& facts) {
  if (facts.cachesProblem.empty()) {
    return {"cache-usable", Gravity::fine, facts.cachesFolder, "Records survive a crash.", ""};
  }
  return {"cache-unusable",
          Gravity::poor,
          facts.cachesFolder,
          "No file can be kept there (" + facts.cachesProblem + "): a crash costs what was not acknowledged.",
          "Give the user a folder there that can be written.",
          true};
}

Finding logFinding(SessionFacts::Log log) {
  switch (log) {
    case SessionFacts::Log::structured:
      return {"log-structured", Gravity::fine, "", "The log keeps subsystem and category of each line.", ""};
    case SessionFacts::Log::plain:
      return {"log-plain", Gravity::fine, "", "The log takes lines as text.", ""};
    case SessionFacts::Log::none:
      break;
  }
  return {"log-missing", Gravity::note, "", "No log takes lines: what the library has to say is lost.",
          "Run the journal or a syslog service."};
}

Finding scaleFinding(double scale) {
  if (scale == 1) {
    return {"scale-one", Gravity::fine, "", "Points are pixels.", ""};
  }
  std::array<char, 32> number{};
  std::snprintf(number.data(), number.size(), "%g", scale);
  return {"scale-other", Gravity::note, number.data(),
          "The display is scaled; points and frames in records are the screen's pixels.", ""};
}

}  // namespace

std::vector<Finding> findingsOf(const SessionFacts& facts) {
  Findings findings;
  findings.add(sessionFinding(facts.kind));
  const bool hasWindows =
      facts.kind != SessionFacts::Kind::none && findings.addPart(kDisplay, facts.displayServer, facts.display);
  const bool isKnown = findings.addPart(kSessionBus, facts.sessionBus) &&
                       findings.addPart(kAccessibilityBus, facts.accessibilityBus) &&
                       findings.addPart(kRegistry, facts.registry);
  if (facts.sessionBus == Answer::inTime) {
    findings.add(listenerFinding(facts.listenerAnnounced));
  }
  if (hasWindows && isKnown) {
    for (const SeenApplication& application : facts.applications) {
      if (auto finding = applicationFinding(application, facts.listenerAnnounced.value_or(false))) {
        findings.add(std::move(*finding));
      }
    }
  }
  findings.add(cachesFinding(facts));
  findings.add(logFinding(facts.log));
  if (hasWindows) {
    findings.add(scaleFinding(facts.scale));
  }
  return findings.take();
}

std::vector<std::string> programsToRestart(const SessionFacts& facts) {
  std::vector<std::string> names;
  for (const SeenApplication& application : facts.applications) {
    if (application.presence == Presence::missing &&
        (application.heeds == Heeds::whenTold || application.heeds == Heeds::whenStarted)) {
      names.push_back(application.name + " (" + process(application) + ")");
    }
  }
  return names;
}

std::string warningOf(const std::vector<Finding>& findings) {
  const Finding* worst = nullptr;
  std::size_t others = 0;
  for (const Finding& finding : findings) {
    if (finding.gravity < Gravity::poor) {
      continue;
    }
    if (worst == nullptr || finding.gravity > worst->gravity) {
      others += worst != nullptr ? 1 : 0;
      worst = &finding;
    } else {
      ++others;
    }
  }
  if (worst == nullptr) {
    return {};
  }
  std::string line = worst->gravity == Gravity::fatal ? "ZQLogging: nothing can be recorded here. "
                                                      : "ZQLogging: some records will be poor. ";
  line += worst->subject.empty() ? worst->meaning : worst->subject + ": " + worst->meaning;
  if (others > 0) {
    line += " And " + std::to_string(others) + " more.";
  }
  return line + " (\"zqlog doctor\" tells what to do.)";
}

}  // namespace zqlogging
