#include "linux/atspi/AtspiEvents.h"

#include <algorithm>

namespace zqlogging {

namespace {

constexpr const char* kEventInterfacePrefix = "org.a11y.atspi.Event.";
constexpr const char* kRegistryInterface = "org.a11y.atspi.Registry";
constexpr const char* kRegistryPath = "/org/a11y/atspi/registry";
constexpr const char* kRegistryRule =
    "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',arg0='org.a11y.atspi.Registry'";
constexpr const char* kApplicationsRule =
    "type='signal',sender='org.a11y.atspi.Registry',path='/org/a11y/atspi/accessible/root',"
    "interface='org.a11y.atspi.Event.Object',member='ChildrenChanged',arg0='add'";

std::string ruleFor(const EventRow& event, const std::string& sender) {
  std::string rule = "type='signal',interface='" + std::string(kEventInterfacePrefix) + std::string(event.interface) +
                     "',member='" + std::string(event.member) + "'";
  if (!sender.empty()) {
    rule += ",sender='" + sender + "'";
  }
  if (!event.detail.empty()) {
    rule += ",arg0='" + std::string(event.detail) + "'";
  }
  return rule;
}

/// The subscription's flag in an event, which follows its detail.
bool hasFlag(sd_bus_message* signal, std::int32_t required) {
  if (required < 0) {
    return true;
  }
  const char* detail = nullptr;
  std::int32_t flag = -1;
  return sd_bus_message_read(signal, "si", &detail, &flag) > 0 && flag == required;
}

}  // namespace

/// One match rule on the bus.
struct AtspiEvents::Match {
  AtspiEvents* events;
  std::weak_ptr<Subscriber> subscriber;
  std::string sender;
  SdBusSlotPtr slot;
  SdBusSlotPtr registryAsked;
};

struct AtspiEvents::Subscriber {
  std::optional<std::int32_t> pid;
  std::vector<std::string> senders;
  const EventRow* event = nullptr;
  Handler handler;
  Handler listening;
  std::list<Match> matches;  // at addresses that stay
};

/// An application that has come to the bus and whose process is not known yet.
struct AtspiEvents::Stranger {
  AtspiEvents* events;
  std::string sender;
  SdBusSlotPtr slot;
};

AtspiEvents::AtspiEvents(AtspiBus& bus, std::shared_ptr<DesktopThread::Loop> loop)
    : bus_(bus), loop_(std::move(loop)) {}

AtspiEvents::~AtspiEvents() = default;

bool AtspiEvents::connect() {
  const AtspiBus::Address address = bus_.address();
  if (source_ && busNumber_ == address.number) {
    return true;
  }
  if (source_) {
    disconnected();
  }
  sd_bus* bus = nullptr;
  if (address.text.empty() || sd_bus_new(&bus) < 0) {
    retryLater();
    return false;
  }
  if (sd_bus_set_address(bus, address.text.c_str()) < 0 || sd_bus_set_bus_client(bus, 1) < 0 || sd_bus_start(bus) < 0) {
    sd_bus_unref(bus);
    retryLater();
    return false;
  }
  busNumber_ = address.number;
  source_ = std::make_unique<SdBusSource>(
      bus, loop_->context(), [](void* events) { static_cast<AtspiEvents*>(events)->disconnected(); }, this);
  watchApplications();
  for (const auto& [name, count] : registered_) {
    registerEvent(name, true);
  }
  for (const auto& subscriber : subscribers_) {
    if (!subscriber->pid) {
      addMatch(subscriber, {});
    }
    for (const std::string& sender : subscriber->senders) {
      addMatch(subscriber, sender);
    }
  }
  return true;
}

/// The bus has died, and with it the bus names of all applications.
void AtspiEvents::disconnected() {
  const auto self = shared_from_this();
  for (const auto& subscriber : subscribers_) {
    subscriber->matches.clear();
    subscriber->senders.clear();
  }
  watches_.clear();
  strangers_.clear();
  source_.reset();
  bus_.forget(busNumber_);
  retryLater();
}

void AtspiEvents::retryLater() {
  constexpr unsigned kFirstRetry = 250;  // milliseconds
  constexpr unsigned kLastRetry = 10'000;
  if (subscribers_.empty() || std::exchange(isRetryScheduled_, true)) {
    return;
  }
  retryDelay_ = std::clamp(retryDelay_ * 2, kFirstRetry, kLastRetry);
  loop_->runAfter(retryDelay_, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) {
      self->isRetryScheduled_ = false;
      self->connect();
    }
  });
}

