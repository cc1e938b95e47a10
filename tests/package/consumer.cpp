// A host that uses every public name once, so that one that the library does not export, or a header that needs
// something that is not installed, fails to build; and that reads a picture and plays a scenario, so that the library
// is seen to work.

#include <zqlogging/zqlogging.h>

#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace {

struct Host : zqlogging::ZQLoggerDelegate {
  void onClick(const std::string&, const std::string&, const std::string&,
               const std::vector<zqlogging::ZQTextDetection>&, const std::vector<zqlogging::ZQRectangleDetection>&,
               zqlogging::CGPoint, bool) override {}
  void onLogChunkAvailable(const std::vector<zqlogging::EventDictionary>&, const std::string&, bool,
                           std::function<void(bool)> completion) override {
    completion(true);
  }
  void onBlackListed(const std::string&, const std::string&, const std::string&, bool) override {}
};

struct CountingService : zqlogging::ZQLoggingervice {
  void pause() override {
    ++pauses;
    ZQLoggingervice::pause();
  }
  int pauses = 0;
};

/// Needs no desktop: the service is used idle.
bool useService() {
  const auto service = std::make_shared<CountingService>();
  service->setDelegate(std::make_shared<Host>());
  service->modifyOcrDetectionSize([](zqlogging::CGSize& size) { size.width = 200; });
  service->pause();
  service->resume();
  service->setFrameForOcr({});
  service->logRemoteCommand("cli", "role", "command", std::nullopt);
  service->clearLogs();
  bool answered = false;
  service->stop([&](bool) { answered = true; });
  try {
    service->startAppWatcher(nullptr);
    return false;
  } catch (const std::invalid_argument&) {
  }
  const auto entry = service->convertToDictionary(R"({"id": 7})");
  const auto* id = entry == nullptr ? nullptr : entry->find("id");
  if (id == nullptr || std::get<std::int64_t>(*id) != 7 || service->convertToDictionary("[]") != nullptr) {
    return false;
  }
  return answered && service->pauses == 1 && service->ocrDetectionSize().width == 200;
}

bool useDesktop() {
  const auto desktop = zqlogging::systemDesktop();
  zqlogging::wakeMainLoop();
  zqlogging::pumpMainLoop(std::chrono::hours(1));
  zqlogging::pointFromTopLeft(*desktop, {-1, -1});
  zqlogging::checkIsProcessTrusted(false);
  try {
    zqlogging::describeApplication(*desktop, -1);
    return false;
  } catch (const std::runtime_error&) {
  }
  try {
    zqlogging::describeElementAt(*desktop, -1, -1);
  } catch (const std::runtime_error&) {
  }
  return true;
}

/// Loads the recognition module from where it is installed.
bool useRecognizer() {
  const auto desktop = zqlogging::systemDesktop();
  zqlogging::TextRecognizer recognizer(*desktop);
  const std::vector<std::uint8_t> white(4 * 20 * 20, 255);
  return recognizer.recognize({{std::shared_ptr<void>(), white.data()}, 20, 20, 4 * 20}, zqlogging::CGPoint{1, 1})
      .empty();
}

bool useTrace() {
  using zqlogging::ZQDeveloperLogTier;
  zqlogging::ZQDeveloperLogger::log().log(ZQDeveloperLogTier::enhancedlogging, "not written: the tier is off");
  const auto tier = ZQDeveloperLogTier::fromRawValue("rawsocket");
  [[maybe_unused]] const zqlogging::ZQAccessibilityWindowUtils reserved;
  [[maybe_unused]] const zqlogging::ZQUILogMouseMouveEvent alsoReserved;
  return tier && tier->label() == "[RawSocket]" && rawValue(zqlogging::ZQLogEventType::Mouse) == "Mouse";
}

bool useScenario() {
  std::string lines;
  zqlogging::Scenario scenario(R"({"steps": [{"do": "start", "session": "S"}]})");
  scenario.play([&](const std::string& line) { lines += line; });
  try {
    zqlogging::Scenario faulty(R"({"steps": [{"do": "dance"}]})");
    return false;
  } catch (const zqlogging::ScenarioError& error) {
    return lines == R"({"start":true})" && error.pointer().starts_with("/steps/0");
  }
}

}  // namespace

int main() {
  const std::pair<const char*, bool (*)()> parts[] = {{"service", useService},
                                                      {"desktop", useDesktop},
                                                      {"recognizer", useRecognizer},
                                                      {"trace", useTrace},
                                                      {"scenario", useScenario}};
  int failures = 0;
  for (const auto& [name, works] : parts) {
    if (!works()) {
      std::cerr << name << " does not work\n";
      ++failures;
    }
  }
  return failures;
}
