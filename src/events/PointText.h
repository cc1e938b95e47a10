#pragma once

#include <cstdint>
#include <string_view>

namespace zqlogging {

struct IntegerPoint {
  std::int64_t x = 0;
  std::int64_t y = 0;
};

/// Reads "x, y" as records hold it. A coordinate that is not a whole decimal number in range is 0.
IntegerPoint parsePoint(std::string_view text);

}  // namespace zqlogging
