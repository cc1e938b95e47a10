#pragma once

#include <map>
#include <mutex>

#include "platform/Platform.h"

namespace zqlogging {

/// A key file in the user's configuration folder. Each change replaces the file as a whole, so that a reader or a
/// crash never meets half of one. What cannot be written holds for the rest of the process all the same.
class LinuxDefaults final : public port::Defaults {
 public:
  void setString(const std::string& key, const std::string& value) override;
  std::optional<std::string> string(const std::string& key) override;

  static std::string filePath();

 private:
  std::mutex mutex_;
  std::map<std::string, std::string> set_;  ///< in this process
};

}  // namespace zqlogging
