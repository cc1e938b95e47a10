#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/linux/AtspiLink.h"

namespace zqlogging {

/// The connections of one reading thread: one to the accessibility bus, and one to each application that offers a
/// direct one, which spares the way through the bus.
struct AtspiLinks {
  std::uint32_t busNumber = 0;
  std::unique_ptr<AtspiLink> bus;
  std::unordered_map<std::string, std::unique_ptr<AtspiLink>> direct;  ///< by bus name

  /// Handles what has arrived meanwhile and closes what is lost; false when the bus is.
  bool refresh();
};

/// Finds the accessibility bus through the session bus and keeps connections to it for the threads that read. They are
/// opened when needed; when the bus has died, the next reader looks for a new one. Any thread.
class AtspiBus {
 public:
  /// `newBus` is called when another bus than before has been found, on the thread that found it.
  explicit AtspiBus(std::function<void()> newBus) : newBus_(std::move(newBus)) {}

  using LinksPtr = std::unique_ptr<AtspiLinks, std::function<void(AtspiLinks*)>>;

  /// Connections for the calling thread to use until it drops the pointer; null when there is no bus.
  LinksPtr links();

  /// The address of the accessibility bus and its number; empty when there is none. The first call on a session may
  /// start the bus, and then takes a moment.
  struct Address {
    std::string text;
    std::uint32_t number = 0;
  };
  Address address();

  /// Whether the bus and its registry answer now. Asks them, and waits a quarter of a second at most once it has met
  /// them; the first time it may start them.
  bool answers();

  /// Tells the session that an assistive technology runs, for toolkits that wait for one before they say anything.
  static void announceAssistiveTechnology();

 private:
  std::unique_ptr<AtspiLinks> open();
  void forget(std::uint32_t number);

  const std::function<void()> newBus_;
  std::mutex mutex_;
  Address address_;
  std::uint32_t greeted_ = 0;  ///< the number of the last bus that we have met
  std::vector<std::unique_ptr<AtspiLinks>> idle_;
};

}  // namespace zqlogging
