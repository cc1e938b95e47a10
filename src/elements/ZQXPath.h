#pragma once

#include <string>
#include <vector>

namespace zqlogging {

/// One step of a path. Both texts are empty for a step that was left out.
struct ZQXPathItem {
  std::string role;  ///< without its leading "AX"
  std::string name;
  friend bool operator==(const ZQXPathItem&, const ZQXPathItem&) = default;
};

/// Where an element is: from the application down to it.
struct ZQXPath {
  std::string fullPath;                ///< at most 1000 characters
  std::vector<ZQXPathItem> pathItems;  ///< the element first, then its ancestors upward
  std::string url;                     ///< address of the page that holds the element, or empty
};

}  // namespace zqlogging
