#include "linux/atspi/AtspiBus.h"

#include <algorithm>
#include <cstdlib>

#include "linux/atspi/AtspiObject.h"
#include "linux/system/MonotonicTime.h"

namespace zqlogging {

namespace {

constexpr std::uint64_t kStartTime = 1'000'000;  // microseconds: the bus may have to be started
constexpr std::uint64_t kAnswerTime = 250'000;
constexpr std::uint64_t kLookInterval = 5'000'000;
constexpr std::uint64_t kFirstDelay = 250'000;
constexpr std::uint64_t kLastDelay = 8'000'000;
constexpr std::size_t kMaxIdleLinks = 2;

SdBusMessagePtr newMessage(const AtspiLink& link, const char* destination, const char* path, const char* interface,
                           const char* member) {
  sd_bus_message* message = nullptr;
  sd_bus_message_new_method_call(link.bus(), &message, destination, path, interface, member);
  return SdBusMessagePtr(message);
}

bool isAnswer(const SdBusMessagePtr& reply) { return reply && !sd_bus_message_is_method_error(reply.get(), nullptr); }

std::string askForAddress(std::uint64_t patience) {
  if (const char* address = std::getenv("AT_SPI_BUS_ADDRESS")) {
    return address;
  }
  const auto session = AtspiLink::openSessionBus();
  if (!session) {
    return {};
  }
  const auto reply = session->call(newMessage(*session, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress"),
                                   monotonicMicroseconds() + patience);
  const char* address = nullptr;
  return isAnswer(reply) && sd_bus_message_read(reply.get(), "s", &address) > 0 ? address : "";
}

/// Starts the registry where there is none yet.
bool startRegistry(AtspiLink& bus) {
  const auto message =
      newMessage(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "StartServiceByName");
  constexpr std::uint32_t kNoFlags = 0;
  if (!message || sd_bus_message_append(message.get(), "su", AtspiObject::kRegistryName, kNoFlags) < 0) {
    return false;
  }
  return isAnswer(bus.call(message, monotonicMicroseconds() + kAnswerTime));
}

bool registryAnswers(AtspiLink& bus) {
  const auto message =
      newMessage(bus, AtspiObject::kRegistryName, AtspiObject::kRootPath, "org.a11y.atspi.Accessible", "GetRole");
  if (message) {
    sd_bus_message_set_auto_start(message.get(), 0);
  }
  return isAnswer(bus.call(message, monotonicMicroseconds() + kAnswerTime));
}

}  // namespace

AtspiBus::Address AtspiBus::address() {
  {
    const std::lock_guard lock(mutex_);
    if (!address_.text.empty() || monotonicMicroseconds() < askAgainAt_) {
      return address_;
    }
  }
  const std::string found = askForAddress(kAnswerTime);
  const std::lock_guard lock(mutex_);
  if (found.empty()) {
    askAgainDelay_ = std::clamp(askAgainDelay_ * 2, kFirstDelay, kLastDelay);
    askAgainAt_ = monotonicMicroseconds() + askAgainDelay_;
  } else {
    askAgainDelay_ = 0;
  }
  if (address_.text.empty() && !found.empty()) {
    address_ = {found, address_.number + 1};
  }
  return address_;
}

void AtspiBus::forget(std::uint32_t number) {
  const std::lock_guard lock(mutex_);
  if (address_.number == number) {
    address_.text.clear();
  }
}

std::unique_ptr<AtspiLink> AtspiBus::open() {
  constexpr int kAttempts = 2;  // the address may be that of a bus that has died
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const Address at = address();
    if (at.text.empty()) {
      return nullptr;
    }
    auto link = AtspiLink::open(at.text, at.number);
    if (link && link->process()) {
      return link;
    }
    forget(at.number);
  }
  return nullptr;
}

AtspiBus::LinkPtr AtspiBus::link() {
  std::unique_ptr<AtspiLink> link;
  {
    const std::lock_guard lock(mutex_);
    if (!idle_.empty()) {
      link = std::move(idle_.back());
      idle_.pop_back();
    }
  }
  if (link && !link->process()) {
    forget(link->busNumber());
    link.reset();
  }
  if (link && link->busNumber() != address().number) {
    link.reset();
  }
  if (!link) {
    link = open();
  }
  if (link && link->isStalled()) {
    const std::lock_guard lock(mutex_);
    idle_.push_back(std::move(link));
    return nullptr;
  }
  bool isNew = false;
  if (link) {
    const std::lock_guard lock(mutex_);
    isNew = greeted_ != link->busNumber() && monotonicMicroseconds() >= greetAgainAt_;
    greeted_ = isNew ? link->busNumber() : greeted_;
  }
  if (isNew) {
    if (!startRegistry(*link)) {
      const std::lock_guard lock(mutex_);
      greeted_ = 0;
      greetAgainAt_ = monotonicMicroseconds() + kLookInterval;
    }
    newBus_();
  }
  return {link.release(), [this](AtspiLink* used) {
            std::unique_ptr<AtspiLink> returned(used);
            const std::lock_guard lock(mutex_);
            const bool isCurrent = returned->busNumber() == address_.number;
            if (isCurrent && idle_.size() < kMaxIdleLinks) {
              idle_.push_back(std::move(returned));
            }
          }};
}

void AtspiBus::lookForAnotherBus(bool now) {
  {
    const std::lock_guard lock(mutex_);
    const std::uint64_t time = monotonicMicroseconds();
    if (!now && time - lookedAt_ < kLookInterval) {
      return;
    }
    lookedAt_ = time;
  }
  const std::string found = askForAddress(now ? kStartTime : kAnswerTime);
  const std::lock_guard lock(mutex_);
  if (!found.empty() && found != address_.text) {
    address_ = {found, address_.number + 1};
  }
}

bool AtspiBus::answers() {
  lookForAnotherBus(true);
  const LinkPtr connection = link();
  return connection && registryAnswers(*connection);
}

void AtspiBus::announceAssistiveTechnology() {
  const auto session = AtspiLink::openSessionBus();
  if (!session) {
    return;
  }
  const auto message = newMessage(*session, "org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", "Set");
  constexpr int kOn = 1;
  if (message && sd_bus_message_append(message.get(), "ssv", "org.a11y.Status", "IsEnabled", "b", kOn) >= 0) {
    session->call(message, monotonicMicroseconds() + kStartTime);
  }
}

}  // namespace zqlogging
