#include "linux/session/BusLook.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "linux/atspi/AtspiLink.h"
#include "linux/atspi/AtspiObject.h"
#include "linux/session/AccessibilityStatus.h"
#include "linux/system/MonotonicTime.h"

namespace zqlogging {

namespace {

using port::Answer;
using Presence = port::SeenApplication::Presence;

constexpr std::uint64_t kAnswerTime = 300'000;  // microseconds
constexpr std::uint64_t kStartTime = 1'000'000;
constexpr std::size_t kMostApplications = 200;
constexpr std::size_t kMostWindows = 8;  // of one application
constexpr const char* kBusName = "org.freedesktop.DBus";
constexpr const char* kBusPath = "/org/freedesktop/DBus";
constexpr const char* kAccessible = "org.a11y.atspi.Accessible";

struct Place {
  std::string sender, path;
};

std::uint64_t after(std::uint64_t time, std::uint64_t deadline) {
  return std::min(monotonicMicroseconds() + time, deadline);
}

SdBusMessagePtr newCall(AtspiLink& link, const char* destination, const char* path, const char* interface,
                        const char* member) {
  sd_bus_message* message = nullptr;
  sd_bus_message_new_method_call(link.bus(), &message, destination, path, interface, member);
  return SdBusMessagePtr(message);
}

bool isGood(const SdBusMessagePtr& reply) { return reply && !sd_bus_message_is_method_error(reply.get(), nullptr); }

Answer answerIn(const SdBusMessagePtr& reply) {
  return isGood(reply) ? Answer::inTime : reply ? Answer::none : Answer::late;
}

/// Sends all calls together; a reply is null when it did not come in time.
std::vector<SdBusMessagePtr> callAll(AtspiLink& link, const std::vector<SdBusMessagePtr>& calls,
                                     std::uint64_t deadline) {
  struct Awaited {
    SdBusMessagePtr reply;
    std::size_t* open;
  };
  std::size_t open = 0;
  std::vector<Awaited> awaited(calls.size());
  std::vector<SdBusSlotPtr> slots;
  for (std::size_t i = 0; i < calls.size(); ++i) {
    awaited[i].open = &open;
    sd_bus_slot* slot = nullptr;
    const auto keep = [](sd_bus_message* reply, void* data, sd_bus_error* /*error*/) {
      auto& into = *static_cast<Awaited*>(data);
      into.reply.reset(sd_bus_message_ref(reply));
      --*into.open;
      return 0;
    };
    if (calls[i] && sd_bus_call_async(link.bus(), &slot, calls[i].get(), keep, &awaited[i], UINT64_MAX) >= 0) {
      slots.emplace_back(slot);
      ++open;
    }
  }
  while (link.process() && open > 0 && monotonicMicroseconds() < deadline) {
    link.waitUntil(deadline);
  }
  slots.clear();
  std::vector<SdBusMessagePtr> replies;
  for (Awaited& each : awaited) {
    replies.push_back(std::move(each.reply));
  }
  return replies;
}

std::vector<Place> placesIn(const SdBusMessagePtr& reply) {
  std::vector<Place> places;
  const char *sender = nullptr, *path = nullptr;
  if (isGood(reply) && sd_bus_message_enter_container(reply.get(), 'a', "(so)") > 0) {
    while (places.size() < kMostApplications && sd_bus_message_read(reply.get(), "(so)", &sender, &path) > 0) {
      places.push_back({sender, path});
    }
  }
  return places;
}

SdBusMessagePtr askChildren(AtspiLink& link, const Place& place) {
  return newCall(link, place.sender.c_str(), place.path.c_str(), kAccessible, "GetChildren");
}

/// One root object on the bus, while it is looked at.
struct Root {
  Place place;
  std::int32_t pid = -1;
  Presence presence = Presence::complete;  // nor is anything wrong with an application that has no windows
};

/// Whether the windows show anything: a frame around nothing, as a tree that is off has it, is nothing.
void lookIntoWindows(AtspiLink& link, std::vector<Root>& roots, std::uint64_t deadline) {
  struct Open {
    Root* root;
    Place place;
  };
  std::vector<SdBusMessagePtr> calls;
  for (const Root& root : roots) {
    calls.push_back(askChildren(link, root.place));
  }
  std::vector<SdBusMessagePtr> replies = callAll(link, calls, after(kAnswerTime, deadline));
  std::vector<Open> open;
  for (std::size_t i = 0; i < roots.size(); ++i) {
    if (!isGood(replies[i])) {
      roots[i].presence = Presence::silent;
      continue;
    }
    std::vector<Place> windows = placesIn(replies[i]);
    windows.resize(std::min(windows.size(), kMostWindows));
    for (Place& window : windows) {
      roots[i].presence = Presence::empty;
      open.push_back({&roots[i], std::move(window)});
    }
  }
  constexpr int kFrames = 3;
  for (int depth = 0; depth < kFrames && !open.empty(); ++depth) {
    calls.clear();
    for (const Open& each : open) {
      calls.push_back(askChildren(link, each.place));
    }
    replies = callAll(link, calls, after(kAnswerTime, deadline));
    std::vector<Open> deeper;
    for (std::size_t i = 0; i < open.size(); ++i) {
      std::vector<Place> children = placesIn(replies[i]);
      if (!replies[i]) {
        open[i].root->presence = Presence::silent;
      } else if (children.size() > 1 || (children.size() == 1 && depth + 1 == kFrames)) {
        open[i].root->presence = Presence::complete;
      } else if (children.size() == 1) {
        deeper.push_back({open[i].root, std::move(children.front())});
      }
    }
    std::erase_if(deeper, [](const Open& each) { return each.root->presence != Presence::empty; });
    open = std::move(deeper);
  }
}

void lookAtApplications(AtspiLink& link, BusLook& look, const std::vector<Place>& places, std::uint64_t deadline) {
  std::vector<Root> roots;
  std::vector<SdBusMessagePtr> calls;
  for (const Place& place : places) {
    roots.push_back({place});
    calls.push_back(newCall(link, kBusName, kBusPath, kBusName, "GetConnectionUnixProcessID"));
    if (calls.back()) {
      sd_bus_message_append(calls.back().get(), "s", place.sender.c_str());
    }
  }
  const std::vector<SdBusMessagePtr> replies = callAll(link, calls, after(kAnswerTime, deadline));
  for (std::size_t i = 0; i < roots.size(); ++i) {
    std::uint32_t pid = 0;
    if (isGood(replies[i]) && sd_bus_message_read(replies[i].get(), "u", &pid) > 0) {
      roots[i].pid = static_cast<std::int32_t>(pid);
    }
  }
  lookIntoWindows(link, roots, deadline);
  for (const Root& root : roots) {
    // One process may be there twice, with an empty registration beside the real one.
    const auto [known, isNew] = look.applications.emplace(root.pid, root.presence);
    known->second = std::min(known->second, root.presence);
  }
}

std::string addressOf(AtspiLink& session, BusLook& look, std::uint64_t deadline) {
  if (const char* address = std::getenv("AT_SPI_BUS_ADDRESS")) {
    return address;
  }
  const auto reply = session.call(newCall(session, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress"),
                                  after(kStartTime, deadline));
  look.accessibilityBus = answerIn(reply);
  const char* address = nullptr;
  return isGood(reply) && sd_bus_message_read(reply.get(), "s", &address) > 0 ? address : "";
}

}  // namespace

BusLook lookAtBuses(std::uint64_t deadline) {
  BusLook look;
  const auto session = AtspiLink::openSessionBus();
  if (!session) {
    return look;
  }
  look.sessionBus =
      answerIn(session->call(newCall(*session, kBusName, kBusPath, kBusName, "GetId"), after(kAnswerTime, deadline)));
  if (look.sessionBus != Answer::inTime) {
    return look;
  }
  const std::string address = addressOf(*session, look, deadline);
  look.listenerAnnounced = AccessibilityStatus::read(*session, after(kAnswerTime, deadline));
  const auto bus = address.empty() ? nullptr : AtspiLink::open(address, 0);
  if (!bus) {
    return look;
  }
  look.accessibilityBus =
      answerIn(bus->call(newCall(*bus, kBusName, kBusPath, kBusName, "GetId"), after(kAnswerTime, deadline)));
  if (look.accessibilityBus != Answer::inTime) {
    return look;
  }
  // A registry that is not there yet is started by the question.
  const auto roots = bus->call(askChildren(*bus, {AtspiObject::kRegistryName, AtspiObject::kRootPath}),
                               after(kStartTime / 2, deadline));
  look.registry = answerIn(roots);
  lookAtApplications(*bus, look, placesIn(roots), deadline);
  return look;
}

}  // namespace zqlogging
