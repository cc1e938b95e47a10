#pragma once

#include <cstdint>
#include <vector>

#include "linux/atspi/AtspiPrefetch.h"

namespace zqlogging {

/// The reads about one event, on one thread. Requests are collected and sent together when an answer is waited for;
/// each answer is kept. An application that has let a wait run out is not asked again.
class AtspiBatch {
 public:
  AtspiBatch(AtspiBus& bus, AtspiApplications& applications) : answers_(bus, applications), prefetch_(answers_) {}

  /// The answer. Waits for it unless it is known, `seconds` at most each time that something is sent.
  const AtspiAnswer& read(const AtspiObject& object, AtspiRequest request, double seconds);
  /// The children at `index` and after, at most `maxCount` of them; part of them when the list is long. Waits.
  AtspiAnswer readChildren(const AtspiObject& object, int index, int maxCount, double seconds);

  /// The next wait, whatever it is for, brings the answer along.
  void prefetch(const AtspiObject& object, AtspiRequest request) { answers_.ask(object, request); }
  /// Like `prefetch` for a request of the component interface, about an object that is known to have it.
  void prefetchComponent(const AtspiObject& object, AtspiRequest request);
  /// The next waits bring along all that serves the needs, which are AtspiNeeds.
  void prefetchFor(const AtspiObject& object, unsigned needs) { prefetch_.add(object, needs); }
  [[nodiscard]] bool isPrefetched(const AtspiObject& object) const { return prefetch_.hasNeeds(object); }

  /// Whether the object has turned out to be another one's parent.
  [[nodiscard]] bool isKnownParent(const AtspiObject& object) const { return prefetch_.isKnownParent(object); }
  /// The screen point that AtspiRequest::atPoint asks about.
  void setPoint(int x, int y) { answers_.setPoint(x, y); }

  [[nodiscard]] AtspiApplications& applications() const { return answers_.applications(); }
  /// The connection to the bus, for calls that read nothing; null without a bus.
  [[nodiscard]] AtspiLink* link() const { return answers_.calls().link(); }
  [[nodiscard]] std::uint32_t busNumber() const { return answers_.calls().busNumber(); }

 private:
  bool sendAndWait(double seconds);

  AtspiAnswers answers_;
  AtspiPrefetch prefetch_;
};

}  // namespace zqlogging
