#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "elements/ZQXPath.h"

namespace zqlogging {

/// Decides what must not be recorded. Any thread; the lists are replaced as a whole.
class BlackListManager {
 public:
  BlackListManager();

  /// `processes` are lower-cased; both lists are kept as given for `urls` and `processes` to answer.
  void setLists(std::vector<std::string> urls, const std::vector<std::string>& processes);

  [[nodiscard]] std::vector<std::string> urls() const { return lists()->urls; }
  [[nodiscard]] std::vector<std::string> processes() const { return lists()->processes; }

  [[nodiscard]] bool isXPathBlackListed(const ZQXPath& path) const;

 private:
  struct Lists {
    std::vector<std::string> urls;
    std::vector<std::string> processes;
    std::vector<std::string> urlNames;         // what is looked for, none of them empty
    std::vector<std::string> processPatterns;  // likewise
  };

  /// The first label of an address's host, in lower case.
  static std::string trimURL(const std::string& url);
  [[nodiscard]] std::shared_ptr<const Lists> lists() const;

  mutable std::mutex mutex_;
  std::shared_ptr<const Lists> lists_;
};

}  // namespace zqlogging
