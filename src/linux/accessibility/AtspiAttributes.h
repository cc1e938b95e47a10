#pragma once

#include <string>
#include <vector>

#include "linux/accessibility/AtspiSubject.h"

namespace zqlogging {

/// The names of the attributes that the object's role has.
port::Result<std::vector<std::string>> attributeNames(const AtspiSubject& subject);
port::Result<port::Value> attributeValue(const AtspiSubject& subject, const std::string& attribute);

}  // namespace zqlogging
