#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "json/JsonCursor.h"
#include "scripted/ScriptedPlatform.h"

namespace zqlogging {

/// A scripted desktop from the JSON text of a scenario without steps. Throws ScenarioError for the first fault.
std::shared_ptr<port::ScriptedPlatform> desktopFromJson(std::string_view json);

/// Puts everything that a scenario says about the desktop onto an empty one.
void readDesktop(JsonFields& scenario, port::ScriptedPlatform& platform);

// What steps say in the same words as the desktop.
port::NodeId readElementId(const JsonCursor& id, const port::ScriptedDesktop& desktop);
std::int32_t readPid(const JsonCursor& pid, const port::ScriptedDesktop& desktop);
/// The keys `attributes` and `errors` of an element.
port::ElementEdit readEdit(JsonFields& element, const port::ScriptedDesktop& desktop);
std::vector<port::ScriptedHit> readHits(const JsonCursor& hits, const port::ScriptedDesktop& desktop);
std::vector<CGRect> readScreens(const JsonCursor& screens);
CGRect readBox(const JsonCursor& box);

}  // namespace zqlogging
