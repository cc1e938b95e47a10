#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <unordered_set>
#include <vector>

#include "linux/atspi/AtspiBus.h"
#include "linux/atspi/AtspiRequest.h"

namespace zqlogging {

/// A request about one object.
struct AtspiCall {
  AtspiObject object;
  AtspiRequest request;
  AtspiArguments arguments;
};

/// Collects calls, sends them together and waits for the answers, within what one event may take in all. An
/// application that has let a wait run out is given up. One thread.
class AtspiCalls {
 public:
  using Keep = std::function<void(const AtspiCall& call, AtspiAnswer answer)>;

  /// `keep` receives the answer to each call, `cannotComplete` where none has come in time.
  AtspiCalls(AtspiBus& bus, Keep keep) : link_(bus.link()), keep_(std::move(keep)) {}
  AtspiCalls(const AtspiCalls&) = delete;
  AtspiCalls& operator=(const AtspiCalls&) = delete;
  ~AtspiCalls() = default;

  /// The connection to the bus; null without a bus.
  [[nodiscard]] AtspiLink* link() const { return link_.get(); }
  [[nodiscard]] std::uint32_t busNumber() const { return link_ ? link_->busNumber() : 0; }
  [[nodiscard]] bool isGivenUp(const AtspiObject& object) const { return givenUp_.contains(object.application); }

  /// The next wait will send the call.
  void add(AtspiCall call) { collected_.push_back(std::move(call)); }
  /// Sends what has been collected and waits for the answers, `seconds` at most. The objects that were asked; none when
  /// there was nothing to send.
  std::vector<AtspiObject> sendAndWait(double seconds);

 private:
  struct Sent {
    AtspiCalls* calls = nullptr;
    AtspiCall call;
    SdBusSlotPtr slot;
    bool answered = false;
  };
  static int receive(sd_bus_message* reply, void* sent, sd_bus_error* error);
  bool send(Sent& sent);
  void giveUpUnanswered(std::list<Sent>& all);

  AtspiBus::LinkPtr link_;
  const Keep keep_;
  std::vector<AtspiCall> collected_;
  std::unordered_set<std::string> givenUp_;  ///< bus names
  std::size_t unanswered_ = 0;
  std::uint64_t waited_ = 0;  ///< microseconds, in all waits
  std::uint64_t lost_ = 0;    ///< microseconds, in the waits that ran out
};

}  // namespace zqlogging
