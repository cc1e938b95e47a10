#include "linux/session/Toolkit.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace zqlogging {

namespace {

using Heeds = port::SeenApplication::Heeds;

struct Row {
  std::string_view library;  // begins the file's name
  const char* name;
  Heeds heeds;
};

/// The first row that a process has loaded decides: what is built on another toolkit, or opens its dialogs with one,
/// stands before that.
constexpr Row kToolkits[] = {
    {"libxul.so", "Gecko", Heeds::whenTold},
    {"libvcllo.so", "LibreOffice", Heeds::whenStarted},
    {"libjvm.so", "Java", Heeds::whenStarted},
    {"libwebkit2gtk-", "WebKitGTK", Heeds::whenStarted},
    {"libQt6WebEngineCore.so", "QtWebEngine", Heeds::whenStarted},
    {"libQt5WebEngineCore.so", "QtWebEngine", Heeds::whenStarted},
    {"libQt6Gui.so", "Qt 6", Heeds::whenStarted},
    {"libQt5Gui.so", "Qt 5", Heeds::whenStarted},
    {"libgtk-4.so", "GTK 4", Heeds::whenStarted},
    {"libgtk-3.so", "GTK 3", Heeds::whenStarted},
    {"libgtk-x11-2.0.so", "GTK 2", Heeds::whenStarted},
    {"libtk8.", "Tk", Heeds::never},
    {"libXaw", "X Toolkit", Heeds::never},
    {"libXm.so", "Motif", Heeds::never},
    {"libSDL2", "SDL", Heeds::never},
    {"libfltk.so", "FLTK", Heeds::never},
};

/// Files that lie beside the program of every browser and every desktop application made of one.
constexpr const char* kChromiumFiles[] = {"v8_context_snapshot.bin", "snapshot_blob.bin"};

bool isChromium(std::int32_t pid) {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/" + std::to_string(pid) + "/exe", error);
  for (const char* file : kChromiumFiles) {
    if (!error && std::filesystem::exists(program.parent_path() / file, error)) {
      return true;
    }
  }
  return false;
}

}  // namespace

Toolkit toolkitFromMaps(std::string_view maps) {
  const Row* found = std::end(kToolkits);
  while (!maps.empty()) {
    const std::string_view line = maps.substr(0, maps.find('\n'));
    maps.remove_prefix(std::min(line.size() + 1, maps.size()));
    const auto slash = line.rfind('/');
    if (slash == std::string_view::npos) {
      continue;
    }
    const std::string_view file = line.substr(slash + 1);
    for (const Row* row = kToolkits; row != found; ++row) {
      if (file.starts_with(row->library)) {
        found = row;
        break;
      }
    }
  }
  return found == std::end(kToolkits) ? Toolkit() : Toolkit{found->name, found->heeds};
}

Toolkit toolkitOf(std::int32_t pid) {
  if (isChromium(pid)) {
    return {"Chromium", Heeds::whenStarted};
  }
  std::ifstream file("/proc/" + std::to_string(pid) + "/maps");
  return toolkitFromMaps(std::string(std::istreambuf_iterator<char>(file), {}));
}

}  // namespace zqlogging
