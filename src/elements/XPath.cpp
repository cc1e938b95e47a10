#include <algorithm>

#include "elements/IteratedElementData.h"
#include "elements/URLFinder.h"
#include "elements/ZQAccessibilityElement.h"
#include "events/ZQLogEventType.h"
#include "platform/Platform.h"
#include "text/Text.h"

namespace zqlogging {
namespace {

constexpr std::string_view kSeparator = " -> ";

void prepend(std::string& path, std::string_view text) { path.insert(0, text); }

std::string_view firstOf(const std::string& text) {
  return firstCharacters(text, ZQAccessibilityElement::MAX_ONE_PATH_LENGTH);
}

void cutToFullPathLength(std::string& path) {
  path.resize(firstCharacters(path, ZQAccessibilityElement::MAX_FULL_PATH_LENGTH).size());
}

void trimBlanks(std::string& path) {
  constexpr std::string_view kBlanks = " \t";
  path.erase(std::min(path.find_last_not_of(kBlanks) + 1, path.size()));
  path.erase(0, path.find_first_not_of(kBlanks));
}

}  // namespace

ZQAccessibilityElement::Step ZQAccessibilityElement::pathItem(bool showEmpty,
                                                              std::optional<std::uint64_t> eventType) const {
  const std::string role = axRole();
  const std::string title = axTitle();
  const std::string value = axValue();
  const std::string description = axDescription();
  const std::string help = axHelp();

  std::string name;
  for (const std::string* source : {&title, &value, &description, &help}) {
    if (!source->empty()) {
      name = firstOf(*source);
    }
  }
  const bool isRelease = eventType == static_cast<std::uint64_t>(PlatformEventType::leftMouseUp);
  if (role == "AXCheckBox" && isRelease) {
    name += axIntValue() == 0 ? "-> State Changed to Disabled(Off)" : "-> State Changed to Enabled(On)";
  }
  if (name.empty() && !showEmpty) {
    return {};
  }
  Step step;
  step.item.role = role.starts_with("AX") ? role.substr(2) : role;
  step.stringPath.append(kSeparator).append(step.item.role);
  if (!name.empty()) {
    step.stringPath.append(":").append(name);
  }
  step.item.name = std::move(name);
  return step;
}

std::string ZQAccessibilityElement::listOfChildNames() const {
  const auto children = value<port::Array>("AXChildren");
  if (!children) {
    return {};
  }
  std::vector<port::ElementRef> elements;
  elements.reserve(children->size());
  for (const port::Value& child : *children) {
    const auto* element = std::get_if<port::ElementRef>(&child);
    if (element != nullptr && *element != nullptr) {
      elements.push_back(*element);
    }
  }
  elementRef_->platform().accessibility().expectReads(elements);
  guard_->expectChildren(elementRef_, elements);

  std::string names;
  for (const port::ElementRef& element : elements) {
    const std::string name = ZQAccessibilityElement(element, guard_).elementName(true);
    if (name.empty() || !guard_->mayBeListed(element)) {
      continue;
    }
    if (!names.empty()) {
      names.append(", ");
    }
    names.append(name);
    // What lies beyond the length of a whole path is cut off anyway.
    if (names.size() > MAX_FULL_PATH_LENGTH && hasMoreCharactersThan(names, MAX_FULL_PATH_LENGTH)) {
      break;
    }
  }
  return names.empty() ? names : "{" + names + "}";
}

ZQXPath ZQAccessibilityElement::xPath(bool includeSiblings, std::optional<std::uint64_t> eventType) const {
  ZQXPath result;
  std::string& path = result.fullPath;
  if (axRole() == axMenuItem) {
    result.url = URLFinder::findURLForMenuItem(*this);
  }
  Step own = pathItem(true, eventType);
  prepend(path, own.stringPath);
  result.pathItems.push_back(std::move(own.item));

  auto current = value<ZQAccessibilityElement>("AXParent");
  for (int level = 0; current && level < MAX_XPATH_LENGTH; ++level) {
    if (current->axRole() == axWebArea) {
      result.url = URLFinder::findURL(current->elementRef());
    }
    if (level == 0) {
      prepend(path, listOfChildNames());
      if (includeSiblings) {
        prepend(path, current->listOfChildNames());
      }
    }
    Step step = current->pathItem(false, std::nullopt);
    prepend(path, step.stringPath);
    result.pathItems.push_back(std::move(step.item));
    current = current->value<ZQAccessibilityElement>("AXParent");
  }

  if (path.starts_with(kSeparator)) {
    path.erase(0, kSeparator.size() - 1);  // its last blank still counts toward the length below
  }
  cutToFullPathLength(path);
  trimBlanks(path);
  return result;
}

ZQXPath ZQAccessibilityElement::xPathUsingElements(const std::vector<IteratedElementData>& elements,
                                                   bool includeSiblings) {
  ZQXPath result;
  std::string& path = result.fullPath;
  for (std::size_t index = 0; index < elements.size(); ++index) {
    const ZQAccessibilityElement& element = elements[index].e;
    if (element.axRole() == axWebArea) {
      result.url = URLFinder::findURL(element.elementRef());
    }
    if (index == 1 && includeSiblings) {
      prepend(path, element.listOfChildNames());
    }
    Step step = element.pathItem(false, std::nullopt);
    prepend(path, step.stringPath);
    result.pathItems.push_back(std::move(step.item));
  }
  if (path.starts_with(kSeparator)) {
    path.erase(0, kSeparator.size());
  }
  cutToFullPathLength(path);
  return result;
}

}  // namespace zqlogging
