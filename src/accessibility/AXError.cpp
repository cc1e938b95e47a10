#include "accessibility/AXError.h"

namespace zqlogging {
namespace {

constexpr std::string_view kPrefix = "AXError.";

}  // namespace

const char* AXError::what() const noexcept {
  using enum port::ResultCode;
  switch (code_) {
    case success:
      return "AXError.Success";
    case failure:
      return "AXError.Failure";
    case illegalArgument:
      return "AXError.IllegalArgument";
    case invalidUIElement:
      return "AXError.InvalidUIElement";
    case invalidUIElementObserver:
      return "AXError.InvalidUIElementObserver";
    case cannotComplete:
      return "AXError.CannotComplete";
    case attributeUnsupported:
      return "AXError.AttributeUnsupported";
    case actionUnsupported:
      return "AXError.ActionUnsupported";
    case notificationUnsupported:
      return "AXError.NotificationUnsupported";
    case notImplemented:
      return "AXError.NotImplemented";
    case notificationAlreadyRegistered:
      return "AXError.NotificationAlreadyRegistered";
    case notificationNotRegistered:
      return "AXError.NotificationNotRegistered";
    case apiDisabled:
      return "AXError.APIDisabled";
    case noValue:
      return "AXError.NoValue";
    case parameterizedAttributeUnsupported:
      return "AXError.ParameterizedAttributeUnsupported";
    case notEnoughPrecision:
      return "AXError.NotEnoughPrecision";
  }
  return "AXError.<Unknown>";
}

std::string_view AXError::valueAsString() const { return std::string_view(what()).substr(kPrefix.size()); }

}  // namespace zqlogging
