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

bool containsAny(const std::string& text, const std::vector<std::string>& names) {
  return std::any_of(names.begin(), names.end(),
                     [&](const std::string& name) { return text.find(name) != std::string::npos; });
}

}  // namespace

BlackListManager::BlackListManager() : lists_(std::make_shared<const Content>()) {}

void BlackListManager::setLists(std::vector<std::string> urls, const std::vector<std::string>& processes) {
  auto lists = std::make_shared<Content>();
  for (const std::string& url : urls) {
    if (std::string name = trimURL(lowercased(url)); !name.empty()) {
      lists->urlNames.push_back(std::move(name));
      lists->foldedUrlNames.push_back(trimURL(folded(url)));
    }
  }
  for (const std::string& process : processes) {
    std::string lower = lowercased(process);
    if (std::string pattern = withoutAppSuffixes(lower); !pattern.empty()) {
      lists->foldedProcessPatterns.push_back(folded(pattern));
      lists->processPatterns.push_back(std::move(pattern));
    }
    lists->processes.push_back(std::move(lower));
  }
  lists->urls = std::move(urls);
  std::shared_ptr<const Content> next = std::move(lists);
  const std::lock_guard lock(mutex_);
  lists_.swap(next);
}

std::shared_ptr<const BlackListManager::Content> BlackListManager::lists() const {
  const std::lock_guard lock(mutex_);
  return lists_;
}

std::string BlackListManager::trimURL(std::string name) {
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
  return containsAny(fullPath, current->processPatterns) ||
         containsAny(trimURL(lowercased(path.url)), current->urlNames) || containsAny(fullPath, current->urlNames);
}

bool BlackListManager::listsPage(const std::string& url) const {
  return containsAny(trimURL(folded(url)), lists()->foldedUrlNames);
}

bool BlackListManager::mentionsPage(const std::string& text) const {
  return containsAny(folded(text), lists()->foldedUrlNames);
}

bool BlackListManager::listsProgram(const std::string& name) const {
  return containsAny(folded(name), lists()->foldedProcessPatterns);
}

}  // namespace zqlogging
