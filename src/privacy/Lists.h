#pragma once

#include <string>

namespace zqlogging {

/// What the host does not want recorded, as the guard asks for it. Any thread. Compared without regard to case and
/// form, in any script.
class Lists {
 public:
  virtual ~Lists() = default;
  /// Whether there is anything in the list that can match.
  [[nodiscard]] virtual bool hasUrls() const = 0;
  [[nodiscard]] virtual bool hasProcesses() const = 0;
  [[nodiscard]] virtual bool listsPage(const std::string& url) const = 0;
  [[nodiscard]] virtual bool mentionsPage(const std::string& text) const = 0;
  [[nodiscard]] virtual bool listsProgram(const std::string& name) const = 0;
};

}  // namespace zqlogging
