#include "linux/atspi/AtspiBatch.h"

#include <algorithm>

namespace zqlogging {

using port::ResultCode;

namespace {

constexpr int kMaxChildren = 500;  // that are read at a time

}  // namespace

const AtspiAnswer& AtspiBatch::read(const AtspiObject& object, AtspiRequest request, double seconds) {
  while (true) {
    if (const AtspiAnswer* answer = answers_.ask(object, request)) {
      return *answer;
    }
    if (!sendAndWait(seconds)) {
      return answers_.setFailed(object, request);
    }
  }
}

AtspiAnswer AtspiBatch::readChildren(const AtspiObject& object, int index, int maxCount, double seconds) {
  const AtspiAnswer& count = read(object, AtspiRequest::childCount, seconds);
  const auto* number = count.as<std::int32_t>();
  if (!number) {
    return {count.code, {}};
  }
  const int end = std::min(*number, index + std::min(maxCount, kMaxChildren));
  const auto askForAll = [&] {
    bool areThere = true;
    for (int i = index; i < end; ++i) {
      areThere = answers_.askChildAt(object, i) && areThere;
    }
    return areThere;
  };
  while (!askForAll() && sendAndWait(seconds)) {
  }
  std::vector<AtspiObject> children;
  for (int i = index; i < end; ++i) {
    if (const AtspiObject* child = answers_.knownChildAt(object, i)) {
      children.push_back(*child);
    }
  }
  return {ResultCode::success, std::move(children)};
}

void AtspiBatch::prefetchComponent(const AtspiObject& object, AtspiRequest request) {
  answers_.setHasComponent(object);
  answers_.ask(object, request);
}

bool AtspiBatch::sendAndWait(double seconds) {
  const std::vector<AtspiObject> asked = answers_.sendAndWait(seconds);
  for (const AtspiObject& object : asked) {
    prefetch_.proceed(object);
  }
  return !asked.empty();
}

}  // namespace zqlogging
