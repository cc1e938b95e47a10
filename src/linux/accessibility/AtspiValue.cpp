#include "linux/accessibility/AtspiValue.h"

namespace zqlogging {

using port::Result;
using port::ResultCode;
using port::Value;

namespace {

constexpr int kMaxChoices = 100;
constexpr int kMaxPartsOfCombo = 5;
constexpr std::string_view kFiller = "\xEF\xBF\xBC";  // U+FFFC stands for an embedded child

/// The text of an object without what stands for its children.
Result<Value> plainText(const AtspiSubject& subject) {
  const AtspiAnswer& answer = subject.read(AtspiRequest::text);
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

/// The name of the chosen child, according to the object's selection interface, or else to the children's states.
Result<Value> chosenChild(const AtspiSubject& subject) {
  const auto* selected = subject.read(AtspiRequest::selectedChild).as<AtspiObject>();
  if (selected && !selected->isNull()) {
    return textOf(subject.of(*selected), AtspiRequest::name);
  }
  const AtspiAnswer children = subject.batch.readChildren(subject.object, 0, kMaxChoices, subject.seconds);
  const auto* choices = children.as<std::vector<AtspiObject>>();
  if (!choices) {
    return children.code;
  }
  for (const AtspiObject& choice : *choices) {
    subject.batch.prefetch(choice, AtspiRequest::states);
  }
  for (const AtspiObject& choice : *choices) {
    const auto* states = subject.of(choice).read(AtspiRequest::states).as<AtspiStates>();
    if (states && has(*states, stateSelected)) {
      return textOf(subject.of(choice), AtspiRequest::name);
    }
  }
  return ResultCode::noValue;
}

/// What a combo box shows: its own text or choice, its entry's text, or the choice in its list.
Result<Value> choiceOf(const AtspiSubject& combo) {
  const auto* selected = combo.read(AtspiRequest::selectedChild).as<AtspiObject>();
  Result<Value> choice =
      selected && !selected->isNull() ? textOf(combo.of(*selected), AtspiRequest::name) : plainText(combo);
  if (choice) {
    return choice;
  }
  const AtspiAnswer children = combo.batch.readChildren(combo.object, 0, kMaxPartsOfCombo, combo.seconds);
  const auto* parts = children.as<std::vector<AtspiObject>>();
  for (const AtspiObject& part : parts ? *parts : std::vector<AtspiObject>()) {
    const Result<const RoleRow*> row = roleOf(combo.of(part));
    if (!row) {
      continue;
    }
    const bool isEntry = row.value->role == "AXTextField";
    const bool isList = row.value->role == "AXList" || row.value->role == "AXMenu" || row.value->role == "AXTable" ||
                        row.value->role == "AXOutline";
    choice = isEntry ? valueOf(combo.of(part)) : isList ? chosenChild(combo.of(part)) : choice;
    if (choice) {
      break;
    }
  }
  return choice;
}

}  // namespace

Result<Value> nonEmpty(const std::string& text) {
  return text.empty() ? Result<Value>(ResultCode::noValue) : Result<Value>(Value(text));
}

Result<Value> textOf(const AtspiSubject& subject, AtspiRequest request) {
  const AtspiAnswer& answer = subject.read(request);
  const auto* text = answer.as<std::string>();
  if (text) {
    return nonEmpty(*text);
  }
  return answer.code == ResultCode::attributeUnsupported ? ResultCode::noValue : answer.code;
}

Result<Value> stateOf(const AtspiSubject& subject, AtspiState wanted) {
  const AtspiAnswer& answer = subject.read(AtspiRequest::states);
  const auto* states = answer.as<AtspiStates>();
  return states ? Result<Value>(Value(has(*states, wanted))) : Result<Value>(answer.code);
}

Result<Value> valueOf(const AtspiSubject& subject) {
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
      if (subject.batch.isKnownParent(subject.object)) {
        return ResultCode::noValue;
      }
      const AtspiAnswer& count = subject.read(AtspiRequest::childCount);
      const auto* children = count.as<std::int32_t>();
      if (!children) {
        return count.code;
      }
      return *children == 0 ? plainText(subject) : ResultCode::noValue;
    }
    case ValueSource::number: {
      const AtspiAnswer& answer = subject.read(AtspiRequest::currentValue);
      if (answer.code == ResultCode::attributeUnsupported) {
        return plainText(subject);
      }
      const auto* number = answer.as<double>();
      return number ? Result<Value>(Value(*number)) : Result<Value>(answer.code);
    }
    case ValueSource::checked: {
      const AtspiAnswer& answer = subject.read(AtspiRequest::states);
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
      const Result<Value> selected = stateOf(subject, stateSelected);
      return selected ? Result<Value>(Value(std::int64_t{std::get<bool>(selected.value)})) : selected;
    }
    case ValueSource::choice:
      return choiceOf(subject);
  }
  return ResultCode::noValue;
}

}  // namespace zqlogging
