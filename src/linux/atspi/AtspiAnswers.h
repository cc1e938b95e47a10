#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include "linux/atspi/AtspiApplications.h"
#include "linux/atspi/AtspiCalls.h"

namespace zqlogging {

/// The answers that one batch has got. Each request is sent once, and not before those that decide whether and how it
/// may be sent. One thread.
class AtspiAnswers {
 public:
  AtspiAnswers(AtspiBus& bus, AtspiApplications& applications);
  AtspiAnswers(const AtspiAnswers&) = delete;
  AtspiAnswers& operator=(const AtspiAnswers&) = delete;
  ~AtspiAnswers() = default;

  [[nodiscard]] AtspiApplications& applications() const { return applications_; }
  [[nodiscard]] const AtspiCalls& calls() const { return calls_; }

  /// The answer when it is there already; or else null, and the next wait brings the request forward.
  const AtspiAnswer* ask(const AtspiObject& object, AtspiRequest request);
  /// Whether the child's answer is there already; or else the next wait asks for it.
  bool askChildAt(const AtspiObject& object, int index);
  /// The child, when the answer is there and names one.
  const AtspiObject* knownChildAt(const AtspiObject& object, int index) const;

  /// The object is known to have the component interface, without asking for its interfaces.
  void setHasComponent(const AtspiObject& object) { entries_[object].hasComponent = true; }
  /// The screen point that AtspiRequest::atPoint asks about.
  void setPoint(int x, int y);

  /// Sends what has been asked for and waits for the answers, `seconds` at most. The objects that were asked.
  std::vector<AtspiObject> sendAndWait(double seconds);
  /// Nothing that could be sent leads to the answer.
  const AtspiAnswer& setFailed(const AtspiObject& object, AtspiRequest request);

 private:
  struct Entry {
    std::array<std::optional<AtspiAnswer>, kRequestCount> answers;
    std::map<int, std::optional<AtspiAnswer>> childAt;  ///< by index; empty while it is asked for
    std::bitset<kRequestCount> asked;                   ///< sent, or collected for the next wait
    std::bitset<kRequestCount> deferred;                ///< other answers decide whether and how they are sent
    bool hasComponent = false;
  };

  /// Whether a request may be sent now. If it may not, its answer is known already, or waits for another one.
  struct Readiness {
    bool maySend = false;
    std::optional<AtspiAnswer> answer = std::nullopt;
  };
  [[nodiscard]] std::optional<AtspiAnswer> answerWithoutAsking(const AtspiObject& object, AtspiRequest request) const;
  Readiness readiness(const AtspiObject& object, AtspiRequest request, AtspiArguments& arguments);
  Readiness readinessOfText(const AtspiObject& object, AtspiArguments& arguments);
  Readiness readinessOfChildren(const AtspiObject& object);
  void keep(const AtspiCall& call, AtspiAnswer answer);

  AtspiApplications& applications_;
  AtspiCalls calls_;
  std::unordered_map<AtspiObject, Entry, AtspiObjectHash> entries_;
  int x_ = 0, y_ = 0;
};

}  // namespace zqlogging
