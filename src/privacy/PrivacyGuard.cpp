#include "privacy/PrivacyGuard.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "privacy/PlainRoles.h"

namespace zqlogging {
namespace {

/// Levels above an element beyond which no tree goes.
constexpr std::size_t kMaxLevels = 512;
/// Levels that the path of an element shows above it. What lies higher is looked at here alone.
constexpr std::size_t kLevelsInPath = 24;
/// How far below an element a secret is looked for, and among how many elements.
constexpr int kMaxDepthBelow = 4;
constexpr std::size_t kMaxBelow = 200;

constexpr std::string_view kWebArea = "AXWebArea";

}  // namespace

PrivacyGuard::Facts& PrivacyGuard::factsOf(const port::ElementRef& element) {
  const auto [entry, isNew] = facts_.try_emplace(element);
  Facts& facts = entry->second;
  if (isNew) {
    facts.role = ask<std::string>(*element, "AXRole");
    const auto subrole = ask<std::string>(*element, "AXSubrole");
    const bool isUnclear = subrole.isUnknown() || (subrole.isGiven() && subrole.value.empty());
    const bool isPlain = facts.role.isGiven() && isPlainRole(facts.role.value);
    facts.isSecret = subrole.value == "AXSecureTextField" || facts.role.value == "AXSecureTextField" ||
                     (!isPlain && (isUnclear || facts.role.isUnknown()));
  }
  return facts;
}

const Answer<port::ElementRef>& PrivacyGuard::parentOf(const port::ElementRef& element) {
  const auto [entry, isNew] = parents_.try_emplace(element);
  if (isNew) {
    entry->second = ask<port::ElementRef>(*element, "AXParent");
    if (entry->second.isGiven() && entry->second.value == nullptr) {
      entry->second.kind = Answer<port::ElementRef>::Kind::unknown;
    }
  }
  return entry->second;
}

PrivacyGuard::WayUp PrivacyGuard::wayUpFrom(const port::ElementRef& element) {
  WayUp way;
  for (port::ElementRef current = element; current != nullptr;) {
    if (way.elements.size() > kMaxLevels) {  // most likely a circle
      way.ends = false;
      break;
    }
    way.elements.push_back(current);
    const Answer<port::ElementRef>& parent = parentOf(current);
    way.ends = !parent.isUnknown();
    current = parent.isGiven() ? parent.value : nullptr;
  }
  return way;
}

PrivacyGuard::Place PrivacyGuard::placeBelow(const port::ElementRef& element, Place place) {
  return place == Place::inside || factsOf(element).isSecret ? Place::inside : place;
}

PrivacyGuard::Place PrivacyGuard::placeOf(const port::ElementRef& element) {
  std::vector<port::ElementRef> way;  // those whose place is not known yet
  Place place = Place::outside;       // of the last of them
  for (port::ElementRef current = element; current != nullptr;) {
    if (const auto known = places_.find(current); known != places_.end()) {
      place = way.empty() ? known->second : placeBelow(current, known->second);
      break;
    }
    if (way.size() > kMaxLevels) {
      place = Place::unclear;
      break;
    }
    way.push_back(current);
    const Answer<port::ElementRef>& parent = parentOf(current);
    place = parent.isUnknown() ? Place::unclear : Place::outside;
    current = parent.isGiven() ? parent.value : nullptr;
  }
  for (auto current = way.rbegin(); current != way.rend(); ++current) {
    places_[*current] = place;
    if (std::next(current) != way.rend()) {
      place = placeBelow(*current, place);
    }
  }
  return place;
}

void PrivacyGuard::expectChildren(const port::ElementRef& element, const std::vector<port::ElementRef>& children) {
  const Place below = placeBelow(element, placeOf(element));
  for (const port::ElementRef& child : children) {
    places_.try_emplace(child, below);
  }
}

bool PrivacyGuard::mayTellLabels(const port::ElementRef& element) {
  const Place place = placeOf(element);
  return place == Place::outside || (place == Place::unclear && tellingOf(element) != Telling::nothing);
}

void PrivacyGuard::rememberAbove(const port::ElementRef& secret) {
  port::ElementRef current = parentOf(secret).value;
  while (current != nullptr && !factsOf(current).isAboveSecret) {
    factsOf(current).isAboveSecret = true;
    current = parentOf(current).value;
  }
}

PrivacyGuard::Telling PrivacyGuard::tellingOf(const port::ElementRef& element) {
  const Place place = placeOf(element);
  const Facts& facts = factsOf(element);
  if (facts.isSecret) {
    rememberAbove(element);
  }
  const bool showsText = !facts.role.isGiven() || facts.role.value == "AXStaticText";
  if (place == Place::inside || (place == Place::unclear && showsText)) {
    return Telling::nothing;
  }
  return facts.isSecret || place == Place::unclear ? Telling::allButValue : Telling::all;
}

bool PrivacyGuard::mayTellValue(const port::ElementRef& element) {
  return !valuesWithheld_ && tellingOf(element) == Telling::all && !holdsSecret(element);
}

bool PrivacyGuard::mayTellTyped(const port::ElementRef& element) {
  return tellingOf(element) == Telling::all && (isPlainRole(factsOf(element).role.value) || !holdsSecret(element));
}

bool PrivacyGuard::holdsSecret(const port::ElementRef& element) {
  if (factsOf(element).isAboveSecret) {
    return true;
  }
  std::vector<port::ElementRef> level = {element};
  std::size_t looked = 0;
  for (int depth = 0; depth < kMaxDepthBelow && !level.empty(); ++depth) {
    std::vector<port::ElementRef> below;
    for (const port::ElementRef& each : level) {
      const auto children = ask<port::Array>(*each, "AXChildren");
      if (children.isUnknown()) {
        return true;
      }
      for (const port::Value& child : children.value) {
        if (const auto* found = std::get_if<port::ElementRef>(&child); found != nullptr && *found != nullptr) {
          below.push_back(*found);
        }
      }
    }
    element->platform().accessibility().expectReads(below);
    for (const port::ElementRef& each : below) {
      if (++looked > kMaxBelow || factsOf(each).isSecret) {
        return true;
      }
    }
    level = std::move(below);
  }
  return false;
}

PrivacyGuard::Reason PrivacyGuard::judgePage(const port::ElementRef& element, std::string& address) {
  const Facts& facts = factsOf(element);
  if (facts.role.isUnknown()) {
    return Reason::unknown;
  }
  if (facts.role.value != kWebArea) {
    return Reason::none;
  }
  const auto url = ask<port::Url>(*element, "AXURL");
  if (url.isUnknown()) {
    return Reason::unknown;
  }
  if (!url.isGiven() || !lists_->listsPage(url.value.absoluteString)) {
    return Reason::none;
  }
  address = url.value.absoluteString;
  return Reason::page;
}

PrivacyGuard::Judgement PrivacyGuard::judgePages(const port::ElementRef& element) {
  const WayUp way = wayUpFrom(element);
  if (!way.ends) {
    return {Verdict::blacklisted, Reason::unknown, {}};
  }
  Judgement result;
  for (std::size_t level = 0; level < way.elements.size(); ++level) {
    const port::ElementRef& current = way.elements[level];
    Reason reason = judgePage(current, result.page);
    const auto title = ask<std::string>(*current, "AXTitle");
    if (reason == Reason::none && title.isUnknown()) {
      reason = Reason::unknown;
    } else if (reason == Reason::none && level > kLevelsInPath && lists_->mentionsPage(title.value)) {
      reason = Reason::page;
    }
    if (reason != Reason::none) {
      result.verdict = Verdict::blacklisted;
      result.reason = reason;
      if (reason == Reason::page) {
        break;
      }
    }
  }
  return result;
}

PrivacyGuard::Reason PrivacyGuard::judgeNames(const port::Element& application, std::int32_t pid) {
  const auto title = ask<std::string>(application, "AXTitle");
  const auto identifier = ask<std::string>(application, "AXIdentifier");
  const auto running = pid < 0 ? std::nullopt : application.platform().workspace().runningApplication(pid);
  std::vector<std::string> names = {title.value, identifier.value};
  if (running) {
    names.insert(names.end(), {running->description, running->executable, running->bundleIdentifier.value_or("")});
  }
  std::erase(names, "");
  if (std::any_of(names.begin(), names.end(), [&](const std::string& name) { return lists_->listsProgram(name); })) {
    return Reason::program;
  }
  return title.isUnknown() || names.empty() ? Reason::unknown : Reason::none;
}

PrivacyGuard::Reason PrivacyGuard::judgeProgram(const port::ElementRef& element) {
  if (lists_ == nullptr || !lists_->hasProcesses()) {
    return Reason::none;
  }
  try {
    const auto pid = element->getPid();
    const WayUp way = wayUpFrom(element);
    const port::ElementRef& top = way.elements.back();
    const bool isApplication = way.ends && factsOf(top).role.value == "AXApplication";
    if (isApplication) {
      return judgeNames(*top, pid ? pid.value : -1);
    }
    return pid ? judgeNames(*element->platform().accessibility().createApplicationElement(pid.value), pid.value)
               : Reason::unknown;
  } catch (const port::PlatformException&) {
    return Reason::unknown;
  }
}

PrivacyGuard::Judgement PrivacyGuard::judge(const port::ElementRef& element) {
  Judgement result;
  if (const Reason reason = judgeProgram(element); reason != Reason::none) {
    result = {Verdict::blacklisted, reason, {}};
  }
  if (result.reason != Reason::program && lists_ != nullptr && lists_->hasUrls()) {
    if (Judgement pages = judgePages(element); pages.verdict == Verdict::blacklisted) {
      result = std::move(pages);
    }
  }
  if (result.verdict == Verdict::record) {
    result.verdict = tellingOf(element) == Telling::all ? Verdict::record : Verdict::recordWithoutContent;
  }
  return result;
}

bool PrivacyGuard::mayBeListed(const port::ElementRef& element) {
  std::string address;
  return lists_ == nullptr || !lists_->hasUrls() || judgePage(element, address) == Reason::none;
}

}  // namespace zqlogging
