// The trials of the event store that take longer than a test. Says what it tried and found; exit status 1: it found
// something.

#include <cstdlib>
#include <iostream>
#include <string>

#include "campaign/Campaign.h"

namespace zqlogging::campaign {
namespace {

void startAndStop(Campaign& campaign) {
  const auto platform = std::make_shared<port::ScriptedPlatform>();
  Host host(platform);
  host.answer(true);
  for (int i = 0; i < campaign.times(100); ++i) {
    host.start();
    host.record(std::to_string(i));
    host.service->stop(nullptr);
    settle(*host.service, *platform);
    campaign.expect(host.names().empty() && filesOf(*platform).empty(), "start and stop: something remains");
    ++campaign.tried["starts and stops"];
  }
}

int run(double minutes, unsigned seed) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(minutes * 60);
  Campaign campaign;
  campaign.random.seed(seed);
  campaign.effort = minutes > 0 ? 10 : 1;
  do {
    for (void (*trial)(Campaign&) : {killHosts, shareOneFile, failCalls, damageFiles, startAndStop}) {
      trial(campaign);
    }
  } while (campaign.findings.empty() && std::chrono::steady_clock::now() < end);
  std::cout << "seed " << seed << '\n';
  for (const auto& [what, count] : campaign.tried) {
    std::cout << count << ' ' << what << '\n';
  }
  std::cout << campaign.findings.size() << " findings\n";
  constexpr std::size_t kMaxShown = 40;
  for (std::size_t i = 0; i < std::min(kMaxShown, campaign.findings.size()); ++i) {
    std::cout << "  " << campaign.findings[i] << '\n';
  }
  return campaign.findings.empty() ? 0 : 1;
}

}  // namespace
}  // namespace zqlogging::campaign

int main(int argc, char** argv) {
  double minutes = 0;
  unsigned seed = 1;
  for (int i = 1; i < argc; i += 2) {
    const std::string option = argv[i];
    if (i + 1 == argc || (option != "--minutes" && option != "--seed")) {
      std::cerr << "usage: campaign [--minutes N] [--seed S]\n";
      return 2;
    }
    if (option == "--minutes") {
      minutes = std::atof(argv[i + 1]);
    } else {
      seed = static_cast<unsigned>(std::atoi(argv[i + 1]));
    }
  }
  return zqlogging::campaign::run(minutes, seed);
}
