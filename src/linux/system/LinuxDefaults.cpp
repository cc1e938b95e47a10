#include "linux/system/LinuxDefaults.h"

#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "linux/system/LinuxLogs.h"
#include "linux/system/XdgFolders.h"

namespace zqlogging {
namespace {

constexpr const char* kGroup = "Defaults";

using KeyFile = std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)>;
using Text = std::unique_ptr<gchar, decltype(&g_free)>;

/// Whether a file of this user is at the path, or nothing. Anything else is left alone: opening a FIFO would wait.
bool mayBeUsed(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) {
    return errno == ENOENT;
  }
  return S_ISREG(status.st_mode) && status.st_uid == geteuid();
}

bool isFolderOfUser(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid();
}

/// Empty when there is no file or none that can be read.
KeyFile loadFile(const std::string& path) {
  KeyFile file(g_key_file_new(), &g_key_file_unref);
  if (!mayBeUsed(path) || !g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_KEEP_COMMENTS, nullptr)) {
    file.reset(g_key_file_new());
  }
  return file;
}

/// Any text as a key that the format allows; a lone percent sign, which no escaped text is, stands for the empty one.
std::string fileKey(const std::string& key) {
  return key.empty() ? "%" : Text(g_uri_escape_string(key.c_str(), nullptr, FALSE), &g_free).get();
}

/// The reason when it fails.
std::optional<std::string> saveFile(GKeyFile* file, const std::string& path) {
  constexpr int kUserAlone = 0600;
  if (!mayBeUsed(path) || !isFolderOfUser(path.substr(0, path.find_last_of('/')))) {
    return "not a file of this user";
  }
  gsize length = 0;
  const Text content(g_key_file_to_data(file, &length, nullptr), &g_free);
  GError* error = nullptr;
  if (g_file_set_contents_full(path.c_str(), content.get(), static_cast<gssize>(length), G_FILE_SET_CONTENTS_CONSISTENT,
                               kUserAlone, &error)) {
    return std::nullopt;
  }
  std::string reason = error->message;
  g_error_free(error);
  return reason;
}

}  // namespace

std::string LinuxDefaults::filePath() { return userConfigFolder() + "/zqlogging/defaults.ini"; }

void LinuxDefaults::setString(const std::string& key, const std::string& value) {
  const std::lock_guard lock(mutex_);
  set_[key] = value;
  const std::string path = filePath();
  createPrivateFolder(userConfigFolder() + "/zqlogging");
  const KeyFile file = loadFile(path);
  const Text valid(g_utf8_make_valid(value.c_str(), -1), &g_free);
  g_key_file_set_string(file.get(), kGroup, fileKey(key).c_str(), valid.get());
  if (const auto reason = saveFile(file.get(), path)) {
    LinuxLogs().generalLog("ZQLogging: the defaults cannot be kept: " + *reason);
  }
}

std::optional<std::string> LinuxDefaults::string(const std::string& key) {
  const std::lock_guard lock(mutex_);
  if (const auto found = set_.find(key); found != set_.end()) {
    return found->second;
  }
  const KeyFile file = loadFile(filePath());
  const Text value(g_key_file_get_string(file.get(), kGroup, fileKey(key).c_str(), nullptr), &g_free);
  return value ? std::optional<std::string>(value.get()) : std::nullopt;
}

}  // namespace zqlogging
