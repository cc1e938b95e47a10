#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace zqlogging::testing {

/// A folder that is gone after the test, and that an XDG variable points to meanwhile.
class TemporaryHome {
 public:
  explicit TemporaryHome(const char* variable) : variable_(variable) {
    std::string name = (std::filesystem::temp_directory_path() / "zqlogging-test-XXXXXX").string();
    path_ = mkdtemp(name.data());
    setenv(variable, path_.c_str(), 1);
  }
  TemporaryHome(const TemporaryHome&) = delete;
  TemporaryHome& operator=(const TemporaryHome&) = delete;
  ~TemporaryHome() {
    unsetenv(variable_);
    std::filesystem::remove_all(path_);
  }
  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  const char* variable_;
  std::filesystem::path path_;
};

inline std::string permissionsOf(const std::filesystem::path& path) {
  const auto bits = static_cast<unsigned>(std::filesystem::status(path).permissions());
  std::string text;
  for (int shift = 6; shift >= 0; shift -= 3) {
    text += static_cast<char>('0' + ((bits >> shift) & 7U));
  }
  return text;
}

}  // namespace zqlogging::testing
