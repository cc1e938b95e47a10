#include "linux/accessibility/WindowElement.h"

namespace zqlogging {

using port::Result;
using port::ResultCode;
using port::Value;

port::ElementRef WindowElement::sibling(Part part) const {
  return std::make_shared<WindowElement>(elements(), window_, part);
}

bool WindowElement::isEqual(const Element& other) const {
  const auto* same = dynamic_cast<const WindowElement*>(&other);
  return same && same->window_.id == window_.id && same->part_ == part_;
}

std::string WindowElement::textForm() const {
  return (part_ == Part::window ? "<window " : "<contents of window ") + std::to_string(window_.id) + ">";
}

Result<std::int32_t> WindowElement::getPid() const {
  return window_.pid ? Result<std::int32_t>(*window_.pid) : Result<std::int32_t>(ResultCode::invalidUIElement);
}

Result<std::vector<std::string>> WindowElement::copyAttributeNames() const {
  if (part_ == Part::contents) {
    return std::vector<std::string>{"AXRole", "AXParent",   "AXWindow", "AXTopLevelUIElement", "AXChildren", "AXFrame",
                                    "AXSize", "AXPosition", "AXEnabled"};
  }
  return std::vector<std::string>{
      "AXRole",  "AXSubrole", "AXTitle",  "AXParent",  "AXChildren", "AXPosition",         "AXSize",
      "AXFrame", "AXMain",    "AXWindow", "AXEnabled", "AXFocused",  "AXTopLevelUIElement"};
}

Result<Value> WindowElement::valueOfContents(const std::string& attribute) const {
  if (attribute == "AXRole") {
    return Value(std::string("AXGroup"));
  }
  if (attribute == "AXParent" || attribute == "AXWindow" || attribute == "AXTopLevelUIElement") {
    return Value(sibling(Part::window));
  }
  if (attribute == "AXChildren") {
    return Value(port::Array());
  }
  if (attribute == "AXEnabled") {
    return Value(true);
  }
  const bool isFrame = attribute == "AXPosition" || attribute == "AXSize" || attribute == "AXFrame";
  if (!isFrame) {
    return ResultCode::attributeUnsupported;
  }
  const auto now = services().windows().window(window_.client);
  if (!now) {
    return now.code == ResultCode::noValue ? ResultCode::invalidUIElement : now.code;
  }
  if (attribute == "AXPosition") {
    return Value(now->clientFrame.origin);
  }
  return attribute == "AXSize" ? Value(now->clientFrame.size) : Value(now->clientFrame);
}

Result<Value> WindowElement::copyAttributeValue(const std::string& attribute) const {
  if (part_ == Part::contents) {
    return valueOfContents(attribute);
  }
  const bool isToolTip = window_.type == WindowStack::Type::toolTip;
  const bool isMenu = window_.type == WindowStack::Type::menu;
  if (attribute == "AXRole") {
    return Value(std::string(isToolTip ? "AXHelpTag" : isMenu ? "AXMenu" : "AXWindow"));
  }
  if (attribute == "AXParent") {
    if (!window_.pid) {
      return ResultCode::noValue;
    }
    return Value(elements().application(*window_.pid));
  }
  if (attribute == "AXChildren") {
    return Value(port::Array{sibling(Part::contents)});
  }
  if (attribute == "AXEnabled") {
    return Value(true);
  }
  if (attribute == "AXWindow" || attribute == "AXTopLevelUIElement") {
    return Value(sibling(Part::window));
  }
  if (attribute == "AXMain" || attribute == "AXFocused") {
    const auto active = services().windows().activeWindow();
    return active.code == ResultCode::cannotComplete ? Result<Value>(active.code)
                                                     : Result<Value>(Value(active && active->id == window_.id));
  }
  const bool isKnown = attribute == "AXSubrole" || attribute == "AXTitle" || attribute == "AXPosition" ||
                       attribute == "AXSize" || attribute == "AXFrame";
  if (!isKnown) {
    return ResultCode::attributeUnsupported;
  }

  const auto now = services().windows().window(window_.client);
  if (!now) {
    return now.code == ResultCode::noValue ? ResultCode::invalidUIElement : now.code;
  }
  if (attribute == "AXPosition") {
    return Value(now->frame.origin);
  }
  if (attribute == "AXSize") {
    return Value(now->frame.size);
  }
  if (attribute == "AXFrame") {
    return Value(now->frame);
  }
  // Of popups the title is some default of the toolkit.
  if (now->overrideRedirect || isToolTip || isMenu) {
    return ResultCode::noValue;
  }
  if (attribute == "AXSubrole") {
    return Value(std::string("AXStandardWindow"));
  }
  return now->title.empty() ? Result<Value>(ResultCode::noValue) : Result<Value>(Value(now->title));
}

}  // namespace zqlogging
