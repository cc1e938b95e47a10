#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "linux/atspi/AtspiObject.h"
#include "platform/ResultCode.h"
#include "zqlogging/Geometry.h"

namespace zqlogging {

/// What can be asked about an accessible object, each with one D-Bus call. The order is that of the table in the
/// source file.
enum class AtspiRequest : std::uint8_t {
  role,
  name,
  description,
  helpText,
  accessibleId,
  roleName,
  parent,
  childCount,
  children,
  childAt,
  states,
  interfaces,
  objectAttributes,
  relations,
  extents,
  atPoint,
  text,
  characterCount,
  currentValue,
  minimumValue,
  maximumValue,
  documentAttributes,
  linkAddress,
  selectedChild,
  rowCount,
  columnCount,
  actions,
  indexInParent,
  processId,
};
inline constexpr std::size_t kRequestCount = static_cast<std::size_t>(AtspiRequest::processId) + 1;

struct AtspiRelation {
  std::uint32_t type;
  std::vector<AtspiObject> targets;
};
struct AtspiAction {
  std::string name, description;
};

using AtspiStates = std::uint64_t;

/// The answer to one call.
struct AtspiAnswer {
  using Value = std::variant<std::monostate, std::uint32_t, std::int32_t, double, std::string, AtspiObject,
                             std::vector<AtspiObject>, std::vector<std::string>, std::map<std::string, std::string>,
                             CGRect, std::vector<AtspiRelation>, AtspiStates, std::vector<AtspiAction>>;
  port::ResultCode code = port::ResultCode::success;
  Value value;

  /// The value when the call succeeded with one of that kind.
  template <class T>
  [[nodiscard]] const T* as() const {
    return code == port::ResultCode::success ? std::get_if<T>(&value) : nullptr;
  }
};

/// The numbers that some requests take.
struct AtspiArguments {
  int x = 0, y = 0;  ///< atPoint: screen position; childAt: x is the index; text: x is the number of characters
};

/// The D-Bus interface that an object must have before the request may be sent, or empty. Toolkits complain on standard
/// error, or worse, about a call to an interface that an object lacks.
std::string_view requiredInterface(AtspiRequest request);

/// A new call message for the request; null when memory or the bus is out.
sd_bus_message* newCall(sd_bus* bus, AtspiRequest request, const AtspiObject& object, const AtspiArguments& arguments);

/// Reads the answer out of a reply, errors included.
AtspiAnswer readAnswer(sd_bus_message* reply, AtspiRequest request, std::uint32_t bus);

}  // namespace zqlogging
