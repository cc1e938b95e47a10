// Whatever an earlier session's log file holds, it is read back without harm, and what is recorded behind it is kept.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "scenario/Settle.h"
#include "scripted/ScriptedPlatform.h"
#include "service/ServiceInspector.h"
#include "zqlogging/ZQLoggingervice.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zqlogging;
  const auto platform = std::make_shared<port::ScriptedPlatform>();
  platform->folder().writeFile(std::string(reinterpret_cast<const char*>(data), size));
  const auto service = std::make_shared<ZQLoggingervice>(platform);
  if (!service->start("S", {}, {})) std::abort();
  advance(*service, *platform, std::chrono::milliseconds(400));
  service->logRemoteCommand("cli", "role", "command", std::nullopt);
  settle(*service, *platform);
  if (ServiceInspector(*service).records().empty()) std::abort();
  service->stop(nullptr);
  return 0;
}
