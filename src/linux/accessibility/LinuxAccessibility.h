#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>

#include "linux/accessibility/AtspiServices.h"
#include "linux/accessibility/LinuxElements.h"
#include "linux/loop/Handover.h"
#include "platform/Accessibility.h"
#include "platform/Platform.h"
#include "platform/Workspace.h"

namespace zqlogging {

/// The accessibility service of the Linux desktop: AT-SPI over D-Bus, and the X server for what lies on top of what.
class LinuxAccessibility : public port::Accessibility {
 public:
  LinuxAccessibility(port::Platform& platform, DesktopThread& thread);
  ~LinuxAccessibility() override;

  /// Asks on the desktop thread and waits for 40 ms at most. After that it is as it was when asked before; a desktop
  /// that has not answered yet has not refused either.
  bool isProcessTrusted(bool prompt) override;
  port::ElementRef createSystemWideElement() override { return elements_.desktop(); }
  port::ElementRef createApplicationElement(std::int32_t pid) override { return elements_.application(pid); }
  port::Result<std::unique_ptr<port::NotificationObserver>> createObserver(
      std::int32_t pid, port::NotificationCallback callback) override;
  /// Applications tell of their focus after they have handled the key or the click that moved it.
  [[nodiscard]] std::chrono::milliseconds focusNewsDelay() const override { return std::chrono::milliseconds(150); }
  void waitForFocusNews(std::chrono::milliseconds duration) override { std::this_thread::sleep_for(duration); }
  [[nodiscard]] std::uint64_t notificationsLeftOut() const override { return Handover::dropped; }
  std::unique_ptr<port::ReadScope> openReadScope() override { return services_.openReadScope(); }
  void expectReads(std::span<const port::ElementRef> elements) override;

  /// Tells on the desktop thread of each application whose window is activated, where the window manager doesn't tell.
  std::unique_ptr<port::Subscription> subscribeActivation(std::function<void(std::int32_t pid)> handler);

  AtspiServices& services() { return services_; }
  const ElementFactory& elements() const { return elements_; }

 private:
  struct Trust;

  AtspiServices services_;
  LinuxElements elements_;
  const std::shared_ptr<Trust> trust_;
};

}  // namespace zqlogging
