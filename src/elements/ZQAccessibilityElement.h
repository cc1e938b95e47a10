#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "elements/ZQXPath.h"
#include "platform/Accessibility.h"
#include "privacy/PrivacyGuard.h"

namespace zqlogging {

struct IteratedElementData;

/// One element as the path and naming code sees it. Made per event and dropped with it. Nothing here fails: what
/// cannot be read is empty or absent, and so is what its guard withholds. Each read waits for the element's
/// application, at most its messaging time-out. Elements found through this one have the same guard.
class ZQAccessibilityElement {
 public:
  static constexpr std::string_view axMenuItem = "AXMenuItem";
  static constexpr std::string_view axWebArea = "AXWebArea";
  /// Characters kept of each attribute text that names an element or a step.
  static constexpr std::size_t MAX_ONE_PATH_LENGTH = 256;
  /// The most ancestors that a path visits above its element.
  static constexpr int MAX_XPATH_LENGTH = 24;
  /// Characters of a whole path.
  static constexpr std::size_t MAX_FULL_PATH_LENGTH = 1000;
  /// Control types, in lower case, whose description is never a name.
  static constexpr std::array<std::string_view, 2> controlsToIgnoreDescription = {"image", "icon"};

  explicit ZQAccessibilityElement(port::ElementRef elementRef)
      : ZQAccessibilityElement(std::move(elementRef), std::make_shared<PrivacyGuard>()) {}
  ZQAccessibilityElement(port::ElementRef elementRef, std::shared_ptr<PrivacyGuard> guard)
      : elementRef_(std::move(elementRef)), guard_(std::move(guard)) {}

  [[nodiscard]] const port::ElementRef& elementRef() const { return elementRef_; }
  [[nodiscard]] const std::shared_ptr<PrivacyGuard>& guard() const { return guard_; }

  [[nodiscard]] std::string axRole() const { return text("AXRole"); }
  [[nodiscard]] std::string axTitle() const { return label("AXTitle"); }
  [[nodiscard]] std::string axIdentifier() const { return text("AXIdentifier"); }
  [[nodiscard]] std::string axDescription() const { return label("AXDescription"); }
  [[nodiscard]] std::string axPlaceHolder() const { return label("AXPlaceholderValue"); }
  [[nodiscard]] std::string axHelp() const { return label("AXHelp"); }
  [[nodiscard]] std::string axValue() const;
  [[nodiscard]] std::string axUrl() const { return label("AXURL"); }
  /// AXValue when it is a number with an exact whole value.
  [[nodiscard]] std::optional<std::int64_t> axIntValue() const;

  /// The attribute when it is of this kind: ZQAccessibilityElement, CGPoint, CGSize, bool or port::Array.
  template <class T>
  [[nodiscard]] std::optional<T> value(const std::string& attribute) const;

  /// AXPosition and AXSize; the zero rectangle when either cannot be read.
  [[nodiscard]] CGRect frame() const;

  [[nodiscard]] std::string elementName(bool lookInDescription) const;
  /// The role without its leading "AX".
  [[nodiscard]] std::string elementControlType() const;
  [[nodiscard]] std::optional<ZQAccessibilityElement> window() const;
  [[nodiscard]] std::optional<ZQAccessibilityElement> application() const;

  /// The path found by walking up through the parents. `eventType` is the platform's number of the mouse event that
  /// is being recorded, absent for other events.
  [[nodiscard]] ZQXPath xPath(bool includeSiblings, std::optional<std::uint64_t> eventType) const;
  /// The path made from the elements under a point, the deepest first.
  [[nodiscard]] static ZQXPath xPathUsingElements(const std::vector<IteratedElementData>& elements,
                                                  bool includeSiblings);

 private:
  struct Step {
    std::string stringPath;
    ZQXPathItem item;
  };

  [[nodiscard]] port::Result<port::Value> read(const std::string& attribute) const;
  [[nodiscard]] std::string text(const std::string& attribute) const;
  /// A text that says something of the element itself; empty where the guard withholds it.
  [[nodiscard]] std::string label(const std::string& attribute) const;
  [[nodiscard]] std::optional<ZQAccessibilityElement> ancestorWithRole(std::string_view role) const;
  [[nodiscard]] std::string nameWithoutCycles(bool lookInDescription, std::vector<port::ElementRef>& visited) const;
  [[nodiscard]] Step pathItem(bool showEmpty, std::optional<std::uint64_t> eventType) const;
  /// "{A, B}" for the names of the children, or nothing.
  [[nodiscard]] std::string listOfChildNames() const;

  port::ElementRef elementRef_;
  std::shared_ptr<PrivacyGuard> guard_;
};

}  // namespace zqlogging
