#pragma once

#include <initializer_list>
#include <string>

#include "linux/accessibility/ElementFactory.h"
#include "linux/atspi/AtspiVocabulary.h"
#include "platform/Value.h"

namespace zqlogging {

/// An object of the bus, and how it is read. All that reads waits for the answer unless it is known.
struct AtspiSubject {
  const ElementFactory& elements;
  AtspiBatch& batch;
  AtspiObject object;
  double seconds;  ///< messaging time-out

  const AtspiAnswer& read(AtspiRequest request) const { return batch.read(object, request, seconds); }
  [[nodiscard]] AtspiSubject of(const AtspiObject& other) const { return {elements, batch, other, seconds}; }
  [[nodiscard]] AtspiSubject application() const { return of(object.root()); }
  [[nodiscard]] AtspiServices& services() const { return elements.services(); }
};

/// The row of the object's role; null with the reason when it can't be read.
port::Result<const RoleRow*> roleOf(const AtspiSubject& subject);
/// AXRole and AXSubrole, which for some roles depend on more than the role.
port::Result<std::string> roleName(const AtspiSubject& subject);
port::Result<std::string> subroleName(const AtspiSubject& subject);
/// The object's parent, its application when it names none; above the application there is nothing.
port::Result<AtspiObject> parentOf(const AtspiSubject& subject);
/// The first of these object attributes that is there and not empty, or empty.
std::string objectAttribute(const AtspiSubject& subject, std::initializer_list<const char*> keys);

}  // namespace zqlogging
