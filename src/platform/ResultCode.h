#pragma once

#include <cstdint>
#include <utility>

namespace zqlogging::port {

/// The result codes of the accessibility interface, with their numbers there. Unknown numbers are passed on as well.
enum class ResultCode : std::int32_t {
  success = 0,
  failure = -25200,
  illegalArgument = -25201,
  invalidUIElement = -25202,
  invalidUIElementObserver = -25203,
  cannotComplete = -25204,
  attributeUnsupported = -25205,
  actionUnsupported = -25206,
  notificationUnsupported = -25207,
  notImplemented = -25208,
  notificationAlreadyRegistered = -25209,
  notificationNotRegistered = -25210,
  apiDisabled = -25211,
  noValue = -25212,
  parameterizedAttributeUnsupported = -25213,
  notEnoughPrecision = -25214,
};

/// A value, or the code that says why there is none.
template <class T>
struct Result {
  ResultCode code = ResultCode::success;
  T value{};

  Result() = default;
  Result(T v) : value(std::move(v)) {}           // NOLINT: a value is a success
  Result(ResultCode failure) : code(failure) {}  // NOLINT: a code is a failure
  explicit operator bool() const { return code == ResultCode::success; }
  const T& operator*() const { return value; }
  const T* operator->() const { return &value; }
};

}  // namespace zqlogging::port
