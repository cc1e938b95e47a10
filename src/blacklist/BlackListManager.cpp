#include "blacklist/BlackListManager.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "text/Text.h"

namespace zqlogging {
namespace {

constexpr std::string_view kAppSuffix = ".app";

std::string withoutAppSuffixes(const std::string& process) {
  std::string pattern;
  std::size_t from = 0;
  for (std::size_t at = process.find(kAppSuffix); at != std::string::npos; at = process.find(kAppSuffix, from)) {
    pattern.append(process, from, at - from);
    from = at + kAppSuffix.size();
  }
  return pattern.append(process, from);
}

}  // namespace

BlackListManager::BlackListManager() : lists_(std::make_shared<const Lists>()) {}

void BlackListManager::setLists(std::vector<std::string> urls, const std::vector<std::string>& processes) {
  auto lists = std::make_shared<Lists>();
  for (const std::string& url : urls) {
    if (std::string name = trimURL(url); !name.empty()) {
      lists->urlNames.push_back(std::move(name));
    }
  }
  for (const std::string& process : processes) {
    std::string lower = lowercased(process);
    if (std::string pattern = withoutAppSuffixes(lower); !pattern.empty()) {
      lists->processPatterns.push_back(std::move(pattern));
    }
    lists->processes.push_back(std::move(lower));
  }
  lists->urls = std::move(urls);
  std::shared_ptr<const Lists> next = std::move(lists);
  const std::lock_guard lock(mutex_);
  lists_.swap(next);
}

std::shared_ptr<const BlackListManager::Lists> BlackListManager::lists() const {
  const std::lock_guard lock(mutex_);
  return lists_;
}

std::string BlackListManager::trimURL(const std::string& url) {
  std::string name = lowercased(url);
  for (const std::string_view scheme : {"https://", "http://"}) {
    if (name.starts_with(scheme)) {
      name.erase(0, scheme.size());
      break;
    }
  }
  constexpr std::string_view kWww = "www.";
  if (name.starts_with(kWww)) {
    name.erase(0, kWww.size());
  }
  return name.substr(0, name.find('.'));
}

bool BlackListManager::isXPathBlackListed(const ZQXPath& path) const {
  const auto current = lists();
  if (current->processPatterns.empty() && current->urlNames.empty()) {
    return false;
  }
  const std::string fullPath = lowercased(path.fullPath);
  const auto isIn = [](const std::string& text) {
    return [&text](const std::string& name) { return text.find(name) != std::string::npos; };
  };
  const auto& patterns = current->processPatterns;
  if (std::any_of(patterns.begin(), patterns.end(), isIn(fullPath))) {
    return true;
  }
  const std::string page = trimURL(path.url);
  const auto& names = current->urlNames;
  return std::any_of(names.begin(), names.end(), isIn(page)) || std::any_of(names.begin(), names.end(), isIn(fullPath));
}

}  // namespace zqlogging
