#pragma once

#include <string>
#include <vector>

#include "platform/Session.h"
#include "zqlogging/Diagnosis.h"

namespace zqlogging {

/// What the facts mean for records.
std::vector<Finding> findingsOf(const port::SessionFacts& facts);

/// The programs that have to be started again before they can be recorded well.
std::vector<std::string> programsToRestart(const port::SessionFacts& facts);

/// One line for the log about what will make records poor; empty when nothing will.
std::string warningOf(const std::vector<Finding>& findings);

}  // namespace zqlogging
