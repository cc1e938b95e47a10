#include "linux/accessibility/AtspiSubject.h"

#include <algorithm>

namespace zqlogging {

using port::Result;
using port::ResultCode;

namespace {

constexpr std::string_view kWindow = "AXWindow";

/// Whether the object lies directly under its application. The application's list says so; windows that it leaves out
/// are known by their parent.
bool isTopLevel(const AtspiSubject& subject, const RoleRow& row) {
  const auto* listed = subject.application().read(AtspiRequest::children).as<std::vector<AtspiObject>>();
  if (listed && std::find(listed->begin(), listed->end(), subject.object) != listed->end()) {
    return true;
  }
  if (row.role != kWindow) {
    return false;
  }
  const Result<AtspiObject> parent = parentOf(subject);
  return !parent || parent.value.isRoot();
}

}  // namespace

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
    case RoleDepends::place:
      if (isTopLevel(subject, *row.value)) {
        return std::string(kWindow);
      }
      return std::string(row.value->role == kWindow ? "AXGroup" : row.value->role);
  }
  return std::string(row.value->role);
}

Result<std::string> subroleName(const AtspiSubject& subject) {
  const Result<const RoleRow*> row = roleOf(subject);
  const Result<std::string> role = row ? roleName(subject) : Result<std::string>(row.code);
  if (!role) {
    return role.code;
  }
  const bool isAsListed = role.value == row.value->role;
  return std::string(isAsListed ? row.value->subrole : role.value == kWindow ? "AXStandardWindow" : "");
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
  if (const auto* parent = answer.as<AtspiObject>(); parent && !parent->isNull() && *parent != subject.object) {
    return *parent;
  }
  const bool isNoAnswer = answer.code == ResultCode::invalidUIElement || answer.code == ResultCode::cannotComplete ||
                          answer.code == ResultCode::apiDisabled;
  return isNoAnswer ? Result<AtspiObject>(answer.code) : Result<AtspiObject>(subject.object.root());
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
