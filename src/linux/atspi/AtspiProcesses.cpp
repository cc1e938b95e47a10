#include "linux/atspi/AtspiProcesses.h"

namespace zqlogging {

std::vector<AtspiObject> readAllRoots(AtspiBatch& batch, double seconds) {
  const AtspiObject registry{AtspiObject::kRegistryName, AtspiObject::kRootPath, batch.busNumber()};
  const auto* roots = batch.read(registry, AtspiRequest::children, seconds).as<std::vector<AtspiObject>>();
  if (!roots) {
    return {};
  }
  batch.applications().setRoots(*roots);
  return *roots;
}

std::vector<AtspiObject> readRootsOf(std::int32_t pid, AtspiBatch& batch, double seconds) {
  // A bus name never changes hands: what is known stays true until the application is gone.
  AtspiApplications& applications = batch.applications();
  std::vector<AtspiObject> roots = applications.rootsOf(pid);
  if (!roots.empty() && roots.front().bus == batch.busNumber()) {
    return roots;
  }
  std::vector<AtspiObject> strangers = readAllRoots(batch, seconds);
  std::erase_if(strangers, [&](const AtspiObject& root) { return applications.process(root).has_value(); });
  for (const AtspiObject& root : strangers) {
    batch.prefetch(root.root(), AtspiRequest::processId);
  }
  for (const AtspiObject& root : strangers) {
    readProcess(root, batch, seconds);
  }
  return applications.rootsOf(pid);
}

std::optional<std::int32_t> readProcess(const AtspiObject& object, AtspiBatch& batch, double seconds) {
  if (object.bus != batch.busNumber()) {
    return std::nullopt;
  }
  if (const auto known = batch.applications().process(object)) {
    return known;
  }
  const auto* pid = batch.read(object.root(), AtspiRequest::processId, seconds).as<std::uint32_t>();
  if (!pid) {
    return std::nullopt;
  }
  batch.applications().setProcess(object, static_cast<std::int32_t>(*pid));
  return static_cast<std::int32_t>(*pid);
}

}  // namespace zqlogging
