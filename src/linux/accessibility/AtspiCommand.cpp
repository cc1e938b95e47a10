#include "linux/accessibility/AtspiCommand.h"

#include <algorithm>

#include "linux/accessibility/AtspiAttributes.h"
#include "linux/system/MonotonicTime.h"

namespace zqlogging {

using port::Result;
using port::ResultCode;
using port::Value;

namespace {

/// The object's actions that have a name here, each once; with the index that AT-SPI gives them.
struct NamedAction {
  std::string name;
  std::int32_t index;
  std::string description;
};

Result<std::vector<NamedAction>> namedActions(const AtspiSubject& subject) {
  const AtspiAnswer& answer = subject.read(AtspiRequest::actions);
  if (answer.code == ResultCode::attributeUnsupported) {
    return std::vector<NamedAction>();
  }
  const auto* actions = answer.as<std::vector<AtspiAction>>();
  if (!actions) {
    return answer.code;
  }
  std::vector<NamedAction> named;
  for (std::size_t i = 0; i < actions->size(); ++i) {
    const std::string name(actionForName((*actions)[i].name));
    const bool isNew = std::none_of(named.begin(), named.end(), [&](const auto& other) { return other.name == name; });
    if (!name.empty() && isNew) {
      named.push_back({name, static_cast<std::int32_t>(i), (*actions)[i].description});
    }
  }
  return named;
}

Result<NamedAction> namedAction(const AtspiSubject& subject, const std::string& action) {
  const auto actions = namedActions(subject);
  if (!actions) {
    return actions.code;
  }
  for (const NamedAction& candidate : actions.value) {
    if (candidate.name == action) {
      return candidate;
    }
  }
  return ResultCode::actionUnsupported;
}

/// Sends a call that does something and waits until it is done.
template <class... Arguments>
ResultCode run(const AtspiSubject& subject, const char* interface, const char* member, const char* types,
               Arguments... arguments) {
  AtspiLink* link = subject.batch.link();
  if (!link) {
    return ResultCode::apiDisabled;
  }
  if (subject.object.isNull() || subject.object.bus != subject.batch.busNumber()) {
    return ResultCode::invalidUIElement;
  }
  sd_bus_message* message = nullptr;
  if (sd_bus_message_new_method_call(link->bus(), &message, subject.object.application.c_str(),
                                     subject.object.path.c_str(), interface, member) < 0) {
    return ResultCode::failure;
  }
  const SdBusMessagePtr call(message);
  if (sd_bus_message_append(message, types, arguments...) < 0) {
    return ResultCode::failure;
  }
  const auto reply = link->call(call, monotonicMicroseconds() + static_cast<std::uint64_t>(subject.seconds * 1e6));
  if (!reply) {
    return ResultCode::cannotComplete;
  }
  int done = 1;
  if (sd_bus_message_is_method_error(reply.get(), nullptr)) {
    return ResultCode::failure;
  }
  if (sd_bus_message_has_signature(reply.get(), "b") && sd_bus_message_read(reply.get(), "b", &done) < 0) {
    done = 0;
  }
  return done ? ResultCode::success : ResultCode::failure;
}

bool hasInterface(const AtspiSubject& subject, std::string_view name) {
  const auto* interfaces = subject.read(AtspiRequest::interfaces).as<std::vector<std::string>>();
  return interfaces && std::find(interfaces->begin(), interfaces->end(), name) != interfaces->end();
}

constexpr const char* kValueInterface = "org.a11y.atspi.Value";
constexpr const char* kEditableTextInterface = "org.a11y.atspi.EditableText";
constexpr const char* kComponentInterface = "org.a11y.atspi.Component";

bool isFocusable(const AtspiSubject& subject) {
  const auto* states = subject.read(AtspiRequest::states).as<AtspiStates>();
  return states && has(*states, stateFocusable) && hasInterface(subject, kComponentInterface);
}

}  // namespace

Result<std::vector<std::string>> actionNames(const AtspiSubject& subject) {
  const auto actions = namedActions(subject);
  if (!actions) {
    return actions.code;
  }
  std::vector<std::string> names;
  for (const NamedAction& action : actions.value) {
    names.push_back(action.name);
  }
  return names;
}

Result<std::string> actionDescription(const AtspiSubject& subject, const std::string& action) {
  const auto named = namedAction(subject, action);
  if (!named) {
    return named.code;
  }
  return named.value.description.empty() ? Result<std::string>(ResultCode::noValue) : named.value.description;
}

ResultCode performAction(const AtspiSubject& subject, const std::string& action) {
  const auto named = namedAction(subject, action);
  if (!named) {
    return named.code;
  }
  return run(subject, "org.a11y.atspi.Action", "DoAction", "i", named.value.index);
}

Result<bool> isSettable(const AtspiSubject& subject, const std::string& attribute) {
  const auto names = attributeNames(subject);
  if (!names) {
    return names.code;
  }
  if (std::find(names.value.begin(), names.value.end(), attribute) == names.value.end()) {
    return ResultCode::attributeUnsupported;
  }
  if (attribute == "AXFocused") {
    return isFocusable(subject);
  }
  if (attribute != "AXValue") {
    return false;
  }
  return hasInterface(subject, kEditableTextInterface) || hasInterface(subject, kValueInterface);
}

ResultCode setAttribute(const AtspiSubject& subject, const std::string& attribute, const Value& value) {
  const Result<bool> settable = isSettable(subject, attribute);
  if (!settable) {
    return settable.code;
  }
  if (!settable.value) {
    return ResultCode::attributeUnsupported;
  }
  if (attribute == "AXFocused") {
    const bool* focused = std::get_if<bool>(&value);
    if (!focused || !*focused) {
      return ResultCode::illegalArgument;
    }
    return run(subject, kComponentInterface, "GrabFocus", "");
  }
  if (const auto* text = std::get_if<std::string>(&value)) {
    if (!hasInterface(subject, kEditableTextInterface)) {
      return ResultCode::illegalArgument;
    }
    return run(subject, kEditableTextInterface, "SetTextContents", "s", text->c_str());
  }
  double number = 0;
  if (const auto* real = std::get_if<double>(&value)) {
    number = *real;
  } else if (const auto* integer = std::get_if<std::int64_t>(&value)) {
    number = static_cast<double>(*integer);
  } else {
    return ResultCode::illegalArgument;
  }
  if (!hasInterface(subject, kValueInterface)) {
    return ResultCode::illegalArgument;
  }
  return run(subject, "org.freedesktop.DBus.Properties", "Set", "ssv", kValueInterface, "CurrentValue", "d", number);
}

}  // namespace zqlogging
