#pragma once

#include <exception>
#include <utility>

#include "platform/Platform.h"

namespace zqlogging {

/// A platform exception that was caught, as an error. Its text is the exception's.
struct NSExceptionError : std::exception {
  explicit NSExceptionError(port::PlatformException caught) : exception(std::move(caught)) {}
  [[nodiscard]] const char* what() const noexcept override { return exception.what(); }

  port::PlatformException exception;
};

}  // namespace zqlogging
