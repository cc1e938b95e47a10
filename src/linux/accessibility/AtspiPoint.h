#pragma once

#include <optional>
#include <vector>

#include "linux/atspi/AtspiBatch.h"
#include "linux/atspi/AtspiVocabulary.h"

namespace zqlogging {

/// A screen point (origin top-left) and what applications say of it. All that reads waits for the answers.
class AtspiPoint {
 public:
  AtspiPoint(AtspiBatch& batch, int x, int y, double seconds);

  [[nodiscard]] AtspiBatch& batch() const { return batch_; }
  [[nodiscard]] int x() const { return x_; }
  [[nodiscard]] int y() const { return y_; }
  void moveTo(int x, int y);

  /// The innermost object at the point, from the window down.
  port::Result<AtspiObject> innermost(AtspiObject window);

  [[nodiscard]] bool isInside(const CGRect& frame) const { return frame.contains({double(x_), double(y_)}); }
  [[nodiscard]] bool isInside(const AtspiObject& object) const;

  [[nodiscard]] const RoleRow* roleOf(const AtspiObject& object) const;
  [[nodiscard]] std::optional<CGRect> frameOf(const AtspiObject& object) const;
  [[nodiscard]] std::optional<AtspiObject> parentOf(const AtspiObject& object) const;
  [[nodiscard]] std::vector<AtspiObject> childrenOf(const AtspiObject& object) const;
  /// What the object answers when asked what it has at the point, unless that is itself.
  [[nodiscard]] std::optional<AtspiObject> answerOf(const AtspiObject& object) const;
  [[nodiscard]] bool hasState(const AtspiObject& object, AtspiState state) const;
  template <class T>
  [[nodiscard]] const T* read(const AtspiObject& object, AtspiRequest request) const {
    return batch_.read(object, request, seconds_).as<T>();
  }

 private:
  std::optional<AtspiObject> inSelectedPage(const AtspiObject& tabs);

  AtspiBatch& batch_;
  int x_, y_;
  double seconds_;
};

}  // namespace zqlogging
