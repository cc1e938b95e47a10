#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "elements/ZQXPath.h"
#include "privacy/Lists.h"

namespace zqlogging {

/// Decides what must not be recorded. Any thread; the lists are replaced as a whole.
class BlackListManager final : public Lists {
 public:
  BlackListManager();

  /// `processes` are lower-cased; both lists are kept as given for `urls` and `processes` to answer.
  void setLists(std::vector<std::string> urls, const std::vector<std::string>& processes);

  [[nodiscard]] std::vector<std::string> urls() const { return lists()->urls; }
  [[nodiscard]] std::vector<std::string> processes() const { return lists()->processes; }

  [[nodiscard]] bool isXPathBlackListed(const ZQXPath& path) const;

  // What the privacy guard asks.
  [[nodiscard]] bool hasUrls() const override { return !lists()->urlNames.empty(); }
  [[nodiscard]] bool hasProcesses() const override { return !lists()->processPatterns.empty(); }
  [[nodiscard]] bool listsPage(const std::string& url) const override;
  [[nodiscard]] bool mentionsPage(const std::string& text) const override;
  [[nodiscard]] bool listsProgram(const std::string& name) const override;

 private:
  struct Content {
    std::vector<std::string> urls;
    std::vector<std::string> processes;
    std::vector<std::string> urlNames;         // what is looked for, none of them empty
    std::vector<std::string> processPatterns;  // likewise
    std::vector<std::string> foldedUrlNames;
    std::vector<std::string> foldedProcessPatterns;
  };

  /// The first label of an address's host; the address is in lower case or folded.
  static std::string trimURL(std::string name);
  [[nodiscard]] std::shared_ptr<const Content> lists() const;

  mutable std::mutex mutex_;
  std::shared_ptr<const Content> lists_;
};

}  // namespace zqlogging
