#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>

#include "zqlogging/Export.h"

namespace zqlogging {

/// A tier of the developer trace. Only `enhancedlogging` is ever switched on by the library itself.
/// Tiers compare as their raw values do, compare with the cases directly, and can be hashed. Any thread may use them;
/// nothing here blocks or fails.
class ZQ_EXPORT ZQDeveloperLogTier {
 public:
  /// The tiers, in the order of their raw values: the order in which they compare.
  enum Case : unsigned char {
    enhancedlogging,  ///< what the library does, step by step
    http,             ///< not used by the library
    rawSocket,        ///< not used by the library
    signalling,       ///< not used by the library
    webrtc,           ///< not used by the library
  };

  /// \param value  the tier
  constexpr ZQDeveloperLogTier(Case value) : value_(value) {}  // NOLINT: a tier is its case

  /// The tier of a raw value.
  /// \param rawValue  compared byte for byte
  /// \return          nothing when no tier has it
  static std::optional<ZQDeveloperLogTier> fromRawValue(std::string_view rawValue);

  /// The category under which lines of this tier reach the system log.
  /// \return  e.g. "rawsocket"; it lives as long as the library is loaded
  [[nodiscard]] std::string_view rawValue() const;
  /// What stands for the tier inside a line.
  /// \return  e.g. "[RawSocket]"; it lives as long as the library is loaded
  [[nodiscard]] std::string_view label() const;

  /// The case, for comparisons and in a switch.
  /// \return  the enumerator
  constexpr operator Case() const { return value_; }  // NOLINT: a tier is its case

 private:
  Case value_;
};

/// The library's trace of its own work, in the system log. One object per process, alive until the process ends.
/// Which tiers are on is set by the service's `debuLogging`. Any thread may call it.
class ZQ_EXPORT ZQDeveloperLogger {
 public:
  ZQDeveloperLogger(const ZQDeveloperLogger&) = delete;
  ZQDeveloperLogger& operator=(const ZQDeveloperLogger&) = delete;

  /// The shared logger, with all tiers off until a service switches one on. Never fails.
  /// \return  owned by the library
  static ZQDeveloperLogger& log();

  /// Writes one line when the tier is on: thread mark, tier label, a blank, the message. Never fails. Blocks for one
  /// line to the system log when the tier is on, else for one relaxed atomic read.
  /// \param with     the tier
  /// \param message  UTF-8, one line
  void log(ZQDeveloperLogTier with, std::string_view message) noexcept;

 private:
  friend class DeveloperTiers;
  ZQDeveloperLogger() = default;
  ~ZQDeveloperLogger() = default;
};

}  // namespace zqlogging

namespace std {

/// Equal tiers have equal hashes.
template <>
struct hash<zqlogging::ZQDeveloperLogTier> {
  /// \param tier  to be hashed
  /// \return      the hash of its case
  std::size_t operator()(zqlogging::ZQDeveloperLogTier tier) const noexcept { return hash<unsigned char>()(tier); }
};

}  // namespace std
