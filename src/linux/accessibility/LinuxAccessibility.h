#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>

#include "linux/accessibility/AtspiServices.h"
#include "linux/accessibility/LinuxElements.h"
#include "platform/Accessibility.h"
#include "platform/Platform.h"
#include "platform/Workspace.h"

namespace zqlogging {

/// The accessibility service of the Linux desktop: AT-SPI over D-Bus, and the X server for what lies on top of what.
class LinuxAccessibility : public port::Accessibility {
 public:
  explicit LinuxAccessibility(port::Platform& platform) : services_(platform), elements_(services_) {}

  bool isProcessTrusted(bool prompt) override;
  port::ElementRef createSystemWideElement() override { return elements_.desktop(); }
  port::ElementRef createApplicationElement(std::int32_t pid) override { return elements_.application(pid); }
  port::Result<std::unique_ptr<port::NotificationObserver>> createObserver(
      std::int32_t pid, port::NotificationCallback callback) override;
  /// Applications tell of their focus after they have handled the key or the click that moved it.
  [[nodiscard]] std::chrono::milliseconds focusNewsDelay() const override { return std::chrono::milliseconds(150); }
  void waitForFocusNews(std::chrono::milliseconds duration) override { std::this_thread::sleep_for(duration); }
  std::unique_ptr<port::ReadScope> openReadScope() override { return services_.openReadScope(); }
  void expectReads(std::span<const port::ElementRef> elements) override;

  /// Tells on the main thread of each application whose window is activated, where the window manager doesn't tell.
  std::unique_ptr<port::Subscription> subscribeActivation(std::function<void(std::int32_t pid)> handler);

  AtspiServices& services() { return services_; }
  const ElementFactory& elements() const { return elements_; }

 private:
  AtspiServices services_;
  LinuxElements elements_;
};

}  // namespace zqlogging
