// A host with threads and a loop of its own: one thread receives what the remote party does, here as lines on
// standard input, and forwards it at once; the main thread runs the library's timers and notifications.
//
//   click X Y     a left click at that point (origin top-left)
//   key TEXT      a key that types this text
//   run COMMAND   a command of the remote party

#include <zqlogging/zqlogging.h>

#include <atomic>
#include <iostream>
#include <sstream>
#include <thread>

namespace {

class Host : public zqlogging::ZQLoggerDelegate {
 public:
  void onClick(const std::string& name, const std::string&, const std::string&,
               const std::vector<zqlogging::ZQTextDetection>&, const std::vector<zqlogging::ZQRectangleDetection>&,
               zqlogging::CGPoint, bool isDown) override {
    std::cerr << (isDown ? "press on " : "release on ") + name + "\n";
  }
  void onLogChunkAvailable(const std::vector<zqlogging::EventDictionary>&, const std::string& text, bool,
                           std::function<void(bool)> completion) override {
    std::cout << text << std::endl;
    completion(std::cout.good());  // what could not be handed on is kept, and comes again
  }
  void onBlackListed(const std::string&, const std::string&, const std::string&, bool) override {}
};

void forward(zqlogging::ZQLoggingervice& service, const std::string& line) {
  constexpr std::uint64_t kLeftPress = 1;
  constexpr std::uint64_t kLeftRelease = 2;
  constexpr std::uint64_t kKeyPress = 10;
  constexpr std::int64_t kRemoteControl = 1;
  std::istringstream words(line);
  std::string what;
  words >> what >> std::ws;
  if (what == "click") {
    double x = 0;
    double y = 0;
    words >> x >> y;
    const zqlogging::CGPoint point = zqlogging::pointFromTopLeft(*zqlogging::systemDesktop(), {x, y});
    service.processExternalEvent(kLeftPress, point.x, point.y, kRemoteControl, "");
    service.processExternalEvent(kLeftRelease, point.x, point.y, kRemoteControl, "");
    return;
  }
  std::string rest;
  std::getline(words, rest);
  if (what == "key") {
    service.processExternalEvent(kKeyPress, 0, 0, kRemoteControl, rest);
  } else if (what == "run") {
    service.logRemoteCommand("shell", "technician", rest, std::nullopt);
  }
}

}  // namespace

int main() {
  const auto service = std::make_shared<zqlogging::ZQLoggingervice>();
  service->setDelegate(std::make_shared<Host>());
  if (!service->start("session-42", {}, {})) {
    std::cerr << "The accessibility service does not answer.\n";
    return 1;
  }
  std::atomic<bool> ended = false;
  std::thread receiver([&] {
    for (std::string line; std::getline(std::cin, line);) {
      forward(*service, line);
    }
    ended = true;
    zqlogging::wakeMainLoop();
  });
  while (!ended) {
    zqlogging::pumpMainLoop(std::chrono::hours(1));
  }
  receiver.join();
  service->stop(nullptr);
}
