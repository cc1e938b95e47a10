#include "service/ServiceImpl.h"

namespace zqlogging {
namespace {

using Judgement = PrivacyGuard::Judgement;

/// What the delegate hears of something blacklisted. Where it cannot be had what lies there, nothing is told of it.
void tellBlackListed(ZQLoggerDelegate& host, const Judgement& judgement, const std::string& name, const ZQXPath& path,
                     bool flag) {
  if (judgement.reason == PrivacyGuard::Reason::unknown) {
    host.onBlackListed({}, {}, {}, flag);
  } else {
    host.onBlackListed(name, path.fullPath, judgement.page.empty() ? path.url : judgement.page, flag);
  }
}

}  // namespace

std::optional<NameAndPath> ServiceImpl::describeUnlessBlackListed(const ZQAccessibilityElement& element, bool siblings,
                                                                  std::optional<std::uint64_t> eventType, bool flag) {
  const Judgement judgement = element.guard()->judge(element.elementRef());
  NameAndPath described;
  if (judgement.reason != PrivacyGuard::Reason::unknown) {
    described = {element.elementName(true), element.xPath(siblings, eventType)};
  }
  if (judgement.reason == PrivacyGuard::Reason::none && !blackListManager.isXPathBlackListed(described.path)) {
    if (element.guard()->withholdTitlesOfPages(element.elementRef())) {
      described = {element.elementName(true), element.xPath(siblings, eventType)};
    }
    return described;
  }
  const auto tell = [judgement, described, flag](ZQLoggerDelegate& host) {
    tellBlackListed(host, judgement, described.name, described.path, flag);
  };
  // The delegate hears of pointer events on the worker, of all others on the main thread.
  if (eventType) {
    tellDelegate(tell);
  } else {
    returnToMain([tell](ServiceImpl& impl) { impl.tellDelegate(tell); });
  }
  return std::nullopt;
}

std::optional<ZQXPath> ServiceImpl::describeFoundUnlessBlackListed(const std::vector<IteratedElementData>& found,
                                                                   const std::string& name, bool flag) {
  Judgement worst;
  for (const IteratedElementData& each : found) {
    Judgement judgement = each.e.guard()->judge(each.e.elementRef());
    if (judgement.reason != PrivacyGuard::Reason::none && worst.reason != PrivacyGuard::Reason::unknown) {
      worst = std::move(judgement);
    }
  }
  ZQXPath path;
  if (worst.reason != PrivacyGuard::Reason::unknown) {
    path = ZQAccessibilityElement::xPathUsingElements(found, includeSiblings);
  }
  if (worst.reason == PrivacyGuard::Reason::none && !blackListManager.isXPathBlackListed(path)) {
    return path;
  }
  tellDelegate([&](ZQLoggerDelegate& host) { tellBlackListed(host, worst, name, path, flag); });
  return std::nullopt;
}

}  // namespace zqlogging
