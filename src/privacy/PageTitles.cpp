#include <algorithm>

#include "privacy/PrivacyGuard.h"

namespace zqlogging {
namespace {

/// The most elements among which a page is looked for in a window.
constexpr std::size_t kMaxLooked = 150;

/// Whether elements of this role hold no pages.
bool isLeaf(const std::string& role) {
  return role == "AXButton" || role == "AXCheckBox" || role == "AXImage" || role == "AXMenuBar" ||
         role == "AXMenuItem" || role == "AXStaticText" || role == "AXTextField" || role == "AXTextArea";
}

}  // namespace

bool PrivacyGuard::withholdTitlesOfPages(const port::ElementRef& element) {
  if (lists_ == nullptr || !lists_->hasUrls()) {
    return false;
  }
  port::ElementRef window;
  for (const port::ElementRef& each : wayUpFrom(element).elements) {
    const std::string& role = factsOf(each).role.value;
    if (role == "AXWebArea") {
      return false;  // a page that was judged is in front
    }
    window = role == "AXWindow" ? each : window;
  }
  if (window == nullptr) {
    return false;
  }
  std::vector<port::ElementRef> pending = {window};
  for (std::size_t i = 0; i < pending.size() && i < kMaxLooked; ++i) {
    const port::ElementRef current = pending[i];
    std::string address;
    if (judgePage(current, address) != Reason::none) {
      const auto own = ask<std::string>(*current, "AXTitle");
      const auto windows = ask<std::string>(*window, "AXTitle");
      withheldTitles_ = {own.value, windows.value};
      std::erase(withheldTitles_, "");
      return true;
    }
    if (isLeaf(factsOf(current).role.value)) {
      continue;
    }
    for (const port::Value& child : ask<port::Array>(*current, "AXChildren").value) {
      if (const auto* found = std::get_if<port::ElementRef>(&child); found != nullptr && *found != nullptr) {
        pending.push_back(*found);
      }
    }
  }
  return false;
}

bool PrivacyGuard::mayTellText(const port::ElementRef& element, const std::string& text) {
  if (withheldTitles_.empty() || text.empty()) {
    return true;
  }
  // A tab shows as much of its page's title as has room; the window shows that title with more around it.
  const std::string& role = factsOf(element).role.value;
  const bool isTab = role == "AXRadioButton" || role == "AXTab";
  return std::none_of(withheldTitles_.begin(), withheldTitles_.end(), [&](const std::string& title) {
    return text.find(title) != std::string::npos || (isTab && title.find(text) != std::string::npos);
  });
}

}  // namespace zqlogging
