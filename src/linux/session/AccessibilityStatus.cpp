#include "linux/session/AccessibilityStatus.h"

#include <string_view>
#include <utility>

#include "linux/session/StatusMarker.h"
#include "linux/system/MonotonicTime.h"

namespace zqlogging {

namespace {

constexpr const char* kService = "org.a11y.Bus";
constexpr const char* kPath = "/org/a11y/bus";
constexpr const char* kInterface = "org.a11y.Status";
constexpr const char* kListener = "IsEnabled";
constexpr const char* kScreenReader = "ScreenReaderEnabled";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr std::uint64_t kPatience = 1'000'000;  // microseconds: the service may have to be started

SdBusMessagePtr newCall(AtspiLink& session, const char* member) {
  sd_bus_message* message = nullptr;
  sd_bus_message_new_method_call(session.bus(), &message, kService, kPath, kProperties, member);
  return SdBusMessagePtr(message);
}

SdBusMessagePtr newSet(AtspiLink& session, bool enabled) {
  SdBusMessagePtr message = newCall(session, "Set");
  const bool built = message && sd_bus_message_append(message.get(), "ssv", kInterface, kListener, "b",
                                                      static_cast<int>(enabled)) >= 0;
  return built ? std::move(message) : nullptr;
}

std::optional<bool> readProperty(AtspiLink& session, const char* property, std::uint64_t deadline) {
  const SdBusMessagePtr message = newCall(session, "Get");
  if (!message || sd_bus_message_append(message.get(), "ss", kInterface, property) < 0) {
    return std::nullopt;
  }
  const SdBusMessagePtr reply = session.call(message, deadline);
  int value = 0;
  const bool told = reply && !sd_bus_message_is_method_error(reply.get(), nullptr) &&
                    sd_bus_message_read(reply.get(), "v", "b", &value) > 0;
  return told ? std::optional(value != 0) : std::nullopt;
}

/// What is announced for our sake, and the connection over which it is taken back: a message on an open connection
/// needs no waiting, also when the process ends right after.
class OwnAnnouncement final : public port::Announcement {
 public:
  OwnAnnouncement(std::unique_ptr<AtspiLink> session, StatusMarker marker)
      : session_(std::move(session)), marker_(std::move(marker)) {}
  OwnAnnouncement(const OwnAnnouncement&) = delete;
  OwnAnnouncement& operator=(const OwnAnnouncement&) = delete;
  ~OwnAnnouncement() override {
    if (!marker_.becomeOnlyHolder()) {
      return;  // others need it on, or it has been announced for good
    }
    if (session_->process() && !screenReader_ && !takeBack()) {
      return;  // the next process will
    }
    marker_.remove();
  }

  /// Tells programs, unless they are told already. Whether they are then.
  bool begin(bool isTold, std::uint64_t deadline) {
    sd_bus_slot* slot = nullptr;
    if (sd_bus_match_signal_async(session_->bus(), &slot, kService, kPath, kProperties, "PropertiesChanged", noteChange,
                                  nullptr, this) >= 0) {
      changes_.reset(slot);
    }
    screenReader_ = readProperty(*session_, kScreenReader, deadline).value_or(false);
    return isTold || AccessibilityStatus::write(*session_, true, deadline);
  }

 private:
  bool takeBack() {
    const SdBusMessagePtr message = newSet(*session_, false);
    if (!message) {
      return false;
    }
    sd_bus_message_set_expect_reply(message.get(), 0);
    std::uint64_t unsent = 0;
    return sd_bus_send(session_->bus(), message.get(), nullptr) >= 0 && session_->process() &&
           sd_bus_get_n_queued_write(session_->bus(), &unsent) >= 0 && unsent == 0;
  }

  /// A screen reader that has come meanwhile relies on what we have announced.
  static int noteChange(sd_bus_message* signal, void* data, sd_bus_error* /*error*/) {
    const char* text = nullptr;
    if (sd_bus_message_read(signal, "s", &text) <= 0 || sd_bus_message_enter_container(signal, 'a', "{sv}") <= 0) {
      return 0;
    }
    while (sd_bus_message_enter_container(signal, 'e', "sv") > 0) {
      int value = 0;
      if (sd_bus_message_read(signal, "s", &text) > 0 && std::string_view(text) == kScreenReader) {
        sd_bus_message_read(signal, "v", "b", &value);
        static_cast<OwnAnnouncement*>(data)->screenReader_ = value != 0;
      } else {
        sd_bus_message_skip(signal, "v");
      }
      sd_bus_message_exit_container(signal);
    }
    return 0;
  }

  const std::unique_ptr<AtspiLink> session_;
  const StatusMarker marker_;
  SdBusSlotPtr changes_;
  bool screenReader_ = false;
};

}  // namespace

std::optional<bool> AccessibilityStatus::read(AtspiLink& session, std::uint64_t deadline) {
  return readProperty(session, kListener, deadline);
}

bool AccessibilityStatus::write(AtspiLink& session, bool enabled, std::uint64_t deadline) {
  const SdBusMessagePtr message = newSet(session, enabled);
  const SdBusMessagePtr reply = session.call(message, deadline);
  return reply && !sd_bus_message_is_method_error(reply.get(), nullptr);
}

std::unique_ptr<port::Announcement> AccessibilityStatus::announce(const std::string& folder) {
  const std::uint64_t deadline = monotonicMicroseconds() + kPatience;
  auto session = AtspiLink::openSessionBus();
  const auto before = session ? read(*session, deadline) : std::nullopt;
  if (!before) {
    return nullptr;
  }
  // The file comes first: a crash right after the change must not leave it without one.
  auto marker = *before ? StatusMarker::join(folder) : StatusMarker::hold(folder);
  if (*before && !marker) {
    return std::make_unique<port::Announcement>();  // somebody else's choice, and nothing to be put back
  }
  if (!marker) {
    return nullptr;
  }
  auto announcement = std::make_unique<OwnAnnouncement>(std::move(session), std::move(*marker));
  return announcement->begin(*before, deadline) ? std::move(announcement) : nullptr;
}

bool AccessibilityStatus::announceForGood(const std::string& folder) {
  const std::uint64_t deadline = monotonicMicroseconds() + kPatience;
  const auto session = AtspiLink::openSessionBus();
  if (!session || !write(*session, true, deadline)) {
    return false;
  }
  StatusMarker::remove(folder);
  return true;
}

void AccessibilityStatus::putBackLeftovers(const std::string& folder) {
  const auto marker = StatusMarker::abandoned(folder);
  if (!marker) {
    return;
  }
  const std::uint64_t deadline = monotonicMicroseconds() + kPatience;
  const auto session = AtspiLink::openSessionBus();
  if (!session) {
    return;
  }
  const bool isNeeded = readProperty(*session, kScreenReader, deadline).value_or(false);
  if (isNeeded || write(*session, false, deadline)) {
    marker->remove();
  }
}

}  // namespace zqlogging
