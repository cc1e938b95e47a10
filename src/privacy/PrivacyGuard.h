#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/Accessibility.h"
#include "privacy/Answer.h"
#include "privacy/Lists.h"

namespace zqlogging {

/// Decides what may be recorded of elements, before anything of them is named, read or recognized, by facts that it
/// asks for itself. What cannot be had decides for silence. Its rules stand in docs/privacy.md.
///
/// One guard serves one event: an element is asked once, and the answers are kept. One thread. Nothing here fails.
class PrivacyGuard {
 public:
  enum class Verdict { record, recordWithoutContent, blacklisted };
  /// What an element may tell of itself: all that it says; all but its value; nothing but its role and its place.
  enum class Telling { all, allButValue, nothing };
  /// Why something is blacklisted: by the page that it lies on, by its program, or because neither can be had.
  enum class Reason { none, page, program, unknown };

  struct Judgement {
    Verdict verdict = Verdict::record;
    Reason reason = Reason::none;
    std::string page;  ///< address of the blacklisted page
  };

  /// Nothing is blacklisted.
  PrivacyGuard() = default;
  /// The lists outlive the guard.
  explicit PrivacyGuard(const Lists& lists) : lists_(&lists) {}

  Judgement judge(const port::ElementRef& element);
  /// The same of its program alone.
  Reason judgeProgram(const port::ElementRef& element);
  Telling tellingOf(const port::ElementRef& element);
  /// Whether its name, description and the like may be told. Cheaper than the above.
  bool mayTellLabels(const port::ElementRef& element);
  /// Whether its value is its own to tell: no secret, and none in it.
  bool mayTellValue(const port::ElementRef& element);
  /// Whether what is typed into it may be told.
  bool mayTellTyped(const port::ElementRef& element);
  /// These lie directly below the element: nothing more needs to be asked to know where they lie.
  void expectChildren(const port::ElementRef& element, const std::vector<port::ElementRef>& children);
  /// Whether it may be named where others are listed: it is no page that is blacklisted.
  bool mayBeListed(const port::ElementRef& element);

  /// Looks for a blacklisted page in the window of the element. When there is one, the window's title, and whatever
  /// repeats it or the page's, is not told from now on.
  bool withholdTitlesOfPages(const port::ElementRef& element);
  /// Whether a text of an element may be told: it carries no title that is withheld.
  [[nodiscard]] bool mayTellText(const port::ElementRef& element, const std::string& text);
  /// From now on no value may be told.
  void withholdValues() { valuesWithheld_ = true; }

 private:
  /// Where an element lies, as far as password fields go.
  enum class Place { outside, unclear, inside };
  struct Facts {
    Answer<std::string> role;
    bool isAboveSecret = false;
    bool isSecret = false;  // a password field, or a field of which it cannot be had whether it is one
  };
  /// From an element up to the top. `ends` is false where a parent cannot be had or there is no end.
  struct WayUp {
    std::vector<port::ElementRef> elements;
    bool ends = true;
  };
  struct Hash {
    std::size_t operator()(const port::ElementRef& element) const { return element->hash(); }
  };
  struct Equal {
    bool operator()(const port::ElementRef& a, const port::ElementRef& b) const { return a->isEqual(*b); }
  };

  Facts& factsOf(const port::ElementRef& element);
  Place placeOf(const port::ElementRef& element);
  /// The place of what lies directly below an element of that place.
  Place placeBelow(const port::ElementRef& element, Place place);
  WayUp wayUpFrom(const port::ElementRef& element);
  const Answer<port::ElementRef>& parentOf(const port::ElementRef& element);
  void rememberAbove(const port::ElementRef& secret);
  bool holdsSecret(const port::ElementRef& element);
  Judgement judgePages(const port::ElementRef& element);
  Reason judgePage(const port::ElementRef& element, std::string& address);
  Reason judgeNames(const port::Element& application, std::int32_t pid);

  const Lists* lists_ = nullptr;
  bool valuesWithheld_ = false;
  std::vector<std::string> withheldTitles_;
  std::unordered_map<port::ElementRef, Facts, Hash, Equal> facts_;
  std::unordered_map<port::ElementRef, Answer<port::ElementRef>, Hash, Equal> parents_;
  std::unordered_map<port::ElementRef, Place, Hash, Equal> places_;
};

}  // namespace zqlogging
