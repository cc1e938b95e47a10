// Whatever a scenario's text is, it is played or refused with an error that says where it is at fault.

#include "zqlogging/Scenario.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    zqlogging::Scenario scenario(std::string(reinterpret_cast<const char*>(data), size));
    scenario.play([](const std::string& line) {
      if (line.empty()) std::abort();
    });
  } catch (const zqlogging::ScenarioError& error) {
    if (error.what()[0] == '\0') std::abort();
  }
  return 0;
}
