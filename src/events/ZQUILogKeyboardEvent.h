#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "events/LogEventBase.h"

namespace zqlogging {

/// A key press in the focused element.
class ZQUILogKeyboardEvent final : public LogEventBase<ZQUILogKeyboardEvent> {
 public:
  std::int64_t id = 0;
  std::int64_t timestamp = 0;
  std::string eventType = "KeyPressed";
  std::string character;
  std::string elementXpath;
  std::string elementName;
  std::string elementValue;
  std::string applicationName;
  std::string applicationId;
  std::string windowName;
  std::string windowRect;
  bool isRemoteControlEvent = false;
  std::optional<std::string> url;
  std::optional<std::string> description;

  [[nodiscard]] std::int64_t date() const override { return timestamp; }
  [[nodiscard]] bool isRemoteControlInititated() const override { return isRemoteControlEvent; }
  [[nodiscard]] CGPoint location() const override;
  [[nodiscard]] EventDictionary toDictionary() const override;

  template <class Self, class Visitor>
  static void visitFields(Self& self, Visitor& visit) {
    visit("id", self.id);
    visit("timestamp", self.timestamp);
    visit("eventType", self.eventType);
    visit("character", self.character);
    visit("elementXpath", self.elementXpath);
    visit("elementName", self.elementName);
    visit("elementValue", self.elementValue);
    visit("applicationName", self.applicationName);
    visit("applicationId", self.applicationId);
    visit("windowName", self.windowName);
    visit("windowRect", self.windowRect);
    visit("isRemoteControlEvent", self.isRemoteControlEvent);
    visit("url", self.url);
    visit("description", self.description);
  }
};

}  // namespace zqlogging
