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

  // What the privacy guard asks. Compared without regard to case and form, in any script.
  /// Whether there is anything in the list that can match.
  [[nodiscard]] bool hasUrls() const { return !lists()->urlNames.empty(); }
  [[nodiscard]] bool hasProcesses() const { return !lists()->processPatterns.empty(); }
  [[nodiscard]] bool listsPage(const std::string& url) const;
  [[nodiscard]] bool mentionsPage(const std::string& text) const;
  [[nodiscard]] bool listsProgram(const std::string& name) const;

 private:
  struct Lists {
    std::vector<std::string> urls;
    std::vector<std::string> processes;
    std::vector<std::string> urlNames;         // what is looked for, none of them empty
    std::vector<std::string> processPatterns;  // likewise
    std::vector<std::string> foldedUrlNames;
    std::vector<std::string> foldedProcessPatterns;
  };

  /// The first label of an address's host; the address is in lower case or folded.
  static std::string trimURL(std::string name);
  [[nodiscard]] std::shared_ptr<const Lists> lists() const;

  mutable std::mutex mutex_;
  std::shared_ptr<const Lists> lists_;
};

}  // namespace zqlogging
