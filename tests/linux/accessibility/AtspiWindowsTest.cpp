#include <gtest/gtest.h>

#include "linux/accessibility/AtspiWindows.h"

namespace zqlogging {
namespace {

WindowStack::Window window(std::int32_t pid, const CGRect& frame, const char* title, bool overrideRedirect = false) {
  WindowStack::Window made;
  made.pid = pid;
  made.frame = made.clientFrame = frame;
  made.title = title;
  made.overrideRedirect = overrideRedirect;
  return made;
}

TEST(AtspiWindowsTest, AWindowWithoutANameHasTheTitleOfTheServersWindowInItsPlace) {
  constexpr CGRect kLeft{{0, 0}, {400, 300}}, kRight{{500, 0}, {400, 300}}, kInner{{10, 10}, {50, 20}};
  const WindowStack::Window left = window(7, kLeft, "Left"), right = window(7, kRight, "Right");
  const WindowStack::Window menu = window(7, kLeft, "menu", true), other = window(8, kLeft, "Other");
  const struct {
    std::vector<WindowStack::Window> windows;
    std::optional<CGRect> frame;
    const char* title;
  } cases[] = {
      {{left, right}, kRight, "Right"}, {{right, left}, CGRect{{2, 20}, {396, 280}}, "Left"},
      {{left, right}, kInner, ""},      {{left, right}, std::nullopt, ""},
      {{left}, kRight, "Left"},  // the only one: some toolkits tell frames in coordinates of their own
      {{left}, std::nullopt, "Left"},   {{menu, other, left}, kLeft, "Left"},
      {{menu, other}, kLeft, ""},       {{}, kLeft, ""},
  };
  for (const auto& one : cases) {
    EXPECT_EQ(titleOnServer(one.windows, 7, one.frame), one.title) << &one - cases;
  }
}

}  // namespace
}  // namespace zqlogging
