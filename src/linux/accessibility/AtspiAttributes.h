#pragma once

#include <optional>
#include <string>
#include <vector>

#include "linux/atspi/AtspiReader.h"
#include "linux/atspi/AtspiVocabulary.h"
#include "platform/Value.h"

namespace zqlogging {

class LinuxAccessibility;

/// An object of the bus, and how it is read.
struct AtspiSubject {
  LinuxAccessibility& accessibility;
  AtspiReader& reader;
  AtspiObject object;
  double seconds;  ///< messaging time-out

  const AtspiAnswer& read(Fact fact) const { return reader.read(object, fact, seconds); }
  [[nodiscard]] AtspiSubject of(const AtspiObject& other) const { return {accessibility, reader, other, seconds}; }
};

/// The names of the attributes that the object's role has.
port::Result<std::vector<std::string>> attributeNames(const AtspiSubject& subject);
port::Result<port::Value> attributeValue(const AtspiSubject& subject, const std::string& attribute);

/// The row of the object's role; null with the reason when it can't be read.
port::Result<const RoleRow*> roleOf(const AtspiSubject& subject);
/// AXRole, which for some roles depends on more than the role.
port::Result<std::string> roleName(const AtspiSubject& subject);

/// The frame in an answer to Fact::extents, unless it is that of something not on the screen.
std::optional<CGRect> frameFrom(const AtspiAnswer& extents);

/// The application's window that the user works with, or would if the application were in front.
std::optional<AtspiObject> mainWindow(const AtspiSubject& application);

/// The element that has the focus in the main window, searched for downward, level by level.
std::optional<AtspiObject> focusedObject(const AtspiSubject& application);

}  // namespace zqlogging