std::unique_ptr<AtspiEvents::Subscription> AtspiEvents::subscribe(std::optional<std::int32_t> pid,
                                                                  const std::vector<std::string>& senders,
                                                                  const EventRow& event, Handler handler,
                                                                  Handler listening) {
  auto subscriber = std::make_shared<Subscriber>();
  subscriber->pid = pid;
  subscriber->senders = senders;
  subscriber->event = &event;
  subscriber->handler = std::move(handler);
  subscriber->listening = std::move(listening);
  subscribers_.push_back(subscriber);
  const bool isFirst = registered_[std::string(event.registeredName)]++ == 0;
  if (source_) {
    if (isFirst) {
      registerEvent(event.registeredName, true);
    }
    if (!pid) {
      addMatch(subscriber, {});
    }
    for (const std::string& sender : senders) {
      addMatch(subscriber, sender);
    }
  } else {
    connect();
  }
  return std::make_unique<Subscription>(shared_from_this(), std::move(subscriber));
}

AtspiEvents::Subscription::~Subscription() {
  subscriber_->matches.clear();
  events_->subscribers_.remove(subscriber_);
  const auto registered = events_->registered_.find(subscriber_->event->registeredName);
  if (--registered->second > 0) {
    return;
  }
  events_->registerEvent(registered->first, false);
  events_->registered_.erase(registered);
}

void AtspiEvents::addMatch(const std::shared_ptr<Subscriber>& subscriber, const std::string& sender) {
  if (!source_) {
    return;
  }
  Match& match = subscriber->matches.emplace_back(Match{this, subscriber, sender, nullptr, nullptr});
  sd_bus_slot* slot = nullptr;
  if (sd_bus_add_match_async(source_->bus(), &slot, ruleFor(*subscriber->event, sender).c_str(), receive, nullptr,
                             &match) >= 0) {
    match.slot.reset(slot);
  }
  if (!subscriber->listening) {
    return;
  }
  // When the registry answers this, it has told the applications what is listened to, and the match is in force.
  const SdBusMessagePtr question = newRegistryCall(kRegistryPath, kRegistryInterface, "GetRegisteredEvents");
  sd_bus_slot* asked = nullptr;
  if (question && sd_bus_call_async(source_->bus(), &asked, question.get(), nowListening, &match, UINT64_MAX) >= 0) {
    match.registryAsked.reset(asked);
  }
}

/// A call that does not start the registry where there is none: it is told what is listened to when it comes.
SdBusMessagePtr AtspiEvents::newRegistryCall(const char* path, const char* interface, const char* member) const {
  sd_bus_message* message = nullptr;
  sd_bus_message_new_method_call(source_->bus(), &message, AtspiObject::kRegistryName, path, interface, member);
  if (message) {
    sd_bus_message_set_auto_start(message, 0);
  }
  return SdBusMessagePtr(message);
}

void AtspiEvents::registerEvent(std::string_view name, bool wanted) {
  if (!source_) {
    return;
  }
  const SdBusMessagePtr call =
      newRegistryCall(kRegistryPath, kRegistryInterface, wanted ? "RegisterEvent" : "DeregisterEvent");
  if (!call) {
    return;
  }
  sd_bus_message_set_expect_reply(call.get(), 0);
  if (sd_bus_message_append(call.get(), "s", std::string(name).c_str()) >= 0) {
    sd_bus_send(source_->bus(), call.get(), nullptr);
  }
}

void AtspiEvents::watchApplications() {
  sd_bus_slot *registry = nullptr, *applications = nullptr;
  sd_bus_add_match_async(source_->bus(), &registry, kRegistryRule, registryChanged, nullptr, this);
  sd_bus_add_match_async(source_->bus(), &applications, kApplicationsRule, applicationAppeared, nullptr, this);
  watches_.emplace_back(registry);
  watches_.emplace_back(applications);
  // One that is waited for may have come before the matches were in force.
  sd_bus_slot* listed = nullptr;
  const SdBusMessagePtr question = newRegistryCall(AtspiObject::kRootPath, "org.a11y.atspi.Accessible", "GetChildren");
  if (question &&
      sd_bus_call_async(source_->bus(), &listed, question.get(), applicationsListed, this, UINT64_MAX) >= 0) {
    watches_.emplace_back(listed);
  }
}

