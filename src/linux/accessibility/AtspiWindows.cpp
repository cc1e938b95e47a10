#include "linux/accessibility/AtspiWindows.h"

#include <algorithm>
#include <limits>

namespace zqlogging {

using port::Result;
using port::ResultCode;

namespace {

double area(const CGRect& rect) { return std::max(0.0, rect.size.width) * std::max(0.0, rect.size.height); }

/// How much two rectangles are the same: 1 when they are, 0 when they don't meet.
double likeness(const CGRect& a, const CGRect& b) {
  const double left = std::max(a.origin.x, b.origin.x), top = std::max(a.origin.y, b.origin.y);
  const double right = std::min(a.origin.x + a.size.width, b.origin.x + b.size.width);
  const double bottom = std::min(a.origin.y + a.size.height, b.origin.y + b.size.height);
  const double common = area({{left, top}, {right - left, bottom - top}});
  return common > 0 ? common / (area(a) + area(b) - common) : 0;
}

double likeness(const CGRect& frame, const WindowStack::Window& window) {
  return std::max(likeness(frame, window.frame), likeness(frame, window.clientFrame));
}

constexpr double kMinLikeness = 0.5;  // of two descriptions of one window

void prefetchWindow(AtspiBatch& batch, const AtspiObject& window) {
  batch.prefetch(window, AtspiRequest::name);
  batch.prefetchComponent(window, AtspiRequest::extents);
}

/// Of a window without a frame there is no value.
Result<AtspiWindow> readWindow(AtspiBatch& batch, const AtspiObject& window, double seconds) {
  prefetchWindow(batch, window);
  const AtspiAnswer& extents = batch.read(window, AtspiRequest::extents, seconds);
  const auto frame = frameFrom(extents);
  if (!frame) {
    return extents.code == ResultCode::success ? ResultCode::noValue : extents.code;
  }
  const auto* name = batch.read(window, AtspiRequest::name, seconds).as<std::string>();
  return AtspiWindow{window, *frame, name ? *name : ""};
}

}  // namespace

std::optional<CGRect> frameFrom(const AtspiAnswer& extents) {
  constexpr double kNowhere = std::numeric_limits<std::int32_t>::min();
  const auto* frame = extents.as<CGRect>();
  const bool isNowhere = !frame || frame->size.width < 0 || frame->size.height < 0 || frame->origin.x == kNowhere ||
                         frame->origin.y == kNowhere;
  return isNowhere ? std::nullopt : std::optional(*frame);
}

Result<std::vector<AtspiWindow>> readWindows(AtspiBatch& batch, const AtspiObject& root, double seconds) {
  const AtspiAnswer& answer = batch.read(root, AtspiRequest::children, seconds);
  const auto* children = answer.as<std::vector<AtspiObject>>();
  if (!children) {
    return answer.code;
  }
  for (const AtspiObject& window : *children) {
    prefetchWindow(batch, window);
  }
  std::vector<AtspiWindow> windows;
  for (const AtspiObject& child : *children) {
    auto window = readWindow(batch, child, seconds);
    if (window.code == ResultCode::cannotComplete) {
      return window.code;
    }
    if (window) {
      windows.push_back(std::move(window.value));
    }
  }
  return windows;
}

const AtspiWindow* matchingWindow(const std::vector<AtspiWindow>& windows, const WindowStack::Window& window) {
  constexpr double kSameTitle = 0.25;
  const AtspiWindow* best = nullptr;
  double bestScore = kMinLikeness;
  for (const AtspiWindow& candidate : windows) {
    const double alike = likeness(candidate.frame, window);
    const double score = alike + (!window.title.empty() && candidate.name == window.title ? kSameTitle : 0);
    if (alike >= kMinLikeness && score > bestScore) {
      best = &candidate;
      bestScore = score;
    }
  }
  return best;
}

std::string titleOnServer(const std::vector<WindowStack::Window>& windows, std::int32_t pid,
                          const std::optional<CGRect>& frame) {
  const WindowStack::Window* best = nullptr;
  double bestLikeness = kMinLikeness;
  int count = 0;
  for (const WindowStack::Window& window : windows) {
    if (window.pid != pid || window.overrideRedirect) {
      continue;
    }
    ++count;
    const double alike = frame ? likeness(*frame, window) : 0;
    if (!best || alike > bestLikeness) {
      best = &window;
      bestLikeness = std::max(alike, kMinLikeness);
    }
  }
  const bool isSure = count == 1 || bestLikeness > kMinLikeness;
  return best && isSure ? best->title : "";
}

}  // namespace zqlogging
