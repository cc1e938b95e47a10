#pragma once

#include <optional>

#include "linux/accessibility/LinuxElement.h"

namespace zqlogging {

bool processExists(std::int32_t pid);

/// The element of a process. It is made without asking the process; an application that is not on the accessibility
/// bus answers with what the X server and the workspace know.
class ApplicationElement : public LinuxElement {
 public:
  ApplicationElement(const ElementFactory& elements, std::int32_t pid) : LinuxElement(elements), pid_(pid) {}

  [[nodiscard]] bool isEqual(const Element& other) const override;
  [[nodiscard]] std::size_t hash() const override;
  [[nodiscard]] std::string textForm() const override;
  [[nodiscard]] port::Result<std::vector<std::string>> copyAttributeNames() const override;
  [[nodiscard]] port::Result<port::Value> copyAttributeValue(const std::string& attribute) const override;
  [[nodiscard]] port::Result<std::int32_t> getPid() const override;

 private:
  port::Result<port::Value> valueOfStranger(const std::string& attribute) const;

  std::int32_t pid_;
};

}  // namespace zqlogging
