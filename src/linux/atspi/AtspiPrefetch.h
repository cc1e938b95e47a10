#pragma once

#include <unordered_map>
#include <vector>

#include "linux/atspi/AtspiAnswers.h"

namespace zqlogging {

struct RoleRow;

/// What will be read of an object.
enum AtspiNeed : unsigned {
  needName = 1,      ///< what names it
  needStep = 2,      ///< its step in a path but for its value; with those of its ancestors and the window's frame
  needSiblings = 4,  ///< with needStep: the list of its parent's children
  needChildren = 8,  ///< the list of its children
  needChildCount = 16,
  needFrame = 32,  ///< its frame, and the address that it leads to
  needValue = 64,
};

/// Asks ahead: knows which requests serve which need, and which follow from the answers to others. What it asks for
/// goes out along with whatever is waited for anyway. One thread.
class AtspiPrefetch {
 public:
  explicit AtspiPrefetch(AtspiAnswers& answers) : answers_(answers) {}

  /// `needs` are AtspiNeeds.
  void add(const AtspiObject& object, unsigned needs);
  /// Goes on after answers about the object have come.
  void proceed(const AtspiObject& object);

  /// Whether anything is needed of the object.
  [[nodiscard]] bool hasNeeds(const AtspiObject& object) const;
  /// Whether the object has turned out to be another one's parent.
  [[nodiscard]] bool isKnownParent(const AtspiObject& object) const;

 private:
  struct Plan {
    unsigned needs = 0;
    bool isParent = false;
  };
  void askFor(const AtspiObject& object, const Plan& plan);
  void askForStep(const AtspiObject& object, const Plan& plan, const RoleRow& row);
  void askForOtherNames(const AtspiObject& object, const RoleRow& row);
  void askForValue(const AtspiObject& object, const Plan& plan, const RoleRow& row);

  AtspiAnswers& answers_;
  std::unordered_map<AtspiObject, Plan, AtspiObjectHash> plans_;
  std::vector<AtspiObject> pending_;  ///< objects whose plans are to be looked at
};

}  // namespace zqlogging
