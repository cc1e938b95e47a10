#pragma once

#include "platform/Platform.h"

namespace zqlogging {

class LinuxClock final : public port::Clock {
 public:
  [[nodiscard]] double wallTime() const override {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  }
  [[nodiscard]] double steadyTime() const override {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
  }
};

}  // namespace zqlogging
