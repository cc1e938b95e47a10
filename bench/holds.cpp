// The longest time that the host's main thread is held while something around it is broken, by a heartbeat of its main
// loop a thousand times a second: from before `start` until after `stop`.

#include "holds.h"

#include <cstdio>
#include <string>

#include "desktop/Holds.h"

namespace zqlogging::bench {
namespace {

using testing::Stopped;

std::shared_ptr<void> stopped(pid_t pid) { return pid > 1 ? std::make_shared<Stopped>(pid) : nullptr; }

}  // namespace

int printHolds() {
  const testing::Program program{{GTK_APP}};
  const auto storm = [&](const char* rate) {
    return [&program, rate]() -> std::shared_ptr<void> {
      program.send(std::string("storm ") + rate + " 6000");
      return nullptr;
    };
  };
  const auto owner = [](testing::Bus bus, const char* name) {
    return [pid = testing::ownerOf(bus, name)] { return stopped(pid); };
  };
  const struct {
    const char* state;
    std::function<std::shared_ptr<void>()> fallSick;
  } states[] = {
      {"healthy", [] { return std::shared_ptr<void>(); }},
      {"X server stopped", [] { return stopped(testing::xServerPid()); }},
      {"application stopped", [&] { return stopped(program.pid()); }},
      {"accessibility bus stopped", owner(testing::Bus::accessibility, "org.freedesktop.DBus")},
      {"registry stopped", owner(testing::Bus::accessibility, "org.a11y.atspi.Registry")},
      {"bus launcher stopped", owner(testing::Bus::session, "org.a11y.Bus")},
      {"session bus stopped", owner(testing::Bus::session, "org.freedesktop.DBus")},
      {"500 focus events a second", storm("500")},
      {"1,000 focus events a second", storm("1000")},
      {"5,000 focus events a second", storm("5000")},
  };
  testing::eventually([] { return systemDesktop()->accessibility().isProcessTrusted(false); });
  std::printf("%-32s %s\n", "state", "longest hold, ms");
  for (const auto& [state, fallSick] : states) {
    testing::SickDesktop session;
    const auto hold = session.longestHold(testing::milliseconds(6000), fallSick);
    std::printf("%-32s %lld\n", state, static_cast<long long>(hold.count()));
    std::fflush(stdout);
  }
  return 0;
}

}  // namespace zqlogging::bench
