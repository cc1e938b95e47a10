#pragma once

#include <optional>

#include "linux/accessibility/AtspiSubject.h"

namespace zqlogging {

// What the user works with in an application, which is given by its root object. Both wait for the answers.

/// The window that the user works with, or would if the application were in front.
std::optional<AtspiObject> mainWindow(const AtspiSubject& application);

/// The element that has the focus in the main window, searched for downward, level by level.
std::optional<AtspiObject> focusedObject(const AtspiSubject& application);

}  // namespace zqlogging
