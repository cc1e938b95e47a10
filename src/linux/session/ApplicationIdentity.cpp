#include "linux/session/ApplicationIdentity.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <fstream>
#include <iterator>
#include <string_view>
#include <vector>

namespace zqlogging {
namespace {

std::string procPath(std::int32_t pid, const char* name) { return "/proc/" + std::to_string(pid) + "/" + name; }

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::optional<std::string> variableOf(std::string_view environment, std::string_view name) {
  while (!environment.empty()) {
    const std::string_view entry = environment.substr(0, environment.find('\0'));
    if (entry.starts_with(name) && entry.substr(name.size()).starts_with('=')) {
      return std::string(entry.substr(name.size() + 1));
    }
    environment.remove_prefix(std::min(entry.size() + 1, environment.size()));
  }
  return std::nullopt;
}

}  // namespace

std::string desktopEntryIdentifier(const std::string& path) {
  constexpr std::string_view kFolder = "/applications/";
  constexpr std::string_view kSuffix = ".desktop";
  const auto folder = path.rfind(kFolder);
  std::string identifier =
      folder != std::string::npos ? path.substr(folder + kFolder.size()) : path.substr(path.rfind('/') + 1);
  if (identifier.ends_with(kSuffix)) {
    identifier.resize(identifier.size() - kSuffix.size());
  }
  std::replace(identifier.begin(), identifier.end(), '/', '-');
  return identifier;
}

std::optional<std::string> launchedDesktopEntry(std::int32_t pid) {
  const std::string environment = contentOf(procPath(pid, "environ"));
  const auto path = variableOf(environment, "GIO_LAUNCHED_DESKTOP_FILE");
  // The entry is inherited by the programs that the application starts; the process id tells whose it is.
  if (!path || path->empty() || variableOf(environment, "GIO_LAUNCHED_DESKTOP_FILE_PID") != std::to_string(pid)) {
    return std::nullopt;
  }
  return desktopEntryIdentifier(*path);
}

std::optional<std::string> executableName(std::int32_t pid) {
  std::string target(PATH_MAX, '\0');
  const ssize_t length = readlink(procPath(pid, "exe").c_str(), target.data(), target.size());
  if (length <= 0) {
    return std::nullopt;
  }
  target.resize(static_cast<std::size_t>(length));
  constexpr std::string_view kReplaced = " (deleted)";
  if (target.ends_with(kReplaced)) {
    target.resize(target.size() - kReplaced.size());
  }
  return target.substr(target.rfind('/') + 1);
}

std::optional<std::uint64_t> startTime(std::int32_t pid) {
  // "pid (name) state …": the name may hold anything, the fields after it are numbers.
  constexpr std::size_t kState = 0;
  constexpr std::size_t kStartTime = 19;
  const std::string line = contentOf(procPath(pid, "stat"));
  std::size_t position = line.rfind(')');
  if (position == std::string::npos) {
    return std::nullopt;
  }
  std::vector<std::string> fields;
  while (fields.size() <= kStartTime && (position = line.find_first_not_of(" \n", position + 1)) != std::string::npos) {
    const auto end = line.find(' ', position);
    fields.push_back(line.substr(position, end - position));
    position = end == std::string::npos ? line.size() : end;
  }
  if (fields.size() <= kStartTime || fields[kState] == "Z" || fields[kState] == "X") {
    return std::nullopt;
  }
  return std::stoull(fields[kStartTime]);
}

}  // namespace zqlogging
