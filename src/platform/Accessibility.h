#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/Value.h"

namespace zqlogging::port {

class Platform;

/// One element of the desktop. Its reads and writes block until its application answers or the messaging time-out is
/// over (ResultCode::cannotComplete). Any thread.
class Element {
 public:
  virtual ~Element() = default;

  [[nodiscard]] virtual Platform& platform() const = 0;
  [[nodiscard]] virtual bool isEqual(const Element& other) const = 0;
  [[nodiscard]] virtual std::size_t hash() const = 0;
  /// The platform's own text form, for diagnostics.
  [[nodiscard]] virtual std::string textForm() const = 0;

  [[nodiscard]] virtual Result<std::vector<std::string>> copyAttributeNames() const = 0;
  [[nodiscard]] virtual Result<std::vector<std::string>> copyParameterizedAttributeNames() const = 0;
  [[nodiscard]] virtual Result<std::vector<std::string>> copyActionNames() const = 0;
  [[nodiscard]] virtual Result<Value> copyAttributeValue(const std::string& attribute) const = 0;
  /// Part of an array attribute: at most `maxValues` values from `index` on.
  [[nodiscard]] virtual Result<Array> copyAttributeValues(const std::string& attribute, std::int64_t index,
                                                          std::int64_t maxValues) const = 0;
  [[nodiscard]] virtual Result<std::int64_t> getAttributeValueCount(const std::string& attribute) const = 0;
  [[nodiscard]] virtual Result<bool> isAttributeSettable(const std::string& attribute) const = 0;
  virtual ResultCode setAttributeValue(const std::string& attribute, const Value& value) const = 0;
  /// The values in the order of the names; Null or a boxed ResultCode where one is missing.
  [[nodiscard]] virtual Result<std::vector<Value>> copyMultipleAttributeValues(
      const std::vector<std::string>& attributes) const = 0;
  [[nodiscard]] virtual Result<Value> copyParameterizedAttributeValue(const std::string& attribute,
                                                                      const Value& parameter) const = 0;
  [[nodiscard]] virtual Result<std::string> copyActionDescription(const std::string& action) const = 0;
  virtual ResultCode performAction(const std::string& action) const = 0;
  [[nodiscard]] virtual Result<std::int32_t> getPid() const = 0;
  /// Seconds to wait for an answer to a request about this element; 0 means the default. On the system-wide
  /// element it sets that default for all elements.
  virtual ResultCode setMessagingTimeout(float seconds) const = 0;
  /// The element at a screen point (origin top-left), asked of this element's application, or of the whole desktop
  /// for the system-wide element.
  [[nodiscard]] virtual Result<ElementRef> copyElementAtPosition(float x, float y) const = 0;
};

/// Receives the notifications of one process. Created unhooked and without registrations; destroying it ends both, and
/// may happen inside its own callback.
class NotificationObserver {
 public:
  virtual ~NotificationObserver() = default;
  virtual ResultCode addNotification(const Element& element, const std::string& notification) = 0;
  virtual ResultCode removeNotification(const Element& element, const std::string& notification) = 0;
  /// From now on notifications arrive on the calling thread, through its main loop.
  virtual void hookIntoCurrentLoop() = 0;
  virtual void unhookFromCurrentLoop() = 0;
};

using NotificationCallback =
    std::function<void(const ElementRef& element, const std::string& notification, const Dictionary& info)>;

/// While it lives, repeated reads on the thread that opened it may be answered from what was already fetched, several
/// attributes of an element may be fetched at once, and an application that has timed out is given up at once.
class ReadScope {
 public:
  virtual ~ReadScope() = default;
};

class Accessibility {
 public:
  virtual ~Accessibility() = default;

  /// Whether this process may use the accessibility service; with `prompt` the desktop may ask the user.
  virtual bool isProcessTrusted(bool prompt) = 0;
  virtual ElementRef createSystemWideElement() = 0;
  /// The element of a process, made without asking it.
  virtual ElementRef createApplicationElement(std::int32_t pid) = 0;
  virtual Result<std::unique_ptr<NotificationObserver>> createObserver(std::int32_t pid,
                                                                       NotificationCallback callback) = 0;

  /// How long the news of a focus change may be on its way. Zero where it is there at once.
  [[nodiscard]] virtual std::chrono::milliseconds focusNewsDelay() const { return {}; }
  /// Waits for such news. Not on the main thread.
  virtual void waitForFocusNews(std::chrono::milliseconds /*duration*/) {}

  /// How many notifications, since the desktop was opened, were left out because newer ones of their kind and
  /// application had come before they were taken.
  [[nodiscard]] virtual std::uint64_t notificationsLeftOut() const { return 0; }

  virtual std::unique_ptr<ReadScope> openReadScope() = 0;
  /// Announces that these elements are about to be named, inside a scope: an implementation may fetch them together.
  virtual void expectReads(std::span<const ElementRef> /*elements*/) {}
};

}  // namespace zqlogging::port
