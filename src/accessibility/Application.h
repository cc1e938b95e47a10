#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "accessibility/Observer.h"
#include "accessibility/UIElement.h"
#include "platform/Workspace.h"

namespace zqlogging {

/// The element of one running application. Looking applications up never fails: one that is gone is absent.
class Application : public UIElement {
 public:
  using UIElement::UIElement;

  /// Null when no such application runs.
  static std::shared_ptr<Application> forProcessID(port::Platform& platform, std::int32_t pid);
  /// Null when it has terminated or has no process.
  static std::shared_ptr<Application> fromRunningApplication(port::Platform& platform,
                                                             const port::RunningApplication& application);
  /// All running applications but those that only work in the background, in the desktop's order.
  static std::vector<std::shared_ptr<Application>> all(port::Platform& platform);
  /// The running applications with exactly this bundle identifier, in the desktop's order.
  static std::vector<std::shared_ptr<Application>> allForBundleID(port::Platform& platform,
                                                                  const std::string& bundleIdentifier);

  /// Failures as for `attribute`; illegalArgument when the application answers anything but a list of elements.
  [[nodiscard]] std::optional<std::vector<std::shared_ptr<UIElement>>> windows() const;

  /// A started observer of this application. Null when the application is gone, and, after a line in the general log,
  /// on any other AXError.
  [[nodiscard]] std::shared_ptr<Observer> createObserver(Observer::Callback callback) const;
  [[nodiscard]] std::shared_ptr<Observer> createObserver(Observer::CallbackWithInfo callback) const;
};

}  // namespace zqlogging
