#include "linux/accessibility/AtspiAttributes.h"

#include <algorithm>

#include "linux/accessibility/AtspiFocus.h"
#include "linux/accessibility/AtspiValue.h"
#include "linux/accessibility/AtspiWindows.h"
#include "linux/atspi/AtspiProcesses.h"

namespace zqlogging {

using port::Array;
using port::Result;
using port::ResultCode;
using port::Value;

namespace {

constexpr int kMaxWindowLevels = 48;  // levels that the search for an element's window climbs

/// Which elements have an attribute.
enum class Having {
  everything,
  element,  ///< all but the application
  value,
  range,
  text,
  textField,
  secret,
  window,
  application,
  address,
  table,
};

struct AttributeRow {
  std::string_view name;
  Having having;
  Result<Value> (*read)(const AtspiSubject&);
};

Value elementValue(const AtspiSubject& subject) { return subject.elements.object(subject.object, subject.batch); }

template <AtspiState wanted>
Result<Value> readState(const AtspiSubject& subject) {
  return stateOf(subject, wanted);
}

template <AtspiRequest request>
Result<Value> readText(const AtspiSubject& subject) {
  return textOf(subject, request);
}

template <AtspiRequest request, class T>
Result<Value> readNumber(const AtspiSubject& subject) {
  const AtspiAnswer& answer = subject.read(request);
  const auto* number = answer.as<T>();
  if (!number) {
    return answer.code;
  }
  if constexpr (std::is_same_v<T, double>) {
    return Value(*number);
  }
  return Value(static_cast<std::int64_t>(*number));
}

Result<Value> readRole(const AtspiSubject& subject) {
  const Result<std::string> role = roleName(subject);
  return role ? Result<Value>(Value(role.value)) : Result<Value>(role.code);
}

Result<Value> readSubrole(const AtspiSubject& subject) {
  const Result<std::string> subrole = subroleName(subject);
  return subrole ? nonEmpty(subrole.value) : Result<Value>(subrole.code);
}

bool isWindow(const AtspiSubject& subject) {
  const Result<std::string> role = roleName(subject);
  return role && role.value == "AXWindow";
}

/// The title of a window that says no name of its own is the one that the window manager shows.
Result<Value> readTitle(const AtspiSubject& subject) {
  const Result<Value> name = textOf(subject, AtspiRequest::name);
  if (name.code != ResultCode::noValue || !isWindow(subject)) {
    return name;
  }
  const auto pid = readProcess(subject.object, subject.batch, subject.seconds);
  const auto windows = subject.services().windows().windows();
  if (!pid || !windows) {
    return name;
  }
  return nonEmpty(titleOnServer(windows.value, *pid, frameFrom(subject.read(AtspiRequest::extents))));
}

Result<Value> readEnabled(const AtspiSubject& subject) {
  const AtspiAnswer& answer = subject.read(AtspiRequest::states);
  const auto* states = answer.as<AtspiStates>();
  if (!states) {
    return answer.code;
  }
  return Value(has(*states, stateEnabled) || has(*states, stateSensitive));
}

Result<Value> readIdentifier(const AtspiSubject& subject) {
  const Result<Value> identifier = textOf(subject, AtspiRequest::accessibleId);
  return identifier ? identifier : nonEmpty(objectAttribute(subject, {"id"}));
}

Result<Value> readPlaceholder(const AtspiSubject& subject) {
  return nonEmpty(objectAttribute(subject, {"placeholder-text", "placeholder"}));
}

Result<std::vector<AtspiObject>> related(const AtspiSubject& subject, AtspiRelationType type) {
  const AtspiAnswer& answer = subject.read(AtspiRequest::relations);
  const auto* relations = answer.as<std::vector<AtspiRelation>>();
  if (!relations) {
    return answer.code;
  }
  for (const AtspiRelation& relation : *relations) {
    if (relation.type == type && !relation.targets.empty()) {
      return relation.targets;
    }
  }
  return ResultCode::noValue;
}

Result<Value> elementsOf(const AtspiSubject& subject, const std::vector<AtspiObject>& objects) {
  Array array;
  for (const AtspiObject& object : objects) {
    if (!object.isNull()) {
      array.push_back(elementValue(subject.of(object)));
    }
  }
  return Value(std::move(array));
}

Result<Value> readTitleElement(const AtspiSubject& subject) {
  const Result<const RoleRow*> row = roleOf(subject);
  if (!row) {
    return row.code;
  }
  if (!row.value->labelled) {
    return ResultCode::noValue;
  }
  const auto labels = related(subject, relationLabelledBy);
  return labels ? Result<Value>(elementValue(subject.of(labels.value.front()))) : Result<Value>(labels.code);
}

Result<Value> readTitledElements(const AtspiSubject& subject) {
  const auto labelled = related(subject, relationLabelFor);
  return labelled ? elementsOf(subject, labelled.value) : Result<Value>(labelled.code);
}

Result<Value> readParent(const AtspiSubject& subject) {
  const Result<AtspiObject> parent = parentOf(subject);
  return parent ? Result<Value>(elementValue(subject.of(parent.value))) : Result<Value>(parent.code);
}

Result<Value> readChildren(const AtspiSubject& subject) {
  const AtspiAnswer& answer = subject.read(AtspiRequest::children);
  const auto* children = answer.as<std::vector<AtspiObject>>();
  return children ? elementsOf(subject, *children) : Result<Value>(answer.code);
}

Result<CGRect> frameOf(const AtspiSubject& subject) {
  const AtspiAnswer& answer = subject.read(AtspiRequest::extents);
  if (answer.code == ResultCode::attributeUnsupported) {
    return ResultCode::noValue;
  }
  if (answer.code != ResultCode::success) {
    return answer.code;
  }
  const auto frame = frameFrom(answer);
  return frame ? Result<CGRect>(*frame) : Result<CGRect>(ResultCode::noValue);
}

Result<Value> readFrame(const AtspiSubject& subject) {
  const Result<CGRect> frame = frameOf(subject);
  return frame ? Result<Value>(Value(frame.value)) : Result<Value>(frame.code);
}

Result<Value> readPosition(const AtspiSubject& subject) {
  const Result<CGRect> frame = frameOf(subject);
  return frame ? Result<Value>(Value(frame.value.origin)) : Result<Value>(frame.code);
}

Result<Value> readSize(const AtspiSubject& subject) {
  const Result<CGRect> frame = frameOf(subject);
  return frame ? Result<Value>(Value(frame.value.size)) : Result<Value>(frame.code);
}

Result<Value> readWindow(const AtspiSubject& subject) {
  AtspiSubject current = subject;
  for (int level = 0; level < kMaxWindowLevels; ++level) {
    const Result<std::string> role = roleName(current);
    if (!role) {
      return role.code;
    }
    if (role.value == "AXWindow") {
      return elementValue(current);
    }
    const Result<AtspiObject> parent = parentOf(current);
    if (!parent) {
      return parent.code;
    }
    current.object = parent.value;
  }
  return ResultCode::noValue;
}

Result<Value> readAddress(const AtspiSubject& subject) {
  const Result<const RoleRow*> row = roleOf(subject);
  if (!row) {
    return row.code;
  }
  std::string address;
  if (row.value->role == "AXLink") {
    if (const auto* link = subject.read(AtspiRequest::linkAddress).as<std::string>()) {
      address = *link;
    }
  } else if (const auto* attributes =
                 subject.read(AtspiRequest::documentAttributes).as<std::map<std::string, std::string>>()) {
    for (const char* key : {"DocURL", "URI", "URL"}) {
      if (const auto found = attributes->find(key); address.empty() && found != attributes->end()) {
        address = found->second;
      }
    }
  }
  return address.empty() ? Result<Value>(ResultCode::noValue) : Result<Value>(Value(port::Url{address}));
}

Result<Value> readMain(const AtspiSubject& subject) {
  const auto main = mainWindow(subject.application());
  return Value(main && *main == subject.object);
}

Result<Value> readMainWindow(const AtspiSubject& subject) {
  const auto main = mainWindow(subject);
  return main ? Result<Value>(elementValue(subject.of(*main))) : Result<Value>(ResultCode::noValue);
}

Result<Value> readWindows(const AtspiSubject& subject) {
  const AtspiAnswer& answer = subject.read(AtspiRequest::children);
  const auto* children = answer.as<std::vector<AtspiObject>>();
  if (!children) {
    return answer.code;
  }
  for (const AtspiObject& child : *children) {
    subject.batch.prefetch(child, AtspiRequest::role);
  }
  std::vector<AtspiObject> windows;
  for (const AtspiObject& child : *children) {
    if (isWindow(subject.of(child))) {
      windows.push_back(child);
    }
  }
  return elementsOf(subject, windows);
}

Result<Value> readFrontmost(const AtspiSubject& subject) {
  const auto active = subject.services().windows().activeWindow();
  const auto pid = readProcess(subject.object, subject.batch, subject.seconds);
  if (active.code == ResultCode::cannotComplete) {
    return active.code;
  }
  return Value(active && pid && active->pid == pid);
}

Result<Value> readFocusedElement(const AtspiSubject& subject) {
  const auto focused = focusedObject(subject);
  return focused ? Result<Value>(elementValue(subject.of(*focused))) : Result<Value>(ResultCode::noValue);
}

Result<Value> readProtected(const AtspiSubject& /*subject*/) { return Value(true); }

// clang-format off: a table
constexpr AttributeRow kAttributes[] = {
    {"AXRole", Having::everything, readRole},
    {"AXSubrole", Having::everything, readSubrole},
    {"AXRoleDescription", Having::everything, readText<AtspiRequest::roleName>},
    {"AXTitle", Having::everything, readTitle},
    {"AXDescription", Having::everything, readText<AtspiRequest::description>},
    {"AXHelp", Having::everything, readText<AtspiRequest::helpText>},
    {"AXIdentifier", Having::everything, readIdentifier},
    {"AXValue", Having::value, valueOf},
    {"AXMinValue", Having::range, readNumber<AtspiRequest::minimumValue, double>},
    {"AXMaxValue", Having::range, readNumber<AtspiRequest::maximumValue, double>},
    {"AXNumberOfCharacters", Having::text, readNumber<AtspiRequest::characterCount, std::int32_t>},
    {"AXPlaceholderValue", Having::textField, readPlaceholder},
    {"AXContainsProtectedContent", Having::secret, readProtected},
    {"AXTitleUIElement", Having::element, readTitleElement},
    {"AXServesAsTitleForUIElements", Having::element, readTitledElements},
    {"AXParent", Having::element, readParent},
    {"AXChildren", Having::everything, readChildren},
    {"AXIndex", Having::element, readNumber<AtspiRequest::indexInParent, std::int32_t>},
    {"AXWindow", Having::element, readWindow},
    {"AXTopLevelUIElement", Having::element, readWindow},
    {"AXPosition", Having::element, readPosition},
    {"AXSize", Having::element, readSize},
    {"AXFrame", Having::element, readFrame},
    {"AXEnabled", Having::element, readEnabled},
    {"AXFocused", Having::element, readState<stateFocused>},
    {"AXSelected", Having::element, readState<stateSelected>},
    {"AXExpanded", Having::element, readState<stateExpanded>},
    {"AXMain", Having::window, readMain},
    {"AXMinimized", Having::window, readState<stateIconified>},
    {"AXModal", Having::window, readState<stateModal>},
    {"AXWindows", Having::application, readWindows},
    {"AXMainWindow", Having::application, readMainWindow},
    {"AXFocusedWindow", Having::application, readMainWindow},
    {"AXFocusedUIElement", Having::application, readFocusedElement},
    {"AXFrontmost", Having::application, readFrontmost},
    {"AXURL", Having::address, readAddress},
    {"AXRowCount", Having::table, readNumber<AtspiRequest::rowCount, std::int32_t>},
    {"AXColumnCount", Having::table, readNumber<AtspiRequest::columnCount, std::int32_t>},
};
// clang-format on

bool hasAttribute(const AtspiSubject& subject, const RoleRow& row, const AttributeRow& attribute) {
  const bool isApplication = row.role == "AXApplication";
  const bool isText = row.value == ValueSource::text || row.value == ValueSource::leafText;
  switch (attribute.having) {
    case Having::everything:
      return true;
    case Having::element:
      return !isApplication;
    case Having::value:
      return row.value != ValueSource::none;
    case Having::range:
      return row.value == ValueSource::number;
    case Having::text:
      return isText;
    case Having::textField:
      return row.role == "AXTextField" || row.role == "AXTextArea" || row.value == ValueSource::choice;
    case Having::secret:
      return row.value == ValueSource::secret;
    case Having::window:
      return isWindow(subject);
    case Having::application:
      return isApplication;
    case Having::address:
      return row.role == "AXWebArea" || row.role == "AXLink" || row.atspiName.starts_with("document");
    case Having::table:
      return row.role == "AXTable" || row.role == "AXOutline";
  }
  return false;
}

}  // namespace

Result<std::vector<std::string>> attributeNames(const AtspiSubject& subject) {
  const Result<const RoleRow*> row = roleOf(subject);
  if (!row) {
    return row.code;
  }
  std::vector<std::string> names;
  for (const AttributeRow& attribute : kAttributes) {
    if (hasAttribute(subject, *row.value, attribute)) {
      names.emplace_back(attribute.name);
    }
  }
  return names;
}

Result<Value> attributeValue(const AtspiSubject& subject, const std::string& attribute) {
  const auto* row = std::find_if(std::begin(kAttributes), std::end(kAttributes),
                                 [&](const AttributeRow& candidate) { return candidate.name == attribute; });
  if (row == std::end(kAttributes)) {
    const Result<const RoleRow*> role = roleOf(subject);
    return role ? ResultCode::attributeUnsupported : role.code;
  }
  if (row->having != Having::everything) {
    const Result<const RoleRow*> role = roleOf(subject);
    if (!role) {
      return role.code;
    }
    if (!hasAttribute(subject, *role.value, *row)) {
      return ResultCode::attributeUnsupported;
    }
  }
  return row->read(subject);
}

}  // namespace zqlogging
