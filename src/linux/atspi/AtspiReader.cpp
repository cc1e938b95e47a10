#include "linux/atspi/AtspiReader.h"

#include <algorithm>

#include "linux/accessibility/AtspiApplications.h"
#include "linux/atspi/AtspiStatistics.h"
#include "linux/atspi/AtspiVocabulary.h"
#include "linux/system/MonotonicTime.h"

namespace zqlogging {

using port::ResultCode;

namespace {

constexpr std::uint64_t kMostLost = 250'000;  // microseconds that one burst may lose to applications that do not answer
constexpr std::uint64_t kMostWaited = 1'000'000;  // and that it may wait in all
constexpr int kMostCharacters = 4096;
constexpr int kLongestList = 500;   // children that are fetched in one call
constexpr int kLongListPart = 100;  // children that are fetched of a longer list

std::size_t indexOf(Fact fact) { return static_cast<std::size_t>(fact); }

bool hasInterface(const AtspiAnswer& interfaces, std::string_view name) {
  const auto* list = interfaces.as<std::vector<std::string>>();
  return list && std::find(list->begin(), list->end(), name) != list->end();
}

}  // namespace

AtspiReader::AtspiReader(AtspiBus& bus, AtspiApplications& applications)
    : applications_(applications), link_(bus.link()) {}

void AtspiReader::setPoint(int x, int y) {
  if (x == x_ && y == y_) {
    return;
  }
  x_ = x;
  y_ = y;
  for (auto& [object, entry] : entries_) {
    entry.answers[indexOf(Fact::atPoint)].reset();
    entry.asked.reset(indexOf(Fact::atPoint));
  }
}

const AtspiAnswer* AtspiReader::known(const AtspiObject& object, Fact fact) {
  const auto found = entries_.find(object);
  if (found == entries_.end()) {
    return nullptr;
  }
  const auto& answer = found->second.answers[indexOf(fact)];
  return answer ? &*answer : nullptr;
}

bool AtspiReader::isWanted(const AtspiObject& object) {
  const auto found = entries_.find(object);
  return found != entries_.end() && found->second.wants;
}

std::vector<AtspiObject> AtspiReader::expected(const AtspiObject& object, Fact fact) const {
  return applications_.lastAnswer(object, fact);
}

void AtspiReader::expect(const AtspiObject& object, Fact fact, const AtspiAnswer& answer) {
  applications_.setLastAnswer(object, fact, answer);
}

bool AtspiReader::isKnownParent(const AtspiObject& object) {
  const auto found = entries_.find(object);
  return found != entries_.end() && found->second.isParent;
}

const AtspiAnswer& AtspiReader::read(const AtspiObject& object, Fact fact, double seconds) {
  ask(object, fact);
  auto& answer = entries_[object].answers[indexOf(fact)];
  while (!answer) {
    if (!wait(seconds)) {
      answer.emplace(AtspiAnswer{ResultCode::failure, {}});
    }
  }
  return *answer;
}

AtspiAnswer AtspiReader::readChildren(const AtspiObject& object, int index, int most, double seconds) {
  const AtspiAnswer& count = read(object, Fact::childCount, seconds);
  const auto* number = count.as<std::int32_t>();
  if (!number) {
    return {count.code, {}};
  }
  const int end = std::min(*number, most < kLongestList ? index + most : index + kLongestList);
  Entry& entry = entries_[object];
  for (int i = index; i < end; ++i) {
    askChildAt(object, entry, i);
  }
  while (std::any_of(entry.childAt.begin(), entry.childAt.end(), [](const auto& one) { return !one.second; })) {
    if (!wait(seconds)) {
      break;
    }
  }
  std::vector<AtspiObject> children;
  for (int i = index; i < end; ++i) {
    const auto& answer = entry.childAt[i];
    const auto* child = answer ? answer->as<AtspiObject>() : nullptr;
    if (child && !child->isNull()) {
      children.push_back(*child);
    }
  }
  return {ResultCode::success, std::move(children)};
}

void AtspiReader::want(const AtspiObject& object, unsigned wants) {
  Entry& entry = entries_[object];
  if ((entry.wants & wants) == wants) {
    return;
  }
  entry.wants |= wants;
  settle(object);
}

std::optional<AtspiAnswer> AtspiReader::answerWithoutAsking(const AtspiObject& object, Fact fact) {
  if (!link_) {
    return AtspiAnswer{ResultCode::apiDisabled, {}};
  }
  if (object.isNull() || object.bus != link_->busNumber()) {
    return AtspiAnswer{ResultCode::invalidUIElement, {}};
  }
  if (givenUp_.contains(object.application)) {
    return AtspiAnswer{ResultCode::cannotComplete, {}};
  }
  if (applications_.lacks(object, fact)) {
    return AtspiAnswer{ResultCode::attributeUnsupported, {}};
  }
  return std::nullopt;
}

void AtspiReader::askComponent(const AtspiObject& object, Fact fact) {
  entries_[object].hasComponent = true;
  ask(object, fact);
}

void AtspiReader::ask(const AtspiObject& object, Fact fact) {
  Entry& entry = entries_[object];
  const std::size_t index = indexOf(fact);
  if (entry.answers[index] || entry.asked[index]) {
    return;
  }
  entry.deferred.reset(index);
  if (auto answer = answerWithoutAsking(object, fact)) {
    entry.answers[index] = std::move(answer);
    return;
  }
  AtspiArguments arguments{x_, y_};
  if (!askPreconditions(object, entry, fact, arguments)) {
    if (!entry.answers[index]) {
      entry.deferred.set(index);
    }
    return;
  }
  entry.asked.set(index);
  questions_.push_back({object, fact, arguments});
}

/// Whether the fact may be asked for now. If not, either the preconditions have been asked for, or the answer follows
/// from them and has been kept.
bool AtspiReader::askPreconditions(const AtspiObject& object, Entry& entry, Fact fact, AtspiArguments& arguments) {
  const auto need = [&](Fact precondition) -> const AtspiAnswer* {
    ask(object, precondition);
    const auto& answer = entry.answers[indexOf(precondition)];
    return answer ? &*answer : nullptr;
  };
  const auto settleAs = [&](AtspiAnswer answer) {
    entry.answers[indexOf(fact)] = std::move(answer);
    return false;
  };

  const std::string_view interface = requiredInterface(fact);
  const bool isComponentFact = fact == Fact::extents || fact == Fact::atPoint;
  if (!interface.empty() && !(isComponentFact && entry.hasComponent)) {
    const AtspiAnswer* interfaces = need(Fact::interfaces);
    if (!interfaces) {
      return false;
    }
    if (interfaces->code != ResultCode::success) {
      return settleAs({interfaces->code, {}});
    }
    if (!hasInterface(*interfaces, interface)) {
      return settleAs({ResultCode::attributeUnsupported, {}});
    }
  }
  if (fact == Fact::text) {
    arguments.x = kMostCharacters;
    const AtspiAnswer* role = need(Fact::role);
    if (!role) {
      return false;
    }
    const auto* number = role->as<std::uint32_t>();
    if (!number) {
      return settleAs({role->code, {}});
    }
    const RoleRow& row = roleRow(*number);
    if (row.value == ValueSource::secret) {
      return settleAs({ResultCode::noValue, {}});
    }
    if (row.depends == RoleDepends::multiLine || row.role == "AXTextArea") {
      // Some text areas answer nothing when asked for more characters than they have.
      const AtspiAnswer* count = need(Fact::characterCount);
      if (!count) {
        return false;
      }
      if (const auto* characters = count->as<std::int32_t>()) {
        arguments.x = std::min(*characters, kMostCharacters);
      }
    }
  }
  const bool listsWindows = object.path == AtspiObject::kRootPath;  // these are never many
  if (fact == Fact::children && !listsWindows) {
    const AtspiAnswer* count = need(Fact::childCount);
    if (!count) {
      return false;
    }
    const auto* number = count->as<std::int32_t>();
    if (!number) {
      return settleAs({count->code, {}});
    }
    if (*number == 0) {
      return settleAs({ResultCode::success, std::vector<AtspiObject>()});
    }
    if (*number > kLongestList) {
      std::vector<AtspiObject> children;
      bool complete = true;
      for (int i = 0; i < kLongListPart; ++i) {
        complete = askChildAt(object, entry, i) && complete;
        const auto& answer = entry.childAt[i];
        const auto* child = answer ? answer->as<AtspiObject>() : nullptr;
        if (child && !child->isNull()) {
          children.push_back(*child);
        }
      }
      return complete && settleAs({ResultCode::success, std::move(children)});
    }
  }
  return true;
}

/// Whether the answer is there already.
bool AtspiReader::askChildAt(const AtspiObject& object, Entry& entry, int index) {
  const auto [place, isNew] = entry.childAt.try_emplace(index);
  if (!isNew) {
    return place->second.has_value();
  }
  place->second = answerWithoutAsking(object, Fact::childAt);
  if (place->second) {
    return true;
  }
  questions_.push_back({object, Fact::childAt, {index, 0}});
  return false;
}

/// Asks what follows from the answers that are known now.
void AtspiReader::settle(const AtspiObject& object) {
  unsettled_.push_back(object);
  if (unsettled_.size() > 1) {
    return;  // the loop below runs already
  }
  for (std::size_t i = 0; i < unsettled_.size(); ++i) {
    const AtspiObject current = unsettled_[i];
    Entry& entry = entries_[current];
    for (std::size_t fact = 0; fact < kFactCount; ++fact) {
      if (entry.deferred[fact]) {
        ask(current, static_cast<Fact>(fact));
      }
    }
    if (entry.wants) {
      plan(current, entry);
    }
  }
  unsettled_.clear();
}

void AtspiReader::plan(const AtspiObject& object, Entry& entry) {
  const auto answered = [&](Fact fact) -> const AtspiAnswer* {
    ask(object, fact);
    const auto& answer = entry.answers[indexOf(fact)];
    return answer ? &*answer : nullptr;
  };
  const unsigned wants = entry.wants;

  if (wants & wantsFrame) {
    ask(object, Fact::extents);
  }
  if (wants & wantsChildren) {
    ask(object, Fact::children);
  }
  if (wants & wantsChildCount) {
    ask(object, Fact::childCount);
  }
  if (!(wants & (wantsName | wantsStep))) {
    return;
  }
  const AtspiAnswer* role = answered(Fact::role);
  const AtspiAnswer* name = answered(Fact::name);
  const bool isApplication = object.path == AtspiObject::kRootPath;
  if ((wants & wantsStep) && !isApplication) {
    for (const Fact fact : {Fact::description, Fact::helpText}) {
      ask(object, fact);
    }
    if (!answered(Fact::parent)) {
      for (const AtspiObject& above : expected(object, Fact::parent)) {
        entries_[above].isExpectedParent = true;
        want(above, wantsStep | wantsValue);
      }
    }
  }

  const auto* number = role ? role->as<std::uint32_t>() : nullptr;
  if (!number || !name) {
    return;
  }
  const RoleRow& row = roleRow(*number);
  const auto* text = name->as<std::string>();
  const bool nameless = !text || text->empty();
  if (row.depends == RoleDepends::multiLine) {
    ask(object, Fact::states);
  }
  if (row.depends == RoleDepends::webRole) {
    ask(object, Fact::objectAttributes);
  }
  if (isApplication) {
    return;
  }
  const bool needsOtherNames = nameless && (wants & wantsName);
  if (needsOtherNames) {
    planOtherNames(object, entry, row);
  }
  if (needsOtherNames || (wants & wantsValue)) {
    planValue(object, entry, row);
  }
  if (!(wants & wantsStep)) {
    return;
  }
  if (row.role == "AXWindow") {
    askComponent(object, Fact::extents);
  }
  if (row.role == "AXWebArea") {
    ask(object, Fact::documentAttributes);
  }
  if (row.role == "AXLink" && (wants & wantsFrame)) {
    ask(object, Fact::linkAddress);
  }
  const AtspiAnswer* parent = answered(Fact::parent);
  const auto* above = parent ? parent->as<AtspiObject>() : nullptr;
  if (!above || above->isNull()) {
    return;
  }
  entries_[*above].isParent = true;
  want(*above, wantsStep | wantsValue);
  if (wants & wantsSiblings) {
    want(*above, wantsChildren);
  }
}

/// What names an element that has no title: see the order in which names are looked for.
void AtspiReader::planOtherNames(const AtspiObject& object, Entry& entry, const RoleRow& row) {
  ask(object, Fact::description);
  ask(object, Fact::helpText);
  if (!row.labelled) {
    return;
  }
  ask(object, Fact::objectAttributes);
  ask(object, Fact::relations);
  const auto& relations = entry.answers[indexOf(Fact::relations)];
  const auto* list = relations ? relations->as<std::vector<AtspiRelation>>() : nullptr;
  if (!list) {
    return;
  }
  for (const AtspiRelation& relation : *list) {
    if (relation.type == relationLabelledBy && !relation.targets.empty()) {
      want(relation.targets.front(), wantsName);
    }
  }
}

void AtspiReader::planValue(const AtspiObject& object, Entry& entry, const RoleRow& row) {
  switch (row.value) {
    case ValueSource::none:
    case ValueSource::secret:
      return;
    case ValueSource::text:
      return ask(object, Fact::text);
    case ValueSource::leafText: {
      if (entry.isParent || entry.isExpectedParent) {
        return;
      }
      ask(object, Fact::childCount);
      const auto& count = entry.answers[indexOf(Fact::childCount)];
      const auto* number = count ? count->as<std::int32_t>() : nullptr;
      if (number && *number == 0) {
        ask(object, Fact::text);
      }
      return;
    }
    case ValueSource::number:
      return ask(object, Fact::currentValue);
    case ValueSource::checked:
    case ValueSource::selected:
      return ask(object, Fact::states);
    case ValueSource::choice: {
      ask(object, Fact::selectedChild);
      const auto& selected = entry.answers[indexOf(Fact::selectedChild)];
      const auto* child = selected ? selected->as<AtspiObject>() : nullptr;
      if (child && !child->isNull()) {
        ask(*child, Fact::name);
      }
      return;
    }
  }
}

bool AtspiReader::wait(double seconds) {
  if (questions_.empty()) {
    return false;
  }
  std::list<Call> calls;  // at addresses that stay
  for (Question& question : questions_) {
    calls.push_back({this, std::move(question), nullptr, false});
  }
  questions_.clear();
  unanswered_ = 0;
  for (Call& call : calls) {
    if (send(call)) {
      ++unanswered_;
    }
  }
  AtspiStatistics::calls += unanswered_;
  ++AtspiStatistics::waits;

  const std::uint64_t start = monotonicMicroseconds();
  const std::uint64_t left =
      std::min(kMostLost - std::min(lost_, kMostLost), kMostWaited - std::min(waited_, kMostWaited));
  const std::uint64_t deadline = start + std::min(static_cast<std::uint64_t>(seconds * 1e6), left);
  while (link_->process() && unanswered_ && monotonicMicroseconds() < deadline) {
    link_->waitUntil(deadline);
  }
  const std::uint64_t took = monotonicMicroseconds() - start;
  waited_ += took;
  if (unanswered_) {
    ++AtspiStatistics::timeOuts;
    lost_ += took;
    giveUp(calls);
  }
  for (const Call& call : calls) {
    settle(call.question.object);
  }
  return true;
}

bool AtspiReader::send(Call& call) {
  const Question& question = call.question;
  const SdBusMessagePtr message(newCall(link_->bus(), question.fact, question.object, question.arguments));
  sd_bus_slot* slot = nullptr;
  if (!message || sd_bus_call_async(link_->bus(), &slot, message.get(), receive, &call, UINT64_MAX) < 0) {
    call.answered = true;
    keep(question, {ResultCode::cannotComplete, {}});
    return false;
  }
  call.slot.reset(slot);
  return true;
}

int AtspiReader::receive(sd_bus_message* reply, void* data, sd_bus_error* /*error*/) {
  Call& call = *static_cast<Call*>(data);
  AtspiReader& reader = *call.reader;
  call.answered = true;
  --reader.unanswered_;
  reader.keep(call.question, readAnswer(reply, call.question.fact, reader.busNumber()));
  return 0;
}

void AtspiReader::keep(const Question& question, AtspiAnswer answer) {
  const auto& [object, fact, arguments] = question;
  const bool mayBeLacking = fact == Fact::helpText || fact == Fact::accessibleId;
  if (mayBeLacking && answer.code == ResultCode::attributeUnsupported) {
    applications_.setLacks(object, fact);
  }
  const bool isGone = answer.code == ResultCode::invalidUIElement && object.path == AtspiObject::kRootPath;
  if (isGone) {
    applications_.forget(object);
  }
  if (fact == Fact::parent || (fact == Fact::children && object.path == AtspiObject::kRootPath)) {
    expect(object, fact, answer);
  }
  Entry& entry = entries_[object];
  if (fact == Fact::childAt) {
    entry.childAt[arguments.x] = std::move(answer);
  } else {
    entry.answers[indexOf(fact)] = std::move(answer);
  }
}

/// The wait has run out.
void AtspiReader::giveUp(std::list<Call>& calls) {
  for (Call& call : calls) {
    if (call.answered) {
      continue;
    }
    call.slot.reset();
    givenUp_.insert(call.question.object.application);
    keep(call.question, {ResultCode::cannotComplete, {}});
  }
}

}  // namespace zqlogging
