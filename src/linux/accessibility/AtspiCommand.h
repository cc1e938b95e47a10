#pragma once

#include <string>
#include <vector>

#include "linux/accessibility/AtspiSubject.h"

namespace zqlogging {

/// What can be done to an object of the bus, rather than read from it.
port::Result<std::vector<std::string>> actionNames(const AtspiSubject& subject);
port::Result<std::string> actionDescription(const AtspiSubject& subject, const std::string& action);
port::ResultCode performAction(const AtspiSubject& subject, const std::string& action);
port::Result<bool> isSettable(const AtspiSubject& subject, const std::string& attribute);
port::ResultCode setAttribute(const AtspiSubject& subject, const std::string& attribute, const port::Value& value);

}  // namespace zqlogging