int AtspiEvents::receive(sd_bus_message* signal, void* data, sd_bus_error* /*error*/) {
  const Match& match = *static_cast<Match*>(data);
  const auto subscriber = match.subscriber.lock();  // the handler may end the subscription
  const char* sender = sd_bus_message_get_sender(signal);
  const char* path = sd_bus_message_get_path(signal);
  if (!subscriber || !sender || !path || !hasFlag(signal, subscriber->event->requiredFlag)) {
    return 0;
  }
  try {
    subscriber->handler({sender, path, match.events->busNumber_});
  } catch (...) {  // nothing may pass through the C code below
  }
  return 0;
}

int AtspiEvents::nowListening(sd_bus_message* /*reply*/, void* data, sd_bus_error* /*error*/) {
  const Match& match = *static_cast<Match*>(data);
  const auto subscriber = match.subscriber.lock();
  if (!subscriber) {
    return 0;
  }
  try {
    subscriber->listening({match.sender, AtspiObject::kRootPath, match.events->busNumber_});
  } catch (...) {  // nothing may pass through the C code below
  }
  return 0;
}

int AtspiEvents::registryChanged(sd_bus_message* signal, void* data, sd_bus_error* /*error*/) {
  auto& events = *static_cast<AtspiEvents*>(data);
  const char *name = nullptr, *before = nullptr, *now = nullptr;
  if (sd_bus_message_read(signal, "sss", &name, &before, &now) <= 0 || !*now) {
    return 0;
  }
  for (const auto& [event, count] : events.registered_) {
    events.registerEvent(event, true);
  }
  return 0;
}

int AtspiEvents::applicationAppeared(sd_bus_message* signal, void* data, sd_bus_error* /*error*/) {
  auto& events = *static_cast<AtspiEvents*>(data);
  const char *detail = nullptr, *sender = nullptr, *path = nullptr;
  std::int32_t index = 0, unused = 0;
  if (sd_bus_message_read(signal, "siiv", &detail, &index, &unused, "(so)", &sender, &path) > 0) {
    events.askWhoAppeared(sender);
  }
  return 0;
}

int AtspiEvents::applicationsListed(sd_bus_message* reply, void* data, sd_bus_error* /*error*/) {
  auto& events = *static_cast<AtspiEvents*>(data);
  events.retryDelay_ = 0;  // this bus works
  const bool isOneMissed =
      std::any_of(events.subscribers_.begin(), events.subscribers_.end(),
                  [](const auto& subscriber) { return subscriber->pid && subscriber->senders.empty(); });
  if (!isOneMissed || sd_bus_message_enter_container(reply, 'a', "(so)") <= 0) {
    return 0;
  }
  const char *sender = nullptr, *path = nullptr;
  while (sd_bus_message_read(reply, "(so)", &sender, &path) > 0) {
    events.askWhoAppeared(sender);
  }
  return 0;
}

void AtspiEvents::askWhoAppeared(const std::string& sender) {
  const bool anyoneWaits = std::any_of(subscribers_.begin(), subscribers_.end(),
                                       [](const auto& subscriber) { return subscriber->pid.has_value(); });
  if (!anyoneWaits) {
    return;
  }
  Stranger& stranger = strangers_.emplace_back(Stranger{this, sender, nullptr});
  sd_bus_slot* slot = nullptr;
  if (sd_bus_call_method_async(source_->bus(), &slot, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                               "org.freedesktop.DBus", "GetConnectionUnixProcessID", strangerIdentified, &stranger, "s",
                               sender.c_str()) < 0) {
    strangers_.pop_back();
    return;
  }
  stranger.slot.reset(slot);
}

int AtspiEvents::strangerIdentified(sd_bus_message* reply, void* data, sd_bus_error* /*error*/) {
  const auto* stranger = static_cast<Stranger*>(data);
  AtspiEvents& events = *stranger->events;
  std::uint32_t pid = 0;
  const bool identified = !sd_bus_message_is_method_error(reply, nullptr) && sd_bus_message_read(reply, "u", &pid) > 0;
  for (const auto& subscriber : events.subscribers_) {
    const bool isMeant = identified && subscriber->pid == static_cast<std::int32_t>(pid);
    const auto& senders = subscriber->senders;
    if (!isMeant || std::find(senders.begin(), senders.end(), stranger->sender) != senders.end()) {
      continue;
    }
    subscriber->senders.push_back(stranger->sender);
    events.addMatch(subscriber, stranger->sender);
  }
  events.strangers_.remove_if([&](const Stranger& other) { return &other == stranger; });
  return 0;
}

}  // namespace zqlogging
