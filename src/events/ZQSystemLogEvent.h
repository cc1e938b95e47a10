#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "events/LogEventBase.h"

namespace zqlogging {

/// A happening of the system. Without event type and remote flag.
class ZQSystemLogEvent final : public LogEventBase<ZQSystemLogEvent> {
 public:
  std::int64_t id = 0;
  std::int64_t timestamp = 0;
  std::string type;
  std::string description;

  [[nodiscard]] std::int64_t date() const override { return timestamp; }
  [[nodiscard]] bool isRemoteControlInititated() const override { return false; }
  [[nodiscard]] CGPoint location() const override;
  [[nodiscard]] EventDictionary toDictionary() const override;

  template <class Self, class Visitor>
  static void visitFields(Self& self, Visitor& visit) {
    visit("id", self.id);
    visit("timestamp", self.timestamp);
    visit("type", self.type);
    visit("description", self.description);
  }
};

}  // namespace zqlogging
