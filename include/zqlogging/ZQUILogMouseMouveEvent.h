#pragma once

#include <string>

#include "zqlogging/Geometry.h"

namespace zqlogging {

/// Reserved: where the pointer was, and the name of what was there. The library keeps none of them.
struct ZQUILogMouseMouveEvent {
  CGPoint position;  ///< screen points
  std::string name;  ///< of the element under the pointer
  friend bool operator==(const ZQUILogMouseMouveEvent&, const ZQUILogMouseMouveEvent&) = default;
};

}  // namespace zqlogging
