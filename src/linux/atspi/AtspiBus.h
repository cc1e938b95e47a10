#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "linux/atspi/AtspiLink.h"

namespace zqlogging {

/// Finds the accessibility bus through the session bus and keeps connections to it for the threads that read. They are
/// opened when needed; when the bus has died, the next reader looks for a new one. Any thread.
///
/// Applications offer direct connections as well, which would spare the way through the bus. They are left alone:
/// Chromium has been seen to crash when one was closed while its menus opened and closed.
class AtspiBus {
 public:
  /// `newBus` is called when another bus than before has been found, on the thread that found it.
  explicit AtspiBus(std::function<void()> newBus) : newBus_(std::move(newBus)) {}

  using LinkPtr = std::unique_ptr<AtspiLink, std::function<void(AtspiLink*)>>;

  /// A connection for the calling thread to use until it drops the pointer; null when there is no bus, or when it is
  /// known not to answer now. Waits a quarter of a second at most for the bus to be found, and again for the registry
  /// of a bus that is new; less and less often when they do not answer.
  LinkPtr link();

  /// The address of the accessibility bus and its number; empty when there is none. The first call on a session may
  /// start the bus, and then takes a moment.
  struct Address {
    std::string text;
    std::uint32_t number = 0;
  };
  Address address();

  /// The bus with that number has gone away.
  void forget(std::uint32_t number);

  /// Asks the session whether there is another bus by now: an old one may outlive the service that announced it. Not
  /// more often than every few seconds unless `now`.
  void lookForAnotherBus(bool now);

  /// Whether the bus and its registry answer now. Asks them, and waits a quarter of a second at most once it has met
  /// them; the first time it may start them.
  bool answers();

  /// Tells the session that an assistive technology runs, for toolkits that wait for one before they say anything.
  static void announceAssistiveTechnology();

 private:
  std::unique_ptr<AtspiLink> open();

  const std::function<void()> newBus_;
  std::mutex mutex_;
  Address address_;
  std::uint64_t lookedAt_ = 0;
  std::uint64_t askAgainAt_ = 0;  ///< after there was no answer
  std::uint64_t askAgainDelay_ = 0;
  std::uint32_t greeted_ = 0;       ///< the number of the last bus that we have met
  std::uint64_t greetAgainAt_ = 0;  ///< after its registry did not answer
  std::vector<std::unique_ptr<AtspiLink>> idle_;
};

}  // namespace zqlogging
