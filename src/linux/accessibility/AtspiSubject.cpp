#include "linux/accessibility/AtspiSubject.h"

namespace zqlogging {

using port::Result;
using port::ResultCode;

Result<const RoleRow*> roleOf(const AtspiSubject& subject) {
  const AtspiAnswer& answer = subject.read(AtspiRequest::role);
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
      const auto* states = subject.read(AtspiRequest::states).as<AtspiStates>();
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

Result<AtspiObject> parentOf(const AtspiSubject& subject) {
  const Result<const RoleRow*> row = roleOf(subject);
  if (!row) {
    return row.code;
  }
  if (row.value == &roleRow(roleApplication) || subject.object.isRoot()) {
    return ResultCode::noValue;
  }
  const AtspiAnswer& answer = subject.read(AtspiRequest::parent);
  const auto* parent = answer.as<AtspiObject>();
  if (!parent) {
    return answer.code;
  }
  const bool isNone = parent->isNull() || *parent == subject.object;
  return isNone ? Result<AtspiObject>(ResultCode::noValue) : Result<AtspiObject>(*parent);
}

std::string objectAttribute(const AtspiSubject& subject, std::initializer_list<const char*> keys) {
  const auto* attributes = subject.read(AtspiRequest::objectAttributes).as<std::map<std::string, std::string>>();
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

}  // namespace zqlogging
