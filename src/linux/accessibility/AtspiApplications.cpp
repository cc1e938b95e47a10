#include "linux/accessibility/AtspiApplications.h"

#include <algorithm>

#include "linux/atspi/AtspiReader.h"

namespace zqlogging {

namespace {

/// Under which a question about the whole connection is kept.
AtspiObject connectionOf(const AtspiObject& object) { return {object.application, AtspiObject::kRootPath, object.bus}; }

}  // namespace

AtspiApplications::Known& AtspiApplications::knownLocked(const AtspiObject& object) {
  if (bus_ != object.bus) {
    known_.clear();
  }
  bus_ = object.bus;
  return known_[object.application];
}

void AtspiApplications::forget(const AtspiObject& object) {
  const std::lock_guard lock(mutex_);
  if (bus_ == object.bus) {
    known_.erase(object.application);
  }
}

bool AtspiApplications::lacks(const AtspiObject& object, Fact fact) {
  const std::lock_guard lock(mutex_);
  return knownLocked(object).lacking >> static_cast<unsigned>(fact) & 1;
}

void AtspiApplications::setLacks(const AtspiObject& object, Fact fact) {
  const std::lock_guard lock(mutex_);
  knownLocked(object).lacking |= std::uint64_t{1} << static_cast<unsigned>(fact);
}

std::vector<AtspiObject> AtspiApplications::lastAnswer(const AtspiObject& object, Fact fact) {
  const std::lock_guard lock(mutex_);
  const auto& answers = knownLocked(object).lastAnswers;
  const auto found = answers.find({fact, object.path});
  return found == answers.end() ? std::vector<AtspiObject>() : found->second;
}

void AtspiApplications::setLastAnswer(const AtspiObject& object, Fact fact, const AtspiAnswer& answer) {
  const std::lock_guard lock(mutex_);
  auto& answers = knownLocked(object).lastAnswers;
  constexpr std::size_t kMost = 1000;
  if (answers.size() >= kMost) {
    answers.clear();
  }
  const std::pair key{fact, object.path};
  if (const auto* one = answer.as<AtspiObject>()) {
    answers[key] = {*one};
  } else if (const auto* several = answer.as<std::vector<AtspiObject>>()) {
    answers[key] = *several;
  } else {
    answers.erase(key);
  }
}

std::vector<AtspiObject> AtspiApplications::all(AtspiReader& reader, double seconds) {
  const AtspiObject desktop{AtspiObject::kRegistryName, AtspiObject::kRootPath, reader.busNumber()};
  reader.ask(desktop, Fact::childCount);
  const auto* roots = reader.read(desktop, Fact::children, seconds).as<std::vector<AtspiObject>>();
  if (!roots) {
    return {};
  }
  const std::lock_guard lock(mutex_);
  for (const AtspiObject& root : *roots) {
    knownLocked(root).root = root;
  }
  std::erase_if(known_, [&](const auto& entry) {
    return std::none_of(roots->begin(), roots->end(),
                        [&](const auto& root) { return root.application == entry.first; });
  });
  return *roots;
}

std::vector<AtspiObject> AtspiApplications::knownRoots(std::int32_t pid) {
  const std::lock_guard lock(mutex_);
  std::vector<AtspiObject> roots;
  for (const auto& [name, known] : known_) {
    if (known.pid == pid && !known.root.isNull()) {
      roots.push_back(known.root);
    }
  }
  return roots;
}

bool AtspiApplications::isMet(const AtspiObject& root) {
  const std::lock_guard lock(mutex_);
  return knownLocked(root).pid.has_value();
}

std::vector<AtspiObject> AtspiApplications::rootsOf(std::int32_t pid, AtspiReader& reader, double seconds) {
  // A bus name never changes hands: what is known stays true until the application is gone.
  std::vector<AtspiObject> roots = knownRoots(pid);
  if (!roots.empty() && roots.front().bus == reader.busNumber()) {
    return roots;
  }
  std::vector<AtspiObject> strangers = all(reader, seconds);
  std::erase_if(strangers, [&](const AtspiObject& root) { return isMet(root); });
  for (const AtspiObject& root : strangers) {
    reader.ask(connectionOf(root), Fact::processId);
  }
  for (const AtspiObject& root : strangers) {
    processOf(root, reader, seconds);
  }
  return knownRoots(pid);
}

std::optional<std::int32_t> AtspiApplications::processOf(const AtspiObject& object, AtspiReader& reader,
                                                         double seconds) {
  if (object.bus != reader.busNumber()) {
    return std::nullopt;
  }
  {
    const std::lock_guard lock(mutex_);
    if (const auto pid = knownLocked(object).pid) {
      return pid;
    }
  }
  const auto* pid = reader.read(connectionOf(object), Fact::processId, seconds).as<std::uint32_t>();
  if (!pid) {
    return std::nullopt;
  }
  const std::lock_guard lock(mutex_);
  Known& known = knownLocked(object);
  known.pid = static_cast<std::int32_t>(*pid);
  return known.pid;
}

}  // namespace zqlogging
