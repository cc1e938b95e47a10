#include "linux/accessibility/AtspiFocus.h"

#include <algorithm>
#include <vector>

#include "linux/accessibility/AtspiWindows.h"
#include "linux/atspi/AtspiProcesses.h"

namespace zqlogging {

using port::Result;

namespace {

constexpr int kMaxDepth = 40;
constexpr std::size_t kMaxNodesSearched = 400;

}  // namespace

std::optional<AtspiObject> mainWindow(const AtspiSubject& application) {
  const auto windows = readWindows(application.batch, application.object, application.seconds);
  const auto pid = readProcess(application.object, application.batch, application.seconds);
  if (!windows || !pid) {
    return std::nullopt;
  }
  auto inFront = application.services().windows().activeWindow();
  if (!inFront || inFront->pid != pid) {
    const auto stack = application.services().windows().windows();
    if (!stack) {
      return std::nullopt;
    }
    const auto top = std::find_if(stack->begin(), stack->end(), [&](const WindowStack::Window& window) {
      return window.pid == pid && !window.overrideRedirect;
    });
    inFront = top == stack->end() ? port::Result<WindowStack::Window>(port::ResultCode::noValue) : *top;
  }
  if (inFront) {
    if (const AtspiWindow* match = matchingWindow(windows.value, *inFront)) {
      return match->object;
    }
  }
  for (const AtspiWindow& window : windows.value) {
    application.batch.prefetch(window.object, AtspiRequest::states);
  }
  for (const AtspiWindow& window : windows.value) {
    const auto* states = application.of(window.object).read(AtspiRequest::states).as<AtspiStates>();
    if (states && has(*states, stateActive)) {
      return window.object;
    }
  }
  return std::nullopt;
}

std::optional<AtspiObject> focusedObject(const AtspiSubject& application) {
  const auto main = mainWindow(application);
  if (!main) {
    return std::nullopt;
  }
  struct Node {
    AtspiObject object;
    bool isBelowFocus;
  };
  std::vector<Node> level{{*main, false}};
  std::optional<AtspiObject> focused;
  bool isOnlyRow = false;
  std::size_t searched = 0;
  for (int depth = 0; depth < kMaxDepth && !level.empty() && searched < kMaxNodesSearched; ++depth) {
    searched += level.size();
    for (const Node& node : level) {
      application.batch.prefetch(node.object, AtspiRequest::states);
      application.batch.prefetch(node.object, AtspiRequest::children);
    }
    std::vector<Node> below;
    for (const auto& [object, isBelowFocus] : level) {
      const AtspiSubject subject = application.of(object);
      const auto* states = subject.read(AtspiRequest::states).as<AtspiStates>();
      if (!states || !has(*states, stateShowing)) {
        continue;
      }
      bool isFocused = has(*states, stateFocused);
      bool isRow = false;
      if (isFocused && !isBelowFocus) {
        // Some toolkits say so of every current tab, and of the current row of every list.
        const Result<const RoleRow*> row = roleOf(subject);
        isFocused = row && row.value->value != ValueSource::selected;
        isRow = isFocused && (row.value->role == "AXRow" || row.value->role == "AXCell");
      }
      if (isFocused && (isBelowFocus || !focused || (isOnlyRow && !isRow))) {
        focused = object;
        isOnlyRow = isRow;
      }
      const auto* children = subject.read(AtspiRequest::children).as<std::vector<AtspiObject>>();
      for (const AtspiObject& child : children ? *children : std::vector<AtspiObject>()) {
        below.push_back({child, isBelowFocus || isFocused});
      }
    }
    level = std::move(below);
  }
  return focused;
}

}  // namespace zqlogging
