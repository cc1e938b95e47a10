#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "platform/Platform.h"

namespace zqlogging::port {

/// Defaults in memory; they last as long as the desktop.
class ScriptedDefaults final : public Defaults {
 public:
  using Entries = std::map<std::string, std::string, std::less<>>;

  [[nodiscard]] Entries entries() const {
    const std::lock_guard lock(mutex_);
    return entries_;
  }
  void setString(const std::string& key, const std::string& value) override {
    const std::lock_guard lock(mutex_);
    entries_.insert_or_assign(key, value);
  }
  std::optional<std::string> string(const std::string& key) override {
    const std::lock_guard lock(mutex_);
    const auto found = entries_.find(key);
    return found == entries_.end() ? std::nullopt : std::optional(found->second);
  }

 private:
  mutable std::mutex mutex_;
  Entries entries_;
};

}  // namespace zqlogging::port
