#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include "accessibility/AXError.h"
#include "elements/ZQAccessibilityElement.h"
#include "json/JsonValue.h"
#include "platform/Platform.h"
#include "zqlogging/Desktop.h"

namespace zqlogging {
namespace {

std::runtime_error failure(const std::string& what, port::ResultCode code) {
  return std::runtime_error(what + ": " + AXError(code).description());
}

void requireAccessibility(port::Platform& desktop) {
  if (!desktop.accessibility().isProcessTrusted(false)) {
    throw std::runtime_error("the accessibility service does not answer, or does not admit this process");
  }
}

std::optional<CGRect> frameOf(const ZQAccessibilityElement& element) {
  const auto position = element.value<CGPoint>("AXPosition");
  const auto size = element.value<CGSize>("AXSize");
  return position && size ? std::optional(CGRect{*position, *size}) : std::nullopt;
}

std::string titleOf(const std::optional<ZQAccessibilityElement>& element) {
  return element ? element->axTitle() : std::string();
}

ElementDescription describe(const ZQAccessibilityElement& element) {
  const ZQXPath path = element.xPath(false, std::nullopt);
  const auto application = element.application();
  ElementDescription description;
  description.fullPath = path.fullPath;
  description.url = path.url;
  description.name = element.elementName(true);
  description.controlType = element.elementControlType();
  description.value = element.axValue();
  description.window = titleOf(element.window());
  description.application = titleOf(application);
  description.applicationId = application ? application->axIdentifier() : std::string();
  description.frame = frameOf(element);
  const auto stepValue = [](const ZQXPathItem& step) { return JsonValue::Array{step.role, step.name}; };
  description.json = JsonValue(JsonValue::Object{{"fullPath", description.fullPath},
                                                 {"url", description.url},
                                                 {"items", JsonValue::array(path.pathItems, stepValue)},
                                                 {"name", description.name},
                                                 {"controlType", description.controlType},
                                                 {"value", description.value},
                                                 {"window", description.window},
                                                 {"application", description.application}})
                         .text();
  return description;
}

std::string quoted(const std::string& text) { return JsonValue(text).text(); }

/// An element as one line: role, title, value, identifier, frame, whatever of it there is.
std::string lineOf(const ZQAccessibilityElement& element, std::size_t depth) {
  constexpr std::size_t kIndent = 2;
  std::string line(depth * kIndent, ' ');
  const std::string role = element.axRole();
  line += role.empty() ? "?" : role;
  const std::pair<const char*, std::string> texts[] = {
      {" ", element.axTitle()}, {" = ", element.axValue()}, {" #", element.axIdentifier()}};
  for (const auto& [mark, text] : texts) {
    if (!text.empty()) {
      line += mark + quoted(text);
    }
  }
  if (const auto frame = frameOf(element)) {
    line += " " +
            JsonValue(JsonValue::Array{frame->origin.x, frame->origin.y, frame->size.width, frame->size.height}).text();
  }
  return line + "\n";
}

}  // namespace

CGPoint pointFromTopLeft(port::Platform& desktop, CGPoint topLeft) {
  const auto screens = desktop.workspace().screens();
  if (!screens) {
    constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();
    return {kUnknown, kUnknown};
  }
  for (const CGRect& screen : *screens) {
    // Frames stand at (left, -top), so that this flip and the service's own undo each other.
    const CGRect asSeen{{screen.origin.x, -screen.origin.y}, screen.size};
    if (asSeen.contains(topLeft)) {
      return {topLeft.x, screen.size.height - 1 - std::floor(topLeft.y)};
    }
  }
  return {};
}

std::optional<ElementDescription> describeElementAt(port::Platform& desktop, double x, double y) {
  try {
    requireAccessibility(desktop);
    const auto scope = desktop.accessibility().openReadScope();
    const auto found = desktop.accessibility().createSystemWideElement()->copyElementAtPosition(static_cast<float>(x),
                                                                                                static_cast<float>(y));
    if (found.code == port::ResultCode::noValue || (found && !found.value)) {
      return std::nullopt;
    }
    if (!found) {
      throw failure("the desktop does not tell what is at this point", found.code);
    }
    return describe(ZQAccessibilityElement(found.value));
  } catch (const port::PlatformException& exception) {
    throw std::runtime_error(exception.what());
  }
}

std::string describeApplication(port::Platform& desktop, int pid, int maxElements) {
  const std::string process = "process " + std::to_string(pid);
  try {
    requireAccessibility(desktop);
    const auto running = desktop.workspace().runningApplications();
    if (std::none_of(running.begin(), running.end(), [pid](const auto& each) { return each.pid == pid; })) {
      throw std::runtime_error(process + " is no running application");
    }
    const auto scope = desktop.accessibility().openReadScope();
    const port::ElementRef root = desktop.accessibility().createApplicationElement(pid);
    if (const auto children = root->copyAttributeValue("AXChildren"); !children) {
      throw failure(process + " does not answer the accessibility service", children.code);
    }
    const auto guard = std::make_shared<PrivacyGuard>();
    struct Pending {
      port::ElementRef element;
      std::size_t depth;
    };
    std::string text;
    std::vector<Pending> pending{{root, 0}};
    for (int count = 0; count < maxElements && !pending.empty(); ++count) {
      const Pending next = pending.back();
      pending.pop_back();
      const ZQAccessibilityElement current(next.element, guard);
      text += lineOf(current, next.depth);
      const auto children = current.value<port::Array>("AXChildren");
      std::vector<port::ElementRef> elements;
      for (const port::Value& child : children.value_or(port::Array())) {
        if (const auto* element = std::get_if<port::ElementRef>(&child); element != nullptr && *element) {
          elements.push_back(*element);
        }
      }
      desktop.accessibility().expectReads(elements);
      for (auto element = elements.rbegin(); element != elements.rend(); ++element) {
        pending.push_back({std::move(*element), next.depth + 1});
      }
    }
    return text;
  } catch (const port::PlatformException& exception) {
    throw std::runtime_error(exception.what());
  }
}

}  // namespace zqlogging
