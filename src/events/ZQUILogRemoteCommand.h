#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "events/LogEventBase.h"

namespace zqlogging {

/// A command that the remote party issued.
class ZQUILogRemoteCommand final : public LogEventBase<ZQUILogRemoteCommand> {
 public:
  std::int64_t id = 0;
  std::int64_t timestamp = 0;
  std::string eventType = "RemoteCommand";
  std::string cli;
  std::string role;
  std::string command;
  std::string details;
  bool isRemoteControlEvent = false;

  [[nodiscard]] std::int64_t date() const override { return timestamp; }
  [[nodiscard]] bool isRemoteControlInititated() const override { return isRemoteControlEvent; }
  [[nodiscard]] CGPoint location() const override;
  [[nodiscard]] EventDictionary toDictionary() const override;

  template <class Self, class Visitor>
  static void visitFields(Self& self, Visitor& visit) {
    visit("id", self.id);
    visit("timestamp", self.timestamp);
    visit("eventType", self.eventType);
    visit("cli", self.cli);
    visit("role", self.role);
    visit("command", self.command);
    visit("details", self.details);
    visit("isRemoteControlEvent", self.isRemoteControlEvent);
  }
};

}  // namespace zqlogging
