#include <gtest/gtest.h>

#include "linux/session/Toolkit.h"

namespace zqlogging::testing {
namespace {

TEST(ToolkitTest, IsWhatTheLoadedLibrariesSayTheOuterOneFirst) {
  const auto maps = [](const std::vector<std::string>& files) {
    std::string lines = "55d0-55d1 r--p 00000000 08:01 42 /usr/bin/program\n7f00-7f01 rw-p 00000000 00:00 0 [heap]\n";
    for (const std::string& file : files) {
      lines += "7f10-7f11 r-xp 00001000 08:01 43                    /usr/lib/x86_64-linux-gnu/" + file + "\n";
    }
    return lines + "7f20-7f21 rw-p 00000000 00:00 0";
  };
  struct Case {
    std::vector<std::string> files;
    const char* name;
  };
  const Case cases[] = {
      {{"libc.so.6"}, ""},
      {{"libgtk-3.so.0.2406.32"}, "GTK 3"},
      {{"libgtk-4.so.1.800.3"}, "GTK 4"},
      {{"libQt5Gui.so.5.15.8"}, "Qt 5"},
      {{"libgtk-3.so.0.2406.32", "libQt6Gui.so.6.4.2"}, "Qt 6"},  // its theme, or its file dialog
      {{"libQt5Gui.so.5.15.8", "libQt5WebEngineCore.so.5.15.13"}, "QtWebEngine"},
      {{"libgtk-3.so.0.2406.32", "libxul.so"}, "Gecko"},
      {{"libgtk-3.so.0.2406.32", "libjvm.so"}, "Java"},
      {{"libvcllo.so", "libgtk-3.so.0.2406.32"}, "LibreOffice"},
      {{"libXaw7.so.7.0.0"}, "X Toolkit"},
      {{"notlibQt5Gui.so.5"}, ""},
  };
  for (const Case& each : cases) {
    EXPECT_EQ(toolkitFromMaps(maps(each.files)).name, each.name) << each.files.back();
  }
  EXPECT_EQ(toolkitFromMaps("").name, "");
  EXPECT_EQ(toolkitFromMaps(maps({"libXaw7.so.7"})).heeds, port::SeenApplication::Heeds::never);
  EXPECT_EQ(toolkitFromMaps(maps({"libxul.so"})).heeds, port::SeenApplication::Heeds::whenTold);
  EXPECT_EQ(toolkitOf(-1).heeds, port::SeenApplication::Heeds::unknown);
}

}  // namespace
}  // namespace zqlogging::testing
