#pragma once

#include "platform/Platform.h"

namespace zqlogging {

/// The journal where there is one, with SUBSYSTEM= and CATEGORY= as fields of their own; otherwise syslog. Holds
/// nothing; any thread.
class LinuxLogs final : public port::LogSinks {
 public:
  void systemLog(std::string_view subsystem, std::string_view category, std::string_view message) override;
  void generalLog(std::string_view message) override;
  /// The line in one piece. It is dropped when nobody reads the standard output.
  void standardOutput(std::string_view line) override;

  static bool hasJournal();
  static bool hasSyslog();
};

}  // namespace zqlogging
