#pragma once

#include <exception>
#include <string>
#include <string_view>

#include "platform/ResultCode.h"

namespace zqlogging {

/// A failed request to an element: the platform's result code, unchanged.
class AXError : public std::exception {
 public:
  static constexpr std::string_view domain = "ApplicationServices.AXError";

  explicit AXError(port::ResultCode code) : code_(code) {}

  [[nodiscard]] port::ResultCode code() const { return code_; }
  /// The code's name, e.g. "CannotComplete"; "<Unknown>" outside the known codes.
  [[nodiscard]] std::string_view valueAsString() const;
  /// "AXError." and the code's name.
  [[nodiscard]] std::string description() const { return what(); }
  [[nodiscard]] const char* what() const noexcept override;

  friend bool operator==(const AXError& a, const AXError& b) { return a.code_ == b.code_; }

 private:
  port::ResultCode code_;
};

}  // namespace zqlogging
