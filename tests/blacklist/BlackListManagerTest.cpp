#include <gtest/gtest.h>

#include "blacklist/BlackListManager.h"

namespace zqlogging {
namespace {

TEST(BlackList, AddressesMatchByTheFirstLabelOfTheirHost) {
  struct {
    const char* entry;
    const char* url;
    const char* path;
    bool listed;
  } cases[] = {
      {"https://www.bank.com", "https://www.bank.org/login", "", true},
      {"https://www.bank.com", "https://my.bank.com/login", "", false},
      {"https://www.bank.com", "https://my.bank.com/login", "Window:Bank", true},
      {"BANK.com", "http://bankers.example", "", true},
      {"bank.com", "ftp://bank.com", "", true},
      {"http://https://bank.com", "https://bank.com", "", false},
      {"www.www.bank.com", "https://www.www.com", "", true},
      {"localhost:8080/a", "http://localhost:8080/a/b", "", true},
      {"www.", "https://www.x.com", "www.", false},
      {"", "", "", false},
      {"STRAẞE.de", "https://straße.de", "", true},
  };
  for (const auto& [entry, url, path, listed] : cases) {
    BlackListManager manager;
    manager.setLists({entry}, {});
    EXPECT_EQ(manager.isXPathBlackListed({path, {}, url}), listed) << entry << " and " << url;
  }
}

TEST(BlackList, ProcessesMatchAnywhereInThePath) {
  struct {
    const char* entry;
    const char* path;
    bool listed;
  } cases[] = {{"Notes.app", "Application:NOTES -> Window:x", true},
               {".app", "Application:.app", false},
               {"My.appStore.app", "Application:MyStore", true},
               {"notes", "Application:Mail -> Window:Release notes", true},
               {"notes", "Application:Mail", false}};
  for (const auto& [entry, path, listed] : cases) {
    BlackListManager manager;
    manager.setLists({}, {entry});
    EXPECT_EQ(manager.isXPathBlackListed({path, {}, "https://notes.com"}), listed) << entry << " and " << path;
  }
  EXPECT_FALSE(BlackListManager().isXPathBlackListed({"a", {}, "b"}));
}

}  // namespace
}  // namespace zqlogging
