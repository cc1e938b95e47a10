#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace zqlogging {

// The text is a number as JSON writes it.

/// The number, when it is a whole one within 64 bits, however it is written: 1.50e1 is 15, and nothing is rounded.
std::optional<std::int64_t> readInteger(std::string_view number);

/// The nearest double; nothing when the number is too big for one.
std::optional<double> readReal(std::string_view number);

}  // namespace zqlogging
