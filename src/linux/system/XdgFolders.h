#pragma once

#include <string>

namespace zqlogging {

/// The user's folders by the XDG base directory rules, as the environment says now. Not created.
std::string userCacheFolder();
std::string userConfigFolder();

/// Creates the folder and the missing ones above it for the user alone. False when it is not there afterwards.
bool createPrivateFolder(const std::string& path);

}  // namespace zqlogging
