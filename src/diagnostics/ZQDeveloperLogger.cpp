#include "zqlogging/ZQDeveloperLogger.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <string>

#include "diagnostics/DeveloperTiers.h"

namespace zqlogging {
namespace {

struct TierText {
  std::string_view rawValue;
  std::string_view label;
};

// In the order of the cases, which is that of the raw values.
constexpr std::array<TierText, 5> kTiers = {{{"enhancedlogging", "[EnhancedLogging]"},
                                             {"http", "[HTTP]"},
                                             {"rawsocket", "[RawSocket]"},
                                             {"signalling", "[Signalling]"},
                                             {"webrtc", "[Webrtc]"}}};

constexpr std::string_view kMainThreadMark = "🔴 [UI]";
constexpr std::string_view kOtherThreadMark = "🔵 [BG]";
/// Subsystem of the lines when the host has no identifier.
constexpr std::string_view kFallbackSubsystem = "zqlogging";

constexpr unsigned bitOf(ZQDeveloperLogTier tier) { return 1U << static_cast<unsigned>(tier); }

/// Replaced as a whole; the mask alone answers for a tier that is off.
struct Switches {
  std::atomic<unsigned> mask = 0;
  std::mutex mutex;
  std::vector<ZQDeveloperLogTier> tiers;
  std::shared_ptr<port::Platform> desktop;
};

Switches& switches() {
  static auto* const shared = new Switches;  // never destroyed: other threads may log until the very end
  return *shared;
}

}  // namespace

std::optional<ZQDeveloperLogTier> ZQDeveloperLogTier::fromRawValue(std::string_view rawValue) {
  for (std::size_t i = 0; i < kTiers.size(); ++i) {
    if (kTiers[i].rawValue == rawValue) {
      return static_cast<Case>(i);
    }
  }
  return std::nullopt;
}

std::string_view ZQDeveloperLogTier::rawValue() const { return kTiers[value_].rawValue; }

std::string_view ZQDeveloperLogTier::label() const { return kTiers[value_].label; }

void DeveloperTiers::set(std::vector<ZQDeveloperLogTier> tiers, std::shared_ptr<port::Platform> desktop) {
  Switches& shared = switches();
  unsigned mask = 0;
  for (const ZQDeveloperLogTier tier : tiers) {
    mask |= bitOf(tier);
  }
  if (tiers.empty()) {
    desktop = nullptr;
  }
  const std::lock_guard lock(shared.mutex);
  shared.tiers = std::move(tiers);
  shared.desktop.swap(desktop);  // the previous desktop is released after the lock
  shared.mask.store(mask, std::memory_order_relaxed);
}

std::vector<ZQDeveloperLogTier> DeveloperTiers::get() {
  Switches& shared = switches();
  const std::lock_guard lock(shared.mutex);
  return shared.tiers;
}

ZQDeveloperLogger& ZQDeveloperLogger::log() {
  static auto* const shared = new ZQDeveloperLogger;
  return *shared;
}

void ZQDeveloperLogger::log(ZQDeveloperLogTier with, std::string_view message) noexcept {
  Switches& shared = switches();
  if ((shared.mask.load(std::memory_order_relaxed) & bitOf(with)) == 0) {
    return;
  }
  try {
    std::shared_ptr<port::Platform> desktop;
    {
      const std::lock_guard lock(shared.mutex);
      desktop = shared.desktop;
    }
    if (desktop == nullptr) {
      return;
    }
    std::string line(desktop->mainLoop().isMainThread() ? kMainThreadMark : kOtherThreadMark);
    line.append(with.label()).append(" ").append(message);
    desktop->logs().systemLog(desktop->hostIdentifier().value_or(std::string(kFallbackSubsystem)), with.rawValue(),
                              line);
  } catch (...) {  // a trace line is never worth an error
  }
}

}  // namespace zqlogging
