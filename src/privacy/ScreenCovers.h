#pragma once

#include <memory>
#include <vector>

#include "privacy/Lists.h"
#include "privacy/PrivacyGuard.h"
#include "zqlogging/Geometry.h"

namespace zqlogging {

/// What a picture of a part of the screen must not show, in screen points (origin top-left).
struct ScreenCovers {
  bool areKnown = true;  ///< false: it cannot be had what the part shows
  std::vector<CGRect> rects;
};

/// Looks through the windows of every application for what lies in `area`: fields that hold a secret, and windows that
/// are blacklisted or show a blacklisted page, popups included.
ScreenCovers screenCoversIn(CGRect area, port::Platform& platform, PrivacyGuard& guard, const Lists& lists);

}  // namespace zqlogging
