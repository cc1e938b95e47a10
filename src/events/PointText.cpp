#include "events/PointText.h"

#include <charconv>

namespace zqlogging {
namespace {

std::int64_t integerOrZero(std::string_view text) {
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) {
      return 0;
    }
  }
  std::int64_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && stop == end ? value : 0;
}

}  // namespace

IntegerPoint parsePoint(std::string_view text) {
  constexpr std::string_view kSeparator = ", ";
  const std::size_t first = text.find(kSeparator);
  if (first == std::string_view::npos) {
    return {integerOrZero(text), 0};
  }
  std::string_view rest = text.substr(first + kSeparator.size());
  return {integerOrZero(text.substr(0, first)), integerOrZero(rest.substr(0, rest.find(kSeparator)))};
}

}  // namespace zqlogging
