#pragma once

#include <atomic>
#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "accessibility/Action.h"
#include "accessibility/Attribute.h"
#include "accessibility/Role.h"
#include "accessibility/Subrole.h"
#include "accessibility/UnpackedValue.h"
#include "platform/Accessibility.h"

namespace zqlogging {

/// One element of the desktop: a window, a button, an application, the system-wide element.
///
/// Every operation blocks until the element's application answers or the messaging time-out is over. A failure is
/// either an absent value, by the rule stated at the operation, or a thrown AXError with the platform's code. Platform
/// exceptions pass through. Any thread.
///
/// The forms that take an Attribute or an Action call the form that takes its name, so a subclass that overrides the
/// latter serves both. Typed reads of kind T (one of UnpackedValue's, or UnpackedValue for any) throw illegalArgument
/// when the value is of another kind.
class UIElement {
 public:
  /// The element must be there: throws illegalArgument for a null reference.
  explicit UIElement(port::ElementRef element);
  UIElement(const UIElement&) = delete;
  UIElement& operator=(const UIElement&) = delete;
  virtual ~UIElement() = default;

  /// Whether this process may use the accessibility service; with the prompt the desktop may ask the user.
  static bool isProcessTrusted(port::Platform& platform, bool withPrompt);
  /// The messaging time-out of the shared system-wide element, which is the default of all elements.
  static float globalMessagingTimeout(port::Platform& platform);
  static void setGlobalMessagingTimeout(port::Platform& platform, float seconds);

  /// Names in the platform's order; empty on noValue and attributeUnsupported. The typed form leaves unknown names out
  /// and prints each of them once.
  [[nodiscard]] virtual std::vector<Attribute> attributes() const;
  [[nodiscard]] virtual std::vector<std::string> attributesAsStrings() const;

  /// False on attributeUnsupported; an attribute without a value is supported.
  [[nodiscard]] virtual bool attributeIsSupported(Attribute attribute) const;
  [[nodiscard]] virtual bool attributeIsSupported(const std::string& attribute) const;

  /// False also on noValue and attributeUnsupported.
  [[nodiscard]] virtual bool attributeIsSettable(Attribute attribute) const;
  [[nodiscard]] virtual bool attributeIsSettable(const std::string& attribute) const;

  /// Absent on noValue and attributeUnsupported.
  template <class T>
  [[nodiscard]] std::optional<T> attribute(Attribute attribute) const {
    return typed<T>(attributeValue(attribute));
  }
  template <class T>
  [[nodiscard]] std::optional<T> attribute(const std::string& attribute) const {
    return typed<T>(attributeValue(attribute));
  }
  [[nodiscard]] virtual std::optional<UnpackedValue> attributeValue(Attribute attribute) const;
  [[nodiscard]] virtual std::optional<UnpackedValue> attributeValue(const std::string& attribute) const;

  virtual void setAttribute(Attribute attribute, const UnpackedValue& value);
  virtual void setAttribute(const std::string& attribute, const UnpackedValue& value);

  /// Several attributes in one request. Those without a value or not supported have no entry; any other failure of
  /// one of them is thrown.
  [[nodiscard]] virtual std::unordered_map<Attribute, UnpackedValue> getMultipleAttributes(
      const std::vector<Attribute>& attributes) const;
  template <std::same_as<Attribute>... Attributes>
  [[nodiscard]] std::unordered_map<Attribute, UnpackedValue> getMultipleAttributes(Attributes... attributes) const {
    return getMultipleAttributes(std::vector<Attribute>{attributes...});
  }
  [[nodiscard]] virtual std::unordered_map<std::string, UnpackedValue> getMultipleAttributes(
      const std::vector<std::string>& attributes) const;

  /// Absent as for `attribute`; throws illegalArgument when the value is not an array.
  template <class T>
  [[nodiscard]] std::optional<std::vector<T>> arrayAttribute(Attribute attribute) const {
    return typedList<T>(arrayAttributeValues(attribute));
  }
  template <class T>
  [[nodiscard]] std::optional<std::vector<T>> arrayAttribute(const std::string& attribute) const {
    return typedList<T>(arrayAttributeValues(attribute));
  }
  [[nodiscard]] virtual std::optional<std::vector<UnpackedValue>> arrayAttributeValues(Attribute attribute) const;
  [[nodiscard]] virtual std::optional<std::vector<UnpackedValue>> arrayAttributeValues(
      const std::string& attribute) const;

