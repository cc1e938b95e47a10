#include "linux/atspi/AtspiCalls.h"

#include <algorithm>

#include "linux/atspi/AtspiStatistics.h"
#include "linux/system/MonotonicTime.h"

namespace zqlogging {

using port::ResultCode;

namespace {

// Microseconds that one event may lose to applications that do not answer, and that it may wait in all.
constexpr std::uint64_t kMaxLost = 250'000;
constexpr std::uint64_t kMaxWaited = 1'000'000;

}  // namespace

std::vector<AtspiObject> AtspiCalls::sendAndWait(double seconds) {
  std::vector<AtspiObject> asked;
  std::list<Sent> all;  // at addresses that stay
  unanswered_ = 0;
  for (AtspiCall& call : collected_) {
    asked.push_back(call.object);
    all.push_back({this, std::move(call), nullptr, false});
  }
  collected_.clear();
  if (all.empty()) {
    return asked;
  }
  for (Sent& sent : all) {
    unanswered_ += send(sent) ? 1 : 0;
  }
  AtspiStatistics::calls += unanswered_;
  ++AtspiStatistics::waits;

  const std::uint64_t start = monotonicMicroseconds();
  const std::uint64_t left = std::min(kMaxLost - std::min(lost_, kMaxLost), kMaxWaited - std::min(waited_, kMaxWaited));
  const std::uint64_t deadline = start + std::min(static_cast<std::uint64_t>(seconds * 1e6), left);
  while (link_->process() && unanswered_ > 0 && monotonicMicroseconds() < deadline) {
    link_->waitUntil(deadline);
  }
  const std::uint64_t took = monotonicMicroseconds() - start;
  waited_ += took;
  if (unanswered_ > 0) {
    ++AtspiStatistics::timeOuts;
    lost_ += took;
    link_->suspect();
    giveUpUnanswered(all);
  }
  return asked;
}

bool AtspiCalls::send(Sent& sent) {
  const auto& [object, request, arguments] = sent.call;
  const SdBusMessagePtr message(newCall(link_->bus(), request, object, arguments));
  sd_bus_slot* slot = nullptr;
  if (!message || sd_bus_call_async(link_->bus(), &slot, message.get(), receive, &sent, UINT64_MAX) < 0) {
    sent.answered = true;
    keep_(sent.call, {ResultCode::cannotComplete, {}});
    return false;
  }
  sent.slot.reset(slot);
  return true;
}

int AtspiCalls::receive(sd_bus_message* reply, void* data, sd_bus_error* /*error*/) {
  Sent& sent = *static_cast<Sent*>(data);
  AtspiCalls& calls = *sent.calls;
  sent.answered = true;
  --calls.unanswered_;
  calls.keep_(sent.call, readAnswer(reply, sent.call.request, calls.busNumber()));
  return 0;
}

void AtspiCalls::giveUpUnanswered(std::list<Sent>& all) {
  for (Sent& sent : all) {
    if (sent.answered) {
      continue;
    }
    sent.slot.reset();
    givenUp_.insert(sent.call.object.application);
    keep_(sent.call, {ResultCode::cannotComplete, {}});
  }
}

}  // namespace zqlogging
