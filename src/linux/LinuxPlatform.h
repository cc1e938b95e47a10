#pragma once

#include <utility>

#include "linux/accessibility/LinuxAccessibility.h"
#include "linux/loop/DesktopThread.h"
#include "linux/loop/GlibMainLoop.h"
#include "linux/session/LinuxSession.h"
#include "linux/session/LinuxWorkspace.h"
#include "linux/system/LinuxClock.h"
#include "linux/system/LinuxDefaults.h"
#include "linux/system/LinuxLogs.h"

namespace zqlogging {

/// The real desktop. Connects to nothing until something is asked of it.
class LinuxPlatform final : public port::Platform {
 public:
  LinuxPlatform();
  ~LinuxPlatform() override;

  port::Accessibility& accessibility() override { return accessibility_; }
  port::Workspace& workspace() override { return workspace_; }
  port::MainLoop& mainLoop() override { return mainLoop_; }
  port::Defaults& defaults() override { return defaults_; }
  port::Clock& clock() override { return clock_; }
  port::LogSinks& logs() override { return logs_; }
  std::unique_ptr<port::TextRecognition> createTextRecognition() override;
  std::string cachesFolder() override;
  std::optional<std::string> hostIdentifier() override;
  port::Session* session() override { return &session_; }
  void runAside(port::Task task) override { thread_.run(std::move(task)); }
  void returnToMain(port::Task task) override { mainLoop_.runSoon(std::move(task)); }

 private:
  DesktopThread thread_;
  LinuxAccessibility accessibility_;
  LinuxWorkspace workspace_;
  LinuxSession session_;
  GlibMainLoop mainLoop_;
  LinuxDefaults defaults_;
  LinuxClock clock_;
  LinuxLogs logs_;
  const std::optional<std::string> launchedEntry_;
  const std::optional<std::string> executable_;
};

}  // namespace zqlogging
