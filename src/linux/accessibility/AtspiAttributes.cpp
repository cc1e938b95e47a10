#include "linux/accessibility/AtspiAttributes.h"

#include <algorithm>
#include <limits>

#include "linux/accessibility/AtspiHitTest.h"
#include "linux/accessibility/LinuxAccessibility.h"

namespace zqlogging {

using port::Array;
using port::ElementRef;
using port::Result;
using port::ResultCode;
using port::Value;

namespace {

constexpr std::string_view kFiller = "\xEF\xBF\xBC";  // U+FFFC stands for an embedded child
constexpr int kHighestWindow = 48;                    // levels that the search for an element's window climbs
constexpr int kDeepestFocus = 40;
constexpr std::size_t kMostNodesSearched = 400;

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

Result<Value> nonEmpty(const std::string& text) {
  return text.empty() ? Result<Value>(ResultCode::noValue) : Result<Value>(Value(text));
}

Result<Value> textOf(const AtspiSubject& subject, Fact fact) {
  const AtspiAnswer& answer = subject.read(fact);
  const auto* text = answer.as<std::string>();
  if (text) {
    return nonEmpty(*text);
  }
  return answer.code == ResultCode::attributeUnsupported ? ResultCode::noValue : answer.code;
}

template <class T>
Result<Value> numberOf(const AtspiSubject& subject, Fact fact) {
  const AtspiAnswer& answer = subject.read(fact);
  const auto* number = answer.as<T>();
  if (!number) {
    return answer.code;
  }
  if constexpr (std::is_same_v<T, double>) {
    return Value(*number);
  }
  return Value(static_cast<std::int64_t>(*number));
}

std::string objectAttribute(const AtspiSubject& subject, std::initializer_list<const char*> keys) {
  const auto* attributes = subject.read(Fact::objectAttributes).as<std::map<std::string, std::string>>();
  for (const char* key : keys) {
    if (!attributes) {
      break;
    }
    if (const auto found = attributes->find(key); found != attributes->end() && !found->second.empty()) {
      return found->second;
    }
  }
  return {};
}

Value elementValue(const AtspiSubject& subject) {
  return subject.accessibility.elementFor(subject.object, subject.reader);
}

Result<Value> state(const AtspiSubject& subject, AtspiState wanted) {
  const AtspiAnswer& answer = subject.read(Fact::states);
  const auto* states = answer.as<AtspiStates>();
  return states ? Result<Value>(Value(has(*states, wanted))) : Result<Value>(answer.code);
}

template <AtspiState wanted>
Result<Value> readState(const AtspiSubject& subject) {
  return state(subject, wanted);
}

template <Fact fact>
Result<Value> readText(const AtspiSubject& subject) {
  return textOf(subject, fact);
}

template <Fact fact, class T>
Result<Value> readNumber(const AtspiSubject& subject) {
  return numberOf<T>(subject, fact);
}

Result<Value> readRole(const AtspiSubject& subject) {
  const Result<std::string> role = roleName(subject);
  return role ? Result<Value>(Value(role.value)) : Result<Value>(role.code);
}

Result<Value> readSubrole(const AtspiSubject& subject) {
  const Result<const RoleRow*> row = roleOf(subject);
  return row ? nonEmpty(std::string(row.value->subrole)) : Result<Value>(row.code);
}

Result<Value> readEnabled(const AtspiSubject& subject) {
  const AtspiAnswer& answer = subject.read(Fact::states);
  const auto* states = answer.as<AtspiStates>();
  if (!states) {
    return answer.code;
  }
  return Value(has(*states, stateEnabled) || has(*states, stateSensitive));
}

Result<Value> readIdentifier(const AtspiSubject& subject) {
  const Result<Value> identifier = textOf(subject, Fact::accessibleId);
  return identifier ? identifier : nonEmpty(objectAttribute(subject, {"id"}));
}

Result<Value> readPlaceholder(const AtspiSubject& subject) {
  return nonEmpty(objectAttribute(subject, {"placeholder-text", "placeholder"}));
}

/// The text of an object without what stands for its children.
Result<Value> plainText(const AtspiSubject& subject) {
  const AtspiAnswer& answer = subject.read(Fact::text);
  const auto* whole = answer.as<std::string>();
  if (!whole) {
    return answer.code == ResultCode::attributeUnsupported ? ResultCode::noValue : answer.code;
  }
  std::string text = *whole;
  for (std::size_t at = text.find(kFiller); at != std::string::npos; at = text.find(kFiller, at)) {
    text.erase(at, kFiller.size());
  }
  const bool isBlank = text.find_first_not_of(" \t\r\n") == std::string::npos;
  return isBlank && text.size() != whole->size() ? ResultCode::noValue : nonEmpty(text);
}

Result<Value> readValue(const AtspiSubject& subject) {
  const Result<const RoleRow*> row = roleOf(subject);
  if (!row) {
    return row.code;
  }
  switch (row.value->value) {
    case ValueSource::none:
    case ValueSource::secret:
      return ResultCode::noValue;
    case ValueSource::text:
      return plainText(subject);
    case ValueSource::leafText: {
      if (subject.reader.isKnownParent(subject.object)) {
        return ResultCode::noValue;
      }
      const AtspiAnswer& count = subject.read(Fact::childCount);
      const auto* children = count.as<std::int32_t>();
      if (!children) {
        return count.code;
      }
      return *children == 0 ? plainText(subject) : ResultCode::noValue;
    }
    case ValueSource::number: {
      const Result<Value> number = numberOf<double>(subject, Fact::currentValue);
      return number.code == ResultCode::attributeUnsupported ? plainText(subject) : number;
    }
    case ValueSource::checked: {
      const AtspiAnswer& answer = subject.read(Fact::states);
      const auto* states = answer.as<AtspiStates>();
      if (!states) {
        return answer.code;
      }
      constexpr std::int64_t kOff = 0, kOn = 1, kMixed = 2;
      if (has(*states, stateIndeterminate)) {
        return Value(kMixed);
      }
      return Value(has(*states, stateChecked) || has(*states, statePressed) ? kOn : kOff);
    }
    case ValueSource::selected: {
      const Result<Value> selected = state(subject, stateSelected);
      return selected ? Result<Value>(Value(std::int64_t{std::get<bool>(selected.value)})) : selected;
    }
    case ValueSource::choice: {
      const auto* child = subject.read(Fact::selectedChild).as<AtspiObject>();
      if (child && !child->isNull()) {
        return textOf(subject.of(*child), Fact::name);
      }
      return plainText(subject);
    }
  }
  return ResultCode::noValue;
}

Result<std::vector<AtspiObject>> related(const AtspiSubject& subject, AtspiRelationType type) {
  const AtspiAnswer& answer = subject.read(Fact::relations);
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

/// The object's parent; the desktop above the applications is none.
Result<AtspiObject> parentOf(const AtspiSubject& subject) {
  const Result<const RoleRow*> row = roleOf(subject);
  if (!row) {
    return row.code;
  }
  if (row.value == &roleRow(roleApplication) || subject.object.path == AtspiObject::kRootPath) {
    return ResultCode::noValue;
  }
  const AtspiAnswer& answer = subject.read(Fact::parent);
  const auto* parent = answer.as<AtspiObject>();
  if (!parent) {
    return answer.code;
  }
  const bool isNone = parent->isNull() || *parent == subject.object;
  return isNone ? Result<AtspiObject>(ResultCode::noValue) : Result<AtspiObject>(*parent);
}

Result<Value> readParent(const AtspiSubject& subject) {
  const Result<AtspiObject> parent = parentOf(subject);
  return parent ? Result<Value>(elementValue(subject.of(parent.value))) : Result<Value>(parent.code);
}

Result<Value> readChildren(const AtspiSubject& subject) {
  const AtspiAnswer& answer = subject.read(Fact::children);
  const auto* children = answer.as<std::vector<AtspiObject>>();
  return children ? elementsOf(subject, *children) : Result<Value>(answer.code);
}

Result<CGRect> frameOf(const AtspiSubject& subject) {
  const AtspiAnswer& answer = subject.read(Fact::extents);
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
  for (int level = 0; level < kHighestWindow; ++level) {
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
    if (const auto* link = subject.read(Fact::linkAddress).as<std::string>()) {
      address = *link;
    }
  } else if (const auto* attributes = subject.read(Fact::documentAttributes).as<std::map<std::string, std::string>>()) {
    for (const char* key : {"DocURL", "URI", "URL"}) {
      if (const auto found = attributes->find(key); address.empty() && found != attributes->end()) {
        address = found->second;
      }
    }
  }
  return address.empty() ? Result<Value>(ResultCode::noValue) : Result<Value>(Value(port::Url{address}));
}

AtspiSubject applicationOf(const AtspiSubject& subject) {
  return subject.of({subject.object.application, AtspiObject::kRootPath, subject.object.bus});
}

Result<Value> readMain(const AtspiSubject& subject) {
  const auto main = mainWindow(applicationOf(subject));
  return Value(main && *main == subject.object);
}

Result<Value> readMainWindow(const AtspiSubject& subject) {
  const auto main = mainWindow(subject);
  return main ? Result<Value>(elementValue(subject.of(*main))) : Result<Value>(ResultCode::noValue);
}

Result<Value> readWindows(const AtspiSubject& subject) {
  const AtspiAnswer& answer = subject.read(Fact::children);
  const auto* children = answer.as<std::vector<AtspiObject>>();
  if (!children) {
    return answer.code;
  }
  for (const AtspiObject& child : *children) {
    subject.reader.ask(child, Fact::role);
  }
  std::vector<AtspiObject> windows;
  for (const AtspiObject& child : *children) {
    const Result<std::string> role = roleName(subject.of(child));
    if (role && role.value == "AXWindow") {
      windows.push_back(child);
    }
  }
  return elementsOf(subject, windows);
}

Result<Value> readFrontmost(const AtspiSubject& subject) {
  const auto active = subject.accessibility.windows().activeWindow();
  const auto pid = subject.accessibility.applications().processOf(subject.object, subject.reader, subject.seconds);
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
    {"AXRoleDescription", Having::everything, readText<Fact::roleName>},
    {"AXTitle", Having::everything, readText<Fact::name>},
    {"AXDescription", Having::everything, readText<Fact::description>},
    {"AXHelp", Having::everything, readText<Fact::helpText>},
    {"AXIdentifier", Having::everything, readIdentifier},
    {"AXValue", Having::value, readValue},
    {"AXMinValue", Having::range, readNumber<Fact::minimumValue, double>},
    {"AXMaxValue", Having::range, readNumber<Fact::maximumValue, double>},
    {"AXNumberOfCharacters", Having::text, readNumber<Fact::characterCount, std::int32_t>},
    {"AXPlaceholderValue", Having::textField, readPlaceholder},
    {"AXContainsProtectedContent", Having::secret, readProtected},
    {"AXTitleUIElement", Having::element, readTitleElement},
    {"AXServesAsTitleForUIElements", Having::element, readTitledElements},
    {"AXParent", Having::element, readParent},
    {"AXChildren", Having::everything, readChildren},
    {"AXIndex", Having::element, readNumber<Fact::indexInParent, std::int32_t>},
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
    {"AXRowCount", Having::table, readNumber<Fact::rowCount, std::int32_t>},
    {"AXColumnCount", Having::table, readNumber<Fact::columnCount, std::int32_t>},
};
// clang-format on

bool hasAttribute(const RoleRow& row, const AttributeRow& attribute) {
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
      return row.role == "AXWindow";
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

Result<const RoleRow*> roleOf(const AtspiSubject& subject) {
  const AtspiAnswer& answer = subject.read(Fact::role);
  const auto* number = answer.as<std::uint32_t>();
  return number ? Result<const RoleRow*>(&roleRow(*number)) : Result<const RoleRow*>(answer.code);
}

Result<std::string> roleName(const AtspiSubject& subject) {
  const Result<const RoleRow*> row = roleOf(subject);
  if (!row) {
    return row.code;
  }
  switch (row.value->depends) {
    case RoleDepends::no:
      break;
    case RoleDepends::multiLine: {
      const auto* states = subject.read(Fact::states).as<AtspiStates>();
      if (states && has(*states, stateMultiLine)) {
        return std::string("AXTextArea");
      }
      break;
    }
    case RoleDepends::webRole:
      if (!objectAttribute(subject, {"xml-roles"}).empty()) {
        return std::string("AXGroup");
      }
      break;
  }
  return std::string(row.value->role);
}

std::optional<CGRect> frameFrom(const AtspiAnswer& extents) {
  constexpr double kNowhere = std::numeric_limits<std::int32_t>::min();
  const auto* frame = extents.as<CGRect>();
  const bool isNowhere = !frame || frame->size.width < 0 || frame->size.height < 0 || frame->origin.x == kNowhere ||
                         frame->origin.y == kNowhere;
  return isNowhere ? std::nullopt : std::optional(*frame);
}

std::optional<AtspiObject> mainWindow(const AtspiSubject& application) {
  const auto windows = windowsOf(application.reader, application.object, application.seconds);
  const auto pid =
      application.accessibility.applications().processOf(application.object, application.reader, application.seconds);
  if (!windows || !pid) {
    return std::nullopt;
  }
  auto inFront = application.accessibility.windows().activeWindow();
  if (!inFront || inFront->pid != pid) {
    const auto stack = application.accessibility.windows().windows();
    const auto top = std::find_if(stack.begin(), stack.end(), [&](const WindowStack::Window& window) {
      return window.pid == pid && !window.overrideRedirect;
    });
    inFront = top == stack.end() ? std::nullopt : std::optional(*top);
  }
  if (inFront) {
    if (const AtspiWindow* match = matchingWindow(windows.value, *inFront)) {
      return match->object;
    }
  }
  for (const AtspiWindow& window : windows.value) {
    application.reader.ask(window.object, Fact::states);
  }
  for (const AtspiWindow& window : windows.value) {
    const auto* states = application.of(window.object).read(Fact::states).as<AtspiStates>();
    if (states && has(*states, stateActive)) {
      return window.object;
    }
  }
  return std::nullopt;
}

std::optional<AtspiObject> focusedObject(const AtspiSubject& application) {
  const auto main = mainWindow(application);
  if (!main) {
    return std::nullopt;
  }
  struct Node {
    AtspiObject object;
    bool isBelowFocus;
  };
  std::vector<Node> level{{*main, false}};
  std::optional<AtspiObject> focused;
  bool isOnlyRow = false;
  std::size_t searched = 0;
  for (int depth = 0; depth < kDeepestFocus && !level.empty() && searched < kMostNodesSearched; ++depth) {
    searched += level.size();
    for (const Node& node : level) {
      application.reader.ask(node.object, Fact::states);
      application.reader.ask(node.object, Fact::children);
    }
    std::vector<Node> below;
    for (const auto& [object, isBelowFocus] : level) {
      const AtspiSubject subject = application.of(object);
      const auto* states = subject.read(Fact::states).as<AtspiStates>();
      if (!states || !has(*states, stateShowing)) {
        continue;
      }
      bool isFocused = has(*states, stateFocused);
      bool isRow = false;
      if (isFocused && !isBelowFocus) {
        // Some toolkits say so of every current tab, and of the current row of every list.
        const Result<const RoleRow*> row = roleOf(subject);
        isFocused = row && row.value->value != ValueSource::selected;
        isRow = isFocused && (row.value->role == "AXRow" || row.value->role == "AXCell");
      }
      if (isFocused && (isBelowFocus || !focused || (isOnlyRow && !isRow))) {
        focused = object;
        isOnlyRow = isRow;
      }
      const auto* children = subject.read(Fact::children).as<std::vector<AtspiObject>>();
      for (const AtspiObject& child : children ? *children : std::vector<AtspiObject>()) {
        below.push_back({child, isBelowFocus || isFocused});
      }
    }
    level = std::move(below);
  }
  return focused;
}

Result<std::vector<std::string>> attributeNames(const AtspiSubject& subject) {
  const Result<const RoleRow*> row = roleOf(subject);
  if (!row) {
    return row.code;
  }
  std::vector<std::string> names;
  for (const AttributeRow& attribute : kAttributes) {
    if (hasAttribute(*row.value, attribute)) {
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
    if (!hasAttribute(*role.value, *row)) {
      return ResultCode::attributeUnsupported;
    }
  }
  return row->read(subject);
}

}  // namespace zqlogging
