#include "campaign/Campaign.h"

#include <filesystem>

namespace zqlogging::campaign {

std::multiset<std::string> Host::names() const {
  const std::string key = "\"command\":\"";
  std::multiset<std::string> names;
  for (const std::string& record : ServiceInspector(*service).records()) {
    const std::size_t from = record.find(key);
    if (from != std::string::npos) {
      names.insert(record.substr(from + key.size(), record.find('"', from + key.size()) - from - key.size()));
    }
  }
  return names;
}

std::multiset<std::string> deliverTheRest(const std::shared_ptr<port::ScriptedPlatform>& platform) {
  Host host(platform);
  host.start();
  std::multiset<std::string> names = host.names();
  host.answer(true);
  host.tick();
  host.service->stop(nullptr);
  return names;
}

std::vector<std::string> filesOf(port::ScriptedPlatform& platform) {
  std::vector<std::string> names;
  for (const auto& each : std::filesystem::directory_iterator(platform.folder().path())) {
    names.push_back(each.path().filename().string());
  }
  return names;
}

std::string entry(const std::string& name, int number) {
  return R"({"id":)" + std::to_string(number) + R"(,"timestamp":)" + std::to_string(number * 2000) +
         R"(,"eventType":"RemoteCommand","cli":"","role":"","command":")" + name +
         R"(","details":"größer","isRemoteControlEvent":true})";
}

}  // namespace zqlogging::campaign
