#include "linux/system/XdgFolders.h"

#include <glib.h>

#include <cstdlib>

namespace zqlogging {
namespace {

std::string folder(const char* variable, const char* belowHome) {
  // Not GLib's own look-up, which keeps its first answer. Relative paths are to be ignored.
  const char* chosen = std::getenv(variable);
  if (chosen != nullptr && *chosen == '/') {
    return chosen;
  }
  return std::string(g_get_home_dir()) + "/" + belowHome;
}

}  // namespace

std::string userCacheFolder() { return folder("XDG_CACHE_HOME", ".cache"); }

std::string userConfigFolder() { return folder("XDG_CONFIG_HOME", ".config"); }

bool createPrivateFolder(const std::string& path) {
  constexpr int kUserAlone = 0700;
  return g_mkdir_with_parents(path.c_str(), kUserAlone) == 0;
}

}  // namespace zqlogging
