#include "elements/URLFinder.h"

#include <memory>
#include <optional>
#include <vector>

#include "accessibility/AXError.h"
#include "accessibility/Application.h"
#include "accessibility/SystemWideElement.h"
#include "platform/Platform.h"
#include "text/Text.h"

namespace zqlogging {
namespace {

/// The most elements examined upward from a probe's hit.
constexpr int kMaxExamined = 12;

std::vector<std::shared_ptr<UIElement>> windowsOf(const ZQAccessibilityElement& element) {
  try {
    const auto pid = element.elementRef()->getPid();
    const auto application = pid ? Application::forProcessID(element.elementRef()->platform(), pid.value) : nullptr;
    return application == nullptr ? std::vector<std::shared_ptr<UIElement>>()
                                  : application->windows().value_or(std::vector<std::shared_ptr<UIElement>>());
  } catch (const AXError&) {
    return {};
  }
}

std::shared_ptr<UIElement> elementAt(port::Platform& platform, double x, double y) {
  try {
    return SystemWideElement::shared(platform)->elementAtPosition(static_cast<float>(x), static_cast<float>(y));
  } catch (const AXError&) {
    return nullptr;
  }
}

}  // namespace

std::string URLFinder::findURL(const port::ElementRef& element) {
  auto answer = element->copyAttributeValue("AXURL");
  auto* url = answer ? std::get_if<port::Url>(&answer.value) : nullptr;
  return url == nullptr ? std::string() : validUtf8(std::move(url->absoluteString));
}

std::string URLFinder::findURLForMenuItem(const ZQAccessibilityElement& menuItem) {
  std::string result;
  for (const auto& window : windowsOf(menuItem)) {
    const ZQAccessibilityElement element(window->element());
    if (element.axRole() != "AXWindow") {
      continue;
    }
    const CGRect frame = element.frame();
    const auto hit =
        elementAt(element.elementRef()->platform(), frame.origin.x + offsetPx, frame.size.height - offsetPx);
    if (hit == nullptr) {
      continue;
    }
    auto current = ZQAccessibilityElement(hit->element()).value<ZQAccessibilityElement>("AXParent");
    for (int examined = 0; current && examined < kMaxExamined; ++examined) {
      if (current->axRole() == ZQAccessibilityElement::axWebArea) {
        result = findURL(current->elementRef());
      }
      current = current->value<ZQAccessibilityElement>("AXParent");
    }
  }
  return result;
}

}  // namespace zqlogging
