#pragma once

#include <compare>
#include <optional>
#include <string_view>

#include "zqlogging/Export.h"

namespace zqlogging {

/// The tiers of the developer trace. Only `enhancedlogging` is ever switched on by the library itself.
/// Tiers are ordered by their raw values, not by declaration.
class ZQ_EXPORT ZQDeveloperLogTier {
 public:
  enum Case : unsigned char { signalling, http, webrtc, rawSocket, enhancedlogging };

  constexpr ZQDeveloperLogTier(Case value) : value_(value) {}  // NOLINT: a tier is its case

  /// The tier with exactly this raw value, or nothing.
  static std::optional<ZQDeveloperLogTier> fromRawValue(std::string_view rawValue);

  /// The category under which lines of this tier reach the system log, e.g. "rawsocket".
  [[nodiscard]] std::string_view rawValue() const;
  /// The label inside a line, e.g. "[RawSocket]".
  [[nodiscard]] std::string_view label() const;

  constexpr operator Case() const { return value_; }  // NOLINT: usable in a switch
  friend bool operator==(ZQDeveloperLogTier a, ZQDeveloperLogTier b) { return a.value_ == b.value_; }
  friend std::strong_ordering operator<=>(ZQDeveloperLogTier a, ZQDeveloperLogTier b) {
    return a.rawValue() <=> b.rawValue();
  }

 private:
  Case value_;
};

/// The library's trace of its own work, in the system log. One object per process, alive until the process ends.
/// Which tiers are on is set by the service's `debuLogging`. Any thread may call it.
class ZQ_EXPORT ZQDeveloperLogger {
 public:
  ZQDeveloperLogger(const ZQDeveloperLogger&) = delete;
  ZQDeveloperLogger& operator=(const ZQDeveloperLogger&) = delete;

  /// The shared logger; with all tiers off until a service switches one on.
  static ZQDeveloperLogger& log();

  /// Writes one line when the tier is on: thread mark, tier label, a blank, the message. Never fails, never throws.
  /// Cost when the tier is off: one relaxed atomic read.
  void log(ZQDeveloperLogTier with, std::string_view message) noexcept;

 private:
  friend class DeveloperTiers;
  ZQDeveloperLogger() = default;
  ~ZQDeveloperLogger() = default;
};

}  // namespace zqlogging
