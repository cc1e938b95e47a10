#include "linux/atspi/AtspiAnswers.h"

#include <algorithm>

#include "linux/atspi/AtspiVocabulary.h"

namespace zqlogging {

using port::ResultCode;

namespace {

constexpr int kMaxCharacters = 4096;
constexpr int kMaxChildrenInOneCall = 500;
constexpr int kMaxChildrenOfLongLists = 100;

std::size_t indexOf(AtspiRequest request) { return static_cast<std::size_t>(request); }

bool hasInterface(const AtspiAnswer& interfaces, std::string_view name) {
  const auto* list = interfaces.as<std::vector<std::string>>();
  return list && std::find(list->begin(), list->end(), name) != list->end();
}

}  // namespace

AtspiAnswers::AtspiAnswers(AtspiBus& bus, AtspiApplications& applications)
    : applications_(applications),
      calls_(bus, [this](const AtspiCall& call, AtspiAnswer answer) { keep(call, std::move(answer)); }) {}

void AtspiAnswers::setPoint(int x, int y) {
  if (x == x_ && y == y_) {
    return;
  }
  x_ = x;
  y_ = y;
  for (auto& [object, entry] : entries_) {
    entry.answers[indexOf(AtspiRequest::atPoint)].reset();
    entry.asked.reset(indexOf(AtspiRequest::atPoint));
  }
}

const AtspiAnswer* AtspiAnswers::ask(const AtspiObject& object, AtspiRequest request) {
  Entry& entry = entries_[object];
  const std::size_t index = indexOf(request);
  std::optional<AtspiAnswer>& answer = entry.answers[index];
  if (!answer && !entry.asked[index]) {
    entry.deferred.reset(index);
    AtspiArguments arguments{x_, y_};
    Readiness ready = readiness(object, request, arguments);
    answer = std::move(ready.answer);
    if (ready.maySend) {
      entry.asked.set(index);
      calls_.add({object, request, arguments});
    } else if (!answer) {
      entry.deferred.set(index);
    }
  }
  return answer ? &*answer : nullptr;
}

bool AtspiAnswers::askChildAt(const AtspiObject& object, int index) {
  const auto [place, isNew] = entries_[object].childAt.try_emplace(index);
  if (isNew) {
    place->second = answerWithoutAsking(object, AtspiRequest::childAt);
    if (!place->second) {
      calls_.add({object, AtspiRequest::childAt, {index, 0}});
    }
  }
  return place->second.has_value();
}

const AtspiObject* AtspiAnswers::knownChildAt(const AtspiObject& object, int index) const {
  const auto entry = entries_.find(object);
  if (entry == entries_.end()) {
    return nullptr;
  }
  const auto found = entry->second.childAt.find(index);
  const bool isKnown = found != entry->second.childAt.end() && found->second;
  const auto* child = isKnown ? found->second->as<AtspiObject>() : nullptr;
  return child && !child->isNull() ? child : nullptr;
}

std::vector<AtspiObject> AtspiAnswers::sendAndWait(double seconds) {
  std::vector<AtspiObject> asked = calls_.sendAndWait(seconds);
  for (const AtspiObject& object : asked) {
    const Entry& entry = entries_[object];
    for (std::size_t request = 0; request < kRequestCount; ++request) {
      if (entry.deferred[request]) {
        ask(object, static_cast<AtspiRequest>(request));
      }
    }
  }
  return asked;
}

const AtspiAnswer& AtspiAnswers::setFailed(const AtspiObject& object, AtspiRequest request) {
  return entries_[object].answers[indexOf(request)].emplace(AtspiAnswer{ResultCode::failure, {}});
}

std::optional<AtspiAnswer> AtspiAnswers::answerWithoutAsking(const AtspiObject& object, AtspiRequest request) const {
  if (!calls_.link()) {
    return AtspiAnswer{ResultCode::apiDisabled, {}};
  }
  if (object.isNull() || object.bus != calls_.busNumber()) {
    return AtspiAnswer{ResultCode::invalidUIElement, {}};
  }
  const bool isForDaemon = request == AtspiRequest::processId;
  if (calls_.isGivenUp(object) && !isForDaemon) {
    return AtspiAnswer{ResultCode::cannotComplete, {}};
  }
  if (applications_.lacks(object, request)) {
    return AtspiAnswer{ResultCode::attributeUnsupported, {}};
  }
  return std::nullopt;
}

AtspiAnswers::Readiness AtspiAnswers::readiness(const AtspiObject& object, AtspiRequest request,
                                                AtspiArguments& arguments) {
  if (auto answer = answerWithoutAsking(object, request)) {
    return {.answer = std::move(answer)};
  }
  const std::string_view interface = requiredInterface(request);
  const bool isOfComponent = request == AtspiRequest::extents || request == AtspiRequest::atPoint;
  if (!interface.empty() && !(isOfComponent && entries_[object].hasComponent)) {
    const AtspiAnswer* interfaces = ask(object, AtspiRequest::interfaces);
    if (!interfaces) {
      return {};
    }
    if (interfaces->code != ResultCode::success) {
      return {.answer = AtspiAnswer{interfaces->code, {}}};
    }
    if (!hasInterface(*interfaces, interface)) {
      return {.answer = AtspiAnswer{ResultCode::attributeUnsupported, {}}};
    }
  }
  switch (request) {
    case AtspiRequest::text:
      return readinessOfText(object, arguments);
    case AtspiRequest::children:
      return readinessOfChildren(object);
    default:
      return {.maySend = true};
  }
}

/// Only the role says whether the text is a secret.
AtspiAnswers::Readiness AtspiAnswers::readinessOfText(const AtspiObject& object, AtspiArguments& arguments) {
  arguments.x = kMaxCharacters;
  const AtspiAnswer* role = ask(object, AtspiRequest::role);
  if (!role) {
    return {};
  }
  const auto* number = role->as<std::uint32_t>();
  if (!number) {
    return {.answer = AtspiAnswer{role->code, {}}};
  }
  const RoleRow& row = roleRow(*number);
  if (row.value == ValueSource::secret) {
    return {.answer = AtspiAnswer{ResultCode::noValue, {}}};
  }
  if (row.depends == RoleDepends::multiLine || row.role == "AXTextArea") {
    // Some text areas answer nothing when asked for more characters than they have.
    const AtspiAnswer* count = ask(object, AtspiRequest::characterCount);
    if (!count) {
      return {};
    }
    if (const auto* characters = count->as<std::int32_t>()) {
      arguments.x = std::min(*characters, kMaxCharacters);
    }
  }
  return {.maySend = true};
}

/// Of long lists only the first part is fetched, one child at a time.
AtspiAnswers::Readiness AtspiAnswers::readinessOfChildren(const AtspiObject& object) {
  if (object.isRoot()) {
    return {.maySend = true};  // windows are never many
  }
  const AtspiAnswer* count = ask(object, AtspiRequest::childCount);
  if (!count) {
    return {};
  }
  const auto* number = count->as<std::int32_t>();
  if (!number) {
    return {.answer = AtspiAnswer{count->code, {}}};
  }
  if (*number == 0) {
    return {.answer = AtspiAnswer{ResultCode::success, std::vector<AtspiObject>()}};
  }
  if (*number <= kMaxChildrenInOneCall) {
    return {.maySend = true};
  }
  std::vector<AtspiObject> children;
  bool isComplete = true;
  for (int i = 0; i < kMaxChildrenOfLongLists; ++i) {
    isComplete = askChildAt(object, i) && isComplete;
    if (const AtspiObject* child = knownChildAt(object, i)) {
      children.push_back(*child);
    }
  }
  if (!isComplete) {
    return {};
  }
  return {.answer = AtspiAnswer{ResultCode::success, std::move(children)}};
}

void AtspiAnswers::keep(const AtspiCall& call, AtspiAnswer answer) {
  const auto& [object, request, arguments] = call;
  const bool mayBeLacking = request == AtspiRequest::helpText || request == AtspiRequest::accessibleId;
  if (mayBeLacking && answer.code == ResultCode::attributeUnsupported) {
    applications_.setLacks(object, request);
  }
  const bool isGone = answer.code == ResultCode::invalidUIElement && object.isRoot();
  if (isGone) {
    applications_.forget(object);
  }
  Entry& entry = entries_[object];
  if (request == AtspiRequest::childAt) {
    entry.childAt[arguments.x] = std::move(answer);
  } else {
    entry.answers[indexOf(request)] = std::move(answer);
  }
}

}  // namespace zqlogging
