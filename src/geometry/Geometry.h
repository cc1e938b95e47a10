#pragma once

#include <optional>
#include <string>

#include "platform/Workspace.h"
#include "zqlogging/Geometry.h"

namespace zqlogging {

/// Converts between bottom-left-origin and top-left-origin points, by the last screen that contains the point.
/// (0, 0) for a point on no screen; nothing when the desktop can't tell its screens.
std::optional<CGPoint> carbonScreenPoint(CGPoint point, port::Workspace& workspace);

/// The height that flips points around this one (y becomes height - 1 - y); nothing for a point on no screen.
port::Result<std::optional<double>> flipHeightAt(CGPoint point, port::Workspace& workspace);

/// Whether two rectangles have some area in common.
bool intersects(CGRect a, CGRect b);

/// The point with both coordinates truncated toward zero; nothing when one is not finite or out of the 64-bit range.
std::optional<CGPoint> wholePoint(CGPoint point);

/// The numbers truncated toward zero, joined by ", ". What is not finite is written as 0, what is out of the signed
/// 64-bit range as its nearest limit.
std::string toString(CGPoint point);
std::string toString(CGRect rect);

}  // namespace zqlogging
