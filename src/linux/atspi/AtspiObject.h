#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace zqlogging {

/// Where an accessible object lives. Bus names are unique for the life of one bus only, so the bus is part of it.
struct AtspiObject {
  std::string application;  ///< bus name
  std::string path;
  std::uint32_t bus = 0;  ///< AtspiBus numbers the buses that it has seen

  static constexpr const char* kRootPath = "/org/a11y/atspi/accessible/root";
  static constexpr const char* kRegistryName = "org.a11y.atspi.Registry";

  [[nodiscard]] bool isNull() const { return path.empty() || path.ends_with("/null"); }
  /// Whether it stands for its application as a whole.
  [[nodiscard]] bool isRoot() const { return path == kRootPath; }
  /// What stands for the object's application. Toolkits may list another object as well.
  [[nodiscard]] AtspiObject root() const { return {application, kRootPath, bus}; }
  friend bool operator==(const AtspiObject&, const AtspiObject&) = default;
};

struct AtspiObjectHash {
  std::size_t operator()(const AtspiObject& object) const {
    return std::hash<std::string>()(object.path) ^ (std::hash<std::string>()(object.application) << 1) ^ object.bus;
  }
};

}  // namespace zqlogging
