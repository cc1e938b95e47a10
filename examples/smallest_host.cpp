// The smallest host: records for a minute what it forwards, one click in this case, and prints what it is handed.

#include <zqlogging/zqlogging.h>

#include <iostream>

struct Host : zqlogging::ZQLoggerDelegate {
  void onClick(const std::string& name, const std::string& path, const std::string&,
               const std::vector<zqlogging::ZQTextDetection>&, const std::vector<zqlogging::ZQRectangleDetection>&,
               zqlogging::CGPoint, bool isDown) override {
    std::cout << (isDown ? "press on " : "release on ") << name << " (" << path << ")\n";
  }
  void onLogChunkAvailable(const std::vector<zqlogging::EventDictionary>& events, const std::string& text, bool,
                           std::function<void(bool)> completion) override {
    std::cout << events.size() << " events: " << text << '\n';
    completion(true);  // delivered: the library deletes them
  }
  void onBlackListed(const std::string& name, const std::string&, const std::string&, bool) override {
    std::cout << name << " is not recorded\n";
  }
};

int main() {
  const auto service = std::make_shared<zqlogging::ZQLoggingervice>();
  service->setDelegate(std::make_shared<Host>());
  service->setFollowsFromStart(true);
  service->enableAccessibility();
  if (!service->start("session-42", {"https://bank.example"}, {"keepassxc"})) {
    std::cerr << "The accessibility service does not answer.\n";
    return 1;
  }
  const zqlogging::CGPoint point = zqlogging::pointFromTopLeft(*zqlogging::systemDesktop(), {100, 200});
  constexpr std::uint64_t kLeftPress = 1;
  constexpr std::int64_t kRemoteControl = 1;
  service->processExternalEvent(kLeftPress, point.x, point.y, kRemoteControl, "");
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (std::chrono::steady_clock::now() < end) {
    zqlogging::pumpMainLoop(std::chrono::seconds(1));  // GTK and Qt hosts run their own loop instead
  }
  service->stop(nullptr);
}
