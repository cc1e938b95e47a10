#pragma once

#include <memory>
#include <string>
#include <vector>

#include "zqlogging/Export.h"

namespace zqlogging {

namespace port {
class Platform;
}  // namespace port

/// One thing that decides how good records are, and how it stands.
struct Finding {
  /// How bad it is.
  enum class Gravity {
    fine,   ///< as it should be
    note,   ///< worth knowing; records are true and complete
    poor,   ///< some records will be poor, or missing
    fatal,  ///< nothing can be recorded
  };
  std::string code;                 ///< stable, for programs: see docs/desktops.md. The sentences may change.
  Gravity gravity = Gravity::fine;  ///< how bad it is for records
  std::string subject;              ///< what it is about, e.g. "Firefox (Gecko, process 4711)"; may be empty
  std::string meaning;              ///< what it means for records: one sentence
  std::string remedy;               ///< what to do; empty when there is nothing to be done
  bool repairable = false;          ///< `repair` can do it
};

/// Looks at everything that records depend on: session and display, the buses and the registry of accessibility,
/// whether programs are told that somebody listens, each application with windows, the session log file's folder, the
/// system log, the display's scale and text recognition. In that order; what could not be looked at for want of
/// something before it is left out. Changes nothing, but that the accessibility service and the recognition engine are
/// started where they are not yet. Any thread, several at once; best not the one that draws the host's windows: it
/// waits for other processes, about 3 s at most in all, and about 0.1 s for the recognition engine. Never fails.
/// \param desktop  where to look; in memory there is nothing to be found
/// \return         the caller's
ZQ_EXPORT std::vector<Finding> diagnose(port::Platform& desktop);

/// Does for good what the library can do about a finding, with the rights of this user. Look again afterwards: programs
/// may take a moment to heed it. Any thread. Waits 1 s at most. Never fails otherwise than by its answer.
/// \param desktop  where it was found
/// \param finding  what was found
/// \return         false when it is not repairable, or that failed
ZQ_EXPORT bool repair(port::Platform& desktop, const Finding& finding);

/// What came of `ZQLoggingervice::enableAccessibility`.
struct EnabledAccessibility {
  bool enabled = false;  ///< programs are told that somebody listens
  /// Programs that heed it only when they start, and were started before: "Chromium (process 4711)". They are recorded
  /// poorly until then.
  std::vector<std::string> needRestart;
};

}  // namespace zqlogging