  /// Part of an array attribute. Absent on noValue and attributeUnsupported.
  template <class T>
  [[nodiscard]] std::optional<std::vector<T>> valuesForAttribute(Attribute attribute, std::int64_t startAtIndex,
                                                                 std::int64_t maxValues) const {
    return typedList<T>(attributeValues(attribute, startAtIndex, maxValues));
  }
  template <class T>
  [[nodiscard]] std::optional<std::vector<T>> valuesForAttribute(const std::string& attribute,
                                                                 std::int64_t startAtIndex,
                                                                 std::int64_t maxValues) const {
    return typedList<T>(attributeValues(attribute, startAtIndex, maxValues));
  }
  [[nodiscard]] virtual std::optional<std::vector<UnpackedValue>> attributeValues(Attribute attribute,
                                                                                  std::int64_t startAtIndex,
                                                                                  std::int64_t maxValues) const;
  [[nodiscard]] virtual std::optional<std::vector<UnpackedValue>> attributeValues(const std::string& attribute,
                                                                                  std::int64_t startAtIndex,
                                                                                  std::int64_t maxValues) const;

  /// Absent on attributeUnsupported and illegalArgument.
  [[nodiscard]] virtual std::optional<std::int64_t> valueCountForAttribute(Attribute attribute) const;
  [[nodiscard]] virtual std::optional<std::int64_t> valueCountForAttribute(const std::string& attribute) const;

  /// Empty on noValue and attributeUnsupported. The typed form leaves unknown names out.
  [[nodiscard]] virtual std::vector<Attribute> parameterizedAttributes() const;
  [[nodiscard]] virtual std::vector<std::string> parameterizedAttributesAsStrings() const;

  /// Absent on noValue and attributeUnsupported.
  template <class T>
  [[nodiscard]] std::optional<T> parameterizedAttribute(Attribute attribute, const UnpackedValue& param) const {
    return typed<T>(parameterizedAttributeValue(attribute, param));
  }
  template <class T>
  [[nodiscard]] std::optional<T> parameterizedAttribute(const std::string& attribute,
                                                        const UnpackedValue& param) const {
    return typed<T>(parameterizedAttributeValue(attribute, param));
  }
  [[nodiscard]] virtual std::optional<UnpackedValue> parameterizedAttributeValue(Attribute attribute,
                                                                                 const UnpackedValue& param) const;
  [[nodiscard]] virtual std::optional<UnpackedValue> parameterizedAttributeValue(const std::string& attribute,
                                                                                 const UnpackedValue& param) const;

  /// Empty on noValue and attributeUnsupported. The typed form leaves unknown names out.
  [[nodiscard]] virtual std::vector<Action> actions() const;
  [[nodiscard]] virtual std::vector<std::string> actionsAsStrings() const;

  /// Absent on actionUnsupported and noValue.
  [[nodiscard]] virtual std::optional<std::string> actionDescription(Action action) const;
  [[nodiscard]] virtual std::optional<std::string> actionDescription(const std::string& action) const;

  virtual void performAction(Action action);
  virtual void performAction(const std::string& action);

  [[nodiscard]] virtual std::int32_t pid() const;

  /// Seconds to wait for an answer; 0 means the platform's default. Writes are raised to at least 0 and handed to the
  /// platform; a failure there is reported in the general log, and the value stays.
  [[nodiscard]] virtual float messagingTimeout() const { return messagingTimeout_; }
  virtual void setMessagingTimeout(float seconds);

  /// The element at a screen point (origin top-left), waiting at most 0.1 s for this and later answers. Null on
  /// noValue.
  [[nodiscard]] virtual std::shared_ptr<UIElement> elementAtPosition(float x, float y);

  /// Absent also when the element names a role outside the table.
  [[nodiscard]] std::optional<Role> role() const;
  [[nodiscard]] std::optional<Subrole> subrole() const;

  /// For diagnostics: role, label and process id. Throws no AXError.
  [[nodiscard]] std::string description() const;
  /// For diagnostics: every known attribute with its value.
  [[nodiscard]] std::string inspect() const;

  [[nodiscard]] const port::ElementRef& element() const { return element_; }

  /// Whether both stand for the same element.
  friend bool operator==(const UIElement& a, const UIElement& b) { return a.element_->isEqual(*b.element_); }

 private:
  template <class T>
  static std::optional<T> typed(std::optional<UnpackedValue> value) {
    if (!value) {
      return std::nullopt;
    }
    return std::move(*value).template as<T>();
  }

  template <class T>
  static std::optional<std::vector<T>> typedList(std::optional<std::vector<UnpackedValue>> values) {
    if (!values) {
      return std::nullopt;
    }
    std::vector<T> result;
    result.reserve(values->size());
    for (UnpackedValue& value : *values) {
      result.push_back(std::move(value).as<T>());
    }
    return result;
  }

  [[nodiscard]] std::string label(std::optional<Role> role, std::int32_t pid) const;

  const port::ElementRef element_;
  std::atomic<float> messagingTimeout_ = 0;
};

}  // namespace zqlogging
