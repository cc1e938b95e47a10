#include "linux/session/SystemNotifications.h"

#include <systemd/sd-login.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <string>

namespace zqlogging {
namespace {

using port::NotificationName;

struct Free {
  void operator()(char* text) const { std::free(text); }  // NOLINT: what libsystemd allocates
};
using AllocatedText = std::unique_ptr<char, Free>;

/// The login session that this process belongs to, or else the user's graphical one.
std::optional<std::string> loginSession() {
  if (const char* identifier = std::getenv("XDG_SESSION_ID")) {
    return identifier;
  }
  char* found = nullptr;
  if (sd_pid_get_session(0, &found) < 0 && sd_uid_get_display(getuid(), &found) < 0) {
    return std::nullopt;
  }
  return AllocatedText(found).get();
}

std::optional<std::string> loginSessionPath() {
  const auto session = loginSession();
  char* path = nullptr;
  if (!session || sd_bus_path_encode("/org/freedesktop/login1/session", session->c_str(), &path) < 0) {
    return std::nullopt;
  }
  return AllocatedText(path).get();
}

std::string signalRule(const std::string& sender, const std::string& interface, const std::string& member) {
  return "type='signal',sender='" + sender + "',interface='" + interface + "',member='" + member + "'";
}

bool flagOf(sd_bus_message* signal) {
  int flag = 0;
  return sd_bus_message_read(signal, "b", &flag) > 0 && flag != 0;
}

}  // namespace

/// The login manager and a screen saver may both tell of the same lock: only changes are announced.
class SystemNotifications::Lock {
 public:
  explicit Lock(Announce announce) : announce_(std::move(announce)) {}
  void set(bool locked) {
    if (locked != locked_) {
      locked_ = locked;
      announce_(locked ? NotificationName::screenLocked : NotificationName::screenUnlocked);
    }
  }

 private:
  const Announce announce_;
  std::optional<bool> locked_;
};

SystemNotifications::SystemNotifications(std::shared_ptr<DesktopThread::Loop> loop, Announce announce)
    : loop_(std::move(loop)), announce_(std::move(announce)), lock_(std::make_shared<Lock>(announce_)) {}

void SystemNotifications::start() {
  listenTo(BusSignals::Bus::system, false);
  listenTo(BusSignals::Bus::session, false);
}

void SystemNotifications::listenTo(BusSignals::Bus which, bool wasThere) {
  std::unique_ptr<BusSignals>& bus = buses_[which];
  bus = BusSignals::open(which);
  if (bus) {
    which == BusSignals::Bus::system ? addLoginManager(*bus) : addScreenSavers(*bus);
  } else if (!wasThere) {
    return;
  }
  const auto again = [weak = weak_from_this(), which] {
    const auto self = weak.lock();
    if (!self) {
      return;
    }
    constexpr unsigned kRetryDelay = 10'000;  // milliseconds
    self->loop_->runAfter(kRetryDelay, [weak, which] {
      if (const auto alive = weak.lock()) {
        alive->listenTo(which, true);
      }
    });
  };
  if (bus) {
    bus->start(loop_->context(), again);
  } else {
    again();
  }
}

void SystemNotifications::addLoginManager(BusSignals& bus) const {
  const std::string manager = "org.freedesktop.login1";
  bus.add(signalRule(manager, manager + ".Manager", "PrepareForShutdown"), [announce = announce_](auto* signal) {
    if (flagOf(signal)) {
      announce(NotificationName::willPowerOff);
    }
  });
  bus.add(signalRule(manager, manager + ".Manager", "PrepareForSleep"), [announce = announce_](auto* signal) {
    announce(flagOf(signal) ? NotificationName::willSleep : NotificationName::screensDidWake);
  });
  if (const auto session = loginSessionPath()) {
    const std::string ofSession = ",path='" + *session + "'";
    bus.add(signalRule(manager, manager + ".Session", "Lock") + ofSession, [lock = lock_](auto*) { lock->set(true); });
    bus.add(signalRule(manager, manager + ".Session", "Unlock") + ofSession,
            [lock = lock_](auto*) { lock->set(false); });
  }
}

void SystemNotifications::addScreenSavers(BusSignals& bus) const {
  for (const std::string saver : {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver"}) {
    bus.add(signalRule(saver, saver, "ActiveChanged"), [lock = lock_](auto* signal) { lock->set(flagOf(signal)); });
  }
}

}  // namespace zqlogging
