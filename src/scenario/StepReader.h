#pragma once

#include "json/JsonCursor.h"
#include "scenario/ScenarioRun.h"

namespace zqlogging {

/// Checks one step of a scenario against its desktop. Throws ScenarioError for the first fault.
ScenarioStep readStep(const JsonCursor& step, const port::ScriptedDesktop& desktop);

}  // namespace zqlogging
