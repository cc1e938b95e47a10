// Whatever the file holds, reading it back does no harm, gives what is whole, and leaves nothing once it is
// acknowledged.

#include "campaign/Campaign.h"

namespace zqlogging::campaign {
namespace {

constexpr int kEntries = 20;

std::string wholeFile() {
  std::string text;
  for (int i = 0; i < kEntries; ++i) {
    text += entry("n" + std::to_string(i), i) + ",\n";
  }
  return text;
}

std::multiset<std::string> readBack(Campaign& campaign, const std::string& text, const std::string& what) {
  const auto platform = std::make_shared<port::ScriptedPlatform>();
  platform->folder().writeFile(text);
  Host host(platform);
  host.start();
  std::multiset<std::string> names = host.names();
  host.record("later");
  host.answer(true);
  host.service->stop(nullptr);
  campaign.expect(host.acknowledged.contains("later"), what + ": what is recorded later is not delivered");
  campaign.expect(filesOf(*platform).empty(), what + ": a file remains");
  ++campaign.tried["damaged files"];
  return names;
}

void truncate(Campaign& campaign) {
  const std::string text = wholeFile();
  for (std::size_t length = 0; length <= text.size(); length += campaign.effort < 2 ? 7 : 1) {
    const std::string what = "a file cut to " + std::to_string(length) + " bytes";
    const auto names = readBack(campaign, text.substr(0, length), what);
    // An entry counts from its last brace on.
    std::size_t expected = 0;
    for (std::size_t end = text.find("},\n"); end != std::string::npos && end < length;
         end = text.find("},\n", end + 1)) {
      ++expected;
    }
    campaign.expect(names.size() == expected,
                    what + ": " + std::to_string(names.size()) + " records of " + std::to_string(expected));
  }
}

void flipBits(Campaign& campaign) {
  const std::string text = wholeFile();
  const std::size_t step = campaign.effort < 2 ? 97 : 1;
  for (std::size_t bit = 0; bit < text.size() * 8; bit += step) {
    std::string damaged = text;
    damaged[bit / 8] = static_cast<char>(static_cast<unsigned char>(damaged[bit / 8]) ^ (1U << (bit % 8)));
    readBack(campaign, damaged, "bit " + std::to_string(bit) + " flipped");
  }
}

void oddFiles(Campaign& campaign) {
  const std::string one = entry("one", 1);
  const std::string two = entry("two", 2);
  const std::string nested(100000, '[');
  struct {
    const char* what;
    std::string text;
    std::size_t records;
  } cases[] = {
      {"nothing", "", 0},
      {"zero bytes", std::string(4096, '\0'), 0},
      {"a tail of zero bytes", one + ",\n" + std::string(4096, '\0'), 1},
      {"zero bytes before an entry", std::string(100, '\0') + one + ",\n" + two + ",\n", 2},
      {"carriage returns", one + ",\r\n" + two + ",\r\n", 0},
      {"a byte-order mark", "\xef\xbb\xbf" + one + ",\n" + two + ",\n", 1},
      {"a line of 40 MB", "{\"a\":\"" + std::string(std::size_t{40} << 20U, 'x') + "\"},\n" + two + ",\n", 1},
      {"deep nesting", nested + ",\n{\"a\":" + nested + "},\n" + two + ",\n", 1},
      {"a number too large",
       R"({"eventType":"Nonsense","id":1e999},)"
       "\n" +
           two + ",\n",
       1},
      {"keys twice", R"({"id":7,)" + one.substr(1) + ",\n", 1},
      {"empty entries", ",\n,\n" + one + ",\n,\n", 1},
      {"a torn character", one + ",\n{\"a\":\"\xc3", 1},
  };
  for (const auto& [what, text, records] : cases) {
    const auto names = readBack(campaign, text, what);
    campaign.expect(names.size() == records,
                    std::string(what) + ": " + std::to_string(names.size()) + " records are read");
  }
}

}  // namespace

void damageFiles(Campaign& campaign) {
  oddFiles(campaign);
  truncate(campaign);
  flipBits(campaign);
}

}  // namespace zqlogging::campaign
