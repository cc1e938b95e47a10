#include "json/JsonNumber.h"

#include <algorithm>
#include <charconv>
#include <string>

namespace zqlogging {
namespace {

/// The digits without point, with their sign, and the power of ten that they are to be multiplied with.
struct Decimal {
  std::string digits;
  std::int64_t power = 0;
};

Decimal decimalOf(std::string_view number) {
  const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
  Decimal decimal{std::string(number.substr(0, mark)), 0};
  std::string_view exponent = number.substr(std::min(mark + 1, number.size()));
  exponent.remove_prefix(exponent.starts_with('+') ? 1 : 0);
  constexpr std::int64_t kHuge = std::int64_t{1} << 40U;
  if (std::from_chars(exponent.data(), exponent.data() + exponent.size(), decimal.power).ec ==
      std::errc::result_out_of_range) {
    decimal.power = exponent.starts_with('-') ? -kHuge : kHuge;
  }
  if (const std::size_t point = decimal.digits.find('.'); point != std::string::npos) {
    decimal.power -= static_cast<std::int64_t>(decimal.digits.size() - point - 1);
    decimal.digits.erase(point, 1);
  }
  return decimal;
}

std::optional<std::int64_t> integerOf(std::string_view digits) {
  std::int64_t integer = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, integer);
  return error == std::errc() && stop == end ? std::optional(integer) : std::nullopt;
}

}  // namespace

std::optional<std::int64_t> readInteger(std::string_view number) {
  if (const auto integer = integerOf(number)) {
    return integer;
  }
  Decimal decimal = decimalOf(number);
  if (decimal.digits.find_first_not_of("-0") == std::string::npos) {
    return 0;
  }
  while (decimal.power < 0 && decimal.digits.ends_with('0')) {
    decimal.digits.pop_back();
    ++decimal.power;
  }
  constexpr std::int64_t kMostDigits = 19;
  if (decimal.power < 0 || decimal.power > kMostDigits) {
    return std::nullopt;
  }
  return integerOf(decimal.digits.append(static_cast<std::size_t>(decimal.power), '0'));
}

std::optional<double> readReal(std::string_view number) {
  double real = 0;
  if (std::from_chars(number.data(), number.data() + number.size(), real).ec != std::errc::result_out_of_range) {
    return real;
  }
  // Too small is nothing; too big has a digit before the point, however the point is moved.
  const Decimal decimal = decimalOf(number);
  const std::size_t first = std::min(decimal.digits.find_first_not_of("-0"), decimal.digits.size());
  const bool isTooBig = static_cast<std::int64_t>(decimal.digits.size() - first) + decimal.power > 0;
  return isTooBig ? std::nullopt : std::optional(0.0);
}

}  // namespace zqlogging
