#include "linux/LinuxPlatform.h"

#include <gio/gio.h>
#include <unistd.h>

#include "linux/LinuxTextRecognition.h"
#include "linux/session/ApplicationIdentity.h"
#include "linux/system/LinuxLogs.h"
#include "linux/system/XdgFolders.h"
#include "zqlogging/Desktop.h"

namespace zqlogging {

LinuxPlatform::LinuxPlatform()
    : accessibility_(*this, thread_),
      workspace_(accessibility_, thread_),
      session_(workspace_, [this] { return cachesFolder(); }),
      launchedEntry_(launchedDesktopEntry(getpid())),
      executable_(executableName(getpid())) {}

LinuxPlatform::~LinuxPlatform() { thread_.stop(); }

std::unique_ptr<port::TextRecognition> LinuxPlatform::createTextRecognition() {
  return std::make_unique<LinuxTextRecognition>(LinuxTextRecognition::defaultModule(), [](const std::string& problem) {
    LinuxLogs().generalLog("ZQLogging: " + problem);
  });
}

std::string LinuxPlatform::cachesFolder() {
  std::string folder = userCacheFolder() + "/zqlogging";
  createPrivateFolder(folder);
  return folder;
}

std::optional<std::string> LinuxPlatform::hostIdentifier() {
  if (launchedEntry_) {
    return launchedEntry_;
  }
  GApplication* application = g_application_get_default();
  const char* identifier = application != nullptr ? g_application_get_application_id(application) : nullptr;
  return identifier != nullptr ? identifier : executable_;
}

std::shared_ptr<port::Platform> port::systemPlatform() {
  // Never destroyed: threads may still be reading when the process ends.
  static const auto* platform = new std::shared_ptr<Platform>(std::make_shared<LinuxPlatform>());
  return *platform;
}

std::shared_ptr<port::Platform> systemDesktop() { return port::systemPlatform(); }

void pumpMainLoop(std::chrono::milliseconds wait) { GlibMainLoop::pump(wait); }

void wakeMainLoop() { GlibMainLoop::wake(); }

}  // namespace zqlogging
