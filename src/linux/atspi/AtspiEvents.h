#pragma once

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux/atspi/AtspiBus.h"
#include "linux/atspi/AtspiObject.h"
#include "linux/atspi/AtspiVocabulary.h"
#include "linux/loop/DesktopThread.h"
#include "linux/loop/SdBusSource.h"

namespace zqlogging {

/// The events of the accessibility bus, on a connection of its own that is opened again when the bus has gone away.
/// Applications speak up only while the registry knows of a listener: it is told when the first subscription to an
/// event comes and when the last one goes, and again when it has come back. Everything belongs on the desktop thread,
/// which it keeps running.
class AtspiEvents : public std::enable_shared_from_this<AtspiEvents> {
 public:
  using Handler = std::function<void(const AtspiObject& source)>;
  /// A subscription; destroying it ends it.
  class Subscription;

  AtspiEvents(AtspiBus& bus, std::shared_ptr<DesktopThread::Loop> loop);
  AtspiEvents(const AtspiEvents&) = delete;
  AtspiEvents& operator=(const AtspiEvents&) = delete;
  ~AtspiEvents();

  /// Calls the handler for each such event of a process, or of all processes. The process may come to the bus later;
  /// `senders` are the bus names that it is known to have now. `listening` is called with the root of each application
  /// of the process from whose events on none is missed.
  std::unique_ptr<Subscription> subscribe(std::optional<std::int32_t> pid, const std::vector<std::string>& senders,
                                          const EventRow& event, Handler handler, Handler listening = nullptr);

  /// Connects where there is no connection, or one to another bus: after the bus has died, or before it has come.
  bool connect();

 private:
  struct Subscriber;
  struct Match;
  struct Stranger;

  void addMatch(const std::shared_ptr<Subscriber>& subscriber, const std::string& sender);
  void registerEvent(std::string_view name, bool wanted);
  SdBusMessagePtr newRegistryCall(const char* path, const char* interface, const char* member) const;
  void watchApplications();
  void askWhoAppeared(const std::string& sender);
  void disconnected();
  void retryLater();
  static int receive(sd_bus_message* signal, void* match, sd_bus_error* error);
  static int nowListening(sd_bus_message* reply, void* match, sd_bus_error* error);
  static int registryChanged(sd_bus_message* signal, void* events, sd_bus_error* error);
  static int applicationAppeared(sd_bus_message* signal, void* events, sd_bus_error* error);
  static int applicationsListed(sd_bus_message* reply, void* events, sd_bus_error* error);
  static int strangerIdentified(sd_bus_message* reply, void* stranger, sd_bus_error* error);

  AtspiBus& bus_;
  const std::shared_ptr<DesktopThread::Loop> loop_;
  std::uint32_t busNumber_ = 0;
  bool isRetryScheduled_ = false;
  unsigned retryDelay_ = 0;            ///< milliseconds
  std::vector<SdBusSlotPtr> watches_;  ///< of the registry and of the applications that come
  std::list<Stranger> strangers_;      ///< applications whose process has been asked for
  std::list<std::shared_ptr<Subscriber>> subscribers_;
  std::map<std::string, int, std::less<>> registered_;  ///< how many subscriptions an event has
  std::unique_ptr<SdBusSource> source_;
};

class AtspiEvents::Subscription {
 public:
  Subscription(std::shared_ptr<AtspiEvents> events, std::shared_ptr<Subscriber> subscriber)
      : events_(std::move(events)), subscriber_(std::move(subscriber)) {}
  Subscription(const Subscription&) = delete;
  Subscription& operator=(const Subscription&) = delete;
  ~Subscription();

 private:
  std::shared_ptr<AtspiEvents> events_;
  std::shared_ptr<Subscriber> subscriber_;
};

}  // namespace zqlogging
