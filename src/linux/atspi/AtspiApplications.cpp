#include "linux/atspi/AtspiApplications.h"

#include <algorithm>

namespace zqlogging {

AtspiApplications::Known& AtspiApplications::knownLocked(const AtspiObject& object) {
  if (bus_ != object.bus) {
    known_.clear();
  }
  bus_ = object.bus;
  return known_[object.application];
}

std::optional<std::int32_t> AtspiApplications::process(const AtspiObject& object) {
  const std::lock_guard lock(mutex_);
  return knownLocked(object).pid;
}

void AtspiApplications::setProcess(const AtspiObject& object, std::int32_t pid) {
  const std::lock_guard lock(mutex_);
  knownLocked(object).pid = pid;
}

std::vector<AtspiObject> AtspiApplications::rootsOf(std::int32_t pid) {
  const std::lock_guard lock(mutex_);
  std::vector<AtspiObject> roots;
  for (const auto& [name, known] : known_) {
    if (known.pid == pid && !known.root.isNull()) {
      roots.push_back(known.root);
    }
  }
  return roots;
}

void AtspiApplications::setRoots(const std::vector<AtspiObject>& roots) {
  const std::lock_guard lock(mutex_);
  for (const AtspiObject& root : roots) {
    knownLocked(root).root = root;
  }
  std::erase_if(known_, [&](const auto& entry) {
    return std::none_of(roots.begin(), roots.end(), [&](const auto& root) { return root.application == entry.first; });
  });
}

bool AtspiApplications::lacks(const AtspiObject& object, AtspiRequest request) {
  const std::lock_guard lock(mutex_);
  return knownLocked(object).lacking >> static_cast<unsigned>(request) & 1;
}

void AtspiApplications::setLacks(const AtspiObject& object, AtspiRequest request) {
  const std::lock_guard lock(mutex_);
  knownLocked(object).lacking |= std::uint64_t{1} << static_cast<unsigned>(request);
}

void AtspiApplications::forget(const AtspiObject& object) {
  const std::lock_guard lock(mutex_);
  if (bus_ == object.bus) {
    known_.erase(object.application);
  }
}

}  // namespace zqlogging
