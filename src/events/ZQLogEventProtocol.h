#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "zqlogging/EventDictionary.h"
#include "zqlogging/Geometry.h"

namespace zqlogging {

/// What every logged record offers. Records are immutable once they are in the list, so lists and chunks share them.
class ZQLogEventProtocol {
 public:
  virtual ~ZQLogEventProtocol() = default;

  /// Milliseconds since 1970-01-01 00:00 UTC.
  [[nodiscard]] virtual std::int64_t date() const = 0;
  [[nodiscard]] virtual bool isRemoteControlInititated() const = 0;
  /// Where a mouse record happened; both coordinates infinite for every other record.
  [[nodiscard]] virtual CGPoint location() const = 0;
  /// The form that the host receives.
  [[nodiscard]] virtual EventDictionary toDictionary() const = 0;

  /// Appends the compact JSON object form, the one that the session log file holds.
  virtual void appendJson(std::string& out) const = 0;
};

using LogEvent = std::shared_ptr<const ZQLogEventProtocol>;

}  // namespace zqlogging
