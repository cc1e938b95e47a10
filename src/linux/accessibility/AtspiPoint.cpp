#include "linux/accessibility/AtspiPoint.h"

#include "linux/accessibility/AtspiWindows.h"

namespace zqlogging {

using port::Result;
using port::ResultCode;

namespace {

constexpr int kMaxSteps = 32;

}  // namespace

AtspiPoint::AtspiPoint(AtspiBatch& batch, int x, int y, double seconds)
    : batch_(batch), x_(x), y_(y), seconds_(seconds) {
  batch_.setPoint(x, y);
}

void AtspiPoint::moveTo(int x, int y) {
  x_ = x;
  y_ = y;
  batch_.setPoint(x, y);
}

bool AtspiPoint::isInside(const AtspiObject& object) const {
  const auto frame = frameOf(object);
  return frame && isInside(*frame);
}

const RoleRow* AtspiPoint::roleOf(const AtspiObject& object) const {
  const auto* role = read<std::uint32_t>(object, AtspiRequest::role);
  return role ? &roleRow(*role) : nullptr;
}

std::optional<CGRect> AtspiPoint::frameOf(const AtspiObject& object) const {
  batch_.prefetchComponent(object, AtspiRequest::extents);
  return frameFrom(batch_.read(object, AtspiRequest::extents, seconds_));
}

std::optional<AtspiObject> AtspiPoint::parentOf(const AtspiObject& object) const {
  const auto* parent = read<AtspiObject>(object, AtspiRequest::parent);
  return parent && !parent->isNull() ? std::optional(*parent) : std::nullopt;
}

std::vector<AtspiObject> AtspiPoint::childrenOf(const AtspiObject& object) const {
  const auto* children = read<std::vector<AtspiObject>>(object, AtspiRequest::children);
  return children ? *children : std::vector<AtspiObject>();
}

std::optional<AtspiObject> AtspiPoint::answerOf(const AtspiObject& object) const {
  const auto* answer = read<AtspiObject>(object, AtspiRequest::atPoint);
  return answer && !answer->isNull() && *answer != object ? std::optional(*answer) : std::nullopt;
}

bool AtspiPoint::hasState(const AtspiObject& object, AtspiState state) const {
  const auto* states = read<AtspiStates>(object, AtspiRequest::states);
  return states && has(*states, state);
}

/// Toolkits answer with some container on the way: goes on from the answer until it no longer changes.
Result<AtspiObject> AtspiPoint::innermost(AtspiObject window) {
  AtspiObject current = std::move(window);
  for (int step = 0; step < kMaxSteps; ++step) {
    batch_.prefetchFor(current, needStep);
    batch_.prefetchComponent(current, AtspiRequest::atPoint);
    const auto code = batch_.read(current, AtspiRequest::atPoint, seconds_).code;
    if (code == ResultCode::cannotComplete) {
      return code;
    }
    std::optional<AtspiObject> next = answerOf(current);
    if (next) {
      // The answer may lie elsewhere, like the hidden page that is the child of a tab. Its own answer will be next.
      batch_.prefetchFor(*next, needStep | needChildCount);
      batch_.prefetchComponent(*next, AtspiRequest::atPoint);
      if (!isInside(*next)) {
        next.reset();
      }
    }
    if (!next) {
      next = inSelectedPage(current);
    }
    if (!next) {
      break;
    }
    current = *next;
  }
  return current;
}

/// GTK finds the tabs of a notebook, but not what lies in its pages, which are the children of the tabs.
std::optional<AtspiObject> AtspiPoint::inSelectedPage(const AtspiObject& tabs) {
  const RoleRow* row = roleOf(tabs);
  if (row != &roleRow(rolePageTabList)) {
    return std::nullopt;
  }
  const std::vector<AtspiObject> pages = childrenOf(tabs);
  for (const AtspiObject& page : pages) {
    batch_.prefetch(page, AtspiRequest::states);
  }
  for (const AtspiObject& page : pages) {
    if (!hasState(page, stateSelected)) {
      continue;
    }
    auto below = answerOf(page);
    if (below && *below != tabs && isInside(*below)) {
      return below;
    }
  }
  return std::nullopt;
}

}  // namespace zqlogging
