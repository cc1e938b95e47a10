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

/// The login manager and a screen saver may both tell of the same lock: only changes are announced.
class Lock {
 public:
  explicit Lock(SystemNotifications::Announce announce) : announce_(std::move(announce)) {}
  void set(bool locked) {
    if (locked != locked_) {
      locked_ = locked;
      announce_(locked ? NotificationName::screenLocked : NotificationName::screenUnlocked);
    }
  }

 private:
  const SystemNotifications::Announce announce_;
  std::optional<bool> locked_;
};

}  // namespace

SystemNotifications::SystemNotifications(const Announce& announce) {
  const auto lock = std::make_shared<Lock>(announce);
  if (auto bus = BusSignals::open(BusSignals::Bus::system)) {
    const std::string manager = "org.freedesktop.login1";
    bus->add(signalRule(manager, manager + ".Manager", "PrepareForShutdown"), [announce](sd_bus_message* signal) {
      if (flagOf(signal)) {
        announce(NotificationName::willPowerOff);
      }
    });
    bus->add(signalRule(manager, manager + ".Manager", "PrepareForSleep"), [announce](sd_bus_message* signal) {
      announce(flagOf(signal) ? NotificationName::willSleep : NotificationName::screensDidWake);
    });
    if (const auto session = loginSessionPath()) {
      const std::string ofSession = ",path='" + *session + "'";
      bus->add(signalRule(manager, manager + ".Session", "Lock") + ofSession,
               [lock](sd_bus_message*) { lock->set(true); });
      bus->add(signalRule(manager, manager + ".Session", "Unlock") + ofSession,
               [lock](sd_bus_message*) { lock->set(false); });
    }
    bus->start();
    buses_.push_back(std::move(bus));
  }
  if (auto bus = BusSignals::open(BusSignals::Bus::session)) {
    for (const std::string saver : {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver"}) {
      bus->add(signalRule(saver, saver, "ActiveChanged"),
               [lock](sd_bus_message* signal) { lock->set(flagOf(signal)); });
    }
    bus->start();
    buses_.push_back(std::move(bus));
  }
}

}  // namespace zqlogging
