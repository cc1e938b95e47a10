#include "linux/atspi/AtspiPrefetch.h"

#include "linux/atspi/AtspiVocabulary.h"

namespace zqlogging {

void AtspiPrefetch::add(const AtspiObject& object, unsigned needs) {
  Plan& plan = plans_[object];
  if ((plan.needs & needs) == needs) {
    return;
  }
  plan.needs |= needs;
  proceed(object);
}

void AtspiPrefetch::proceed(const AtspiObject& object) {
  pending_.push_back(object);
  if (pending_.size() > 1) {
    return;  // called from the loop below, which will come to it
  }
  for (std::size_t i = 0; i < pending_.size(); ++i) {
    const AtspiObject current = pending_[i];
    const auto plan = plans_.find(current);
    if (plan != plans_.end() && plan->second.needs) {
      askFor(current, plan->second);
    }
  }
  pending_.clear();
}

bool AtspiPrefetch::hasNeeds(const AtspiObject& object) const {
  const auto plan = plans_.find(object);
  return plan != plans_.end() && plan->second.needs;
}

bool AtspiPrefetch::isKnownParent(const AtspiObject& object) const {
  const auto plan = plans_.find(object);
  return plan != plans_.end() && plan->second.isParent;
}

void AtspiPrefetch::askFor(const AtspiObject& object, const Plan& plan) {
  const unsigned needs = plan.needs;
  if (needs & needFrame) {
    answers_.ask(object, AtspiRequest::extents);
  }
  if (needs & needChildren) {
    answers_.ask(object, AtspiRequest::children);
  }
  if (needs & needChildCount) {
    answers_.ask(object, AtspiRequest::childCount);
  }
  if (!(needs & (needName | needStep))) {
    return;
  }
  const AtspiAnswer* role = answers_.ask(object, AtspiRequest::role);
  const AtspiAnswer* name = answers_.ask(object, AtspiRequest::name);
  const bool needsStep = needs & needStep && !object.isRoot();
  if (needsStep) {
    for (const AtspiRequest request : {AtspiRequest::description, AtspiRequest::helpText, AtspiRequest::parent}) {
      answers_.ask(object, request);
    }
  }
  const auto* number = role ? role->as<std::uint32_t>() : nullptr;
  if (!number || !name) {
    return;
  }
  const RoleRow& row = roleRow(*number);
  if (row.depends == RoleDepends::multiLine) {
    answers_.ask(object, AtspiRequest::states);
  }
  if (row.depends == RoleDepends::webRole) {
    answers_.ask(object, AtspiRequest::objectAttributes);
  }
  if (object.isRoot()) {
    return;
  }
  const auto* text = name->as<std::string>();
  const bool needsOtherNames = needs & needName && (!text || text->empty());
  if (needsOtherNames) {
    askForOtherNames(object, row);
  }
  if (needsOtherNames || needs & needValue) {
    askForValue(object, plan, row);
  }
  if (needsStep) {
    askForStep(object, plan, row);
  }
}

void AtspiPrefetch::askForStep(const AtspiObject& object, const Plan& plan, const RoleRow& row) {
  if (row.role == "AXWindow") {
    answers_.setHasComponent(object);
    answers_.ask(object, AtspiRequest::extents);
  }
  if (row.role == "AXWebArea") {
    answers_.ask(object, AtspiRequest::documentAttributes);
  }
  if (row.role == "AXLink" && plan.needs & needFrame) {
    answers_.ask(object, AtspiRequest::linkAddress);
  }
  const AtspiAnswer* parent = answers_.ask(object, AtspiRequest::parent);
  const auto* above = parent ? parent->as<AtspiObject>() : nullptr;
  if (!above || above->isNull()) {
    return;
  }
  plans_[*above].isParent = true;
  const unsigned children = plan.needs & needSiblings ? unsigned{needChildren} : 0;
  add(*above, needStep | needValue | children);
}

/// What names an element that has no title: see the order in which names are looked for.
void AtspiPrefetch::askForOtherNames(const AtspiObject& object, const RoleRow& row) {
  answers_.ask(object, AtspiRequest::description);
  answers_.ask(object, AtspiRequest::helpText);
  if (!row.labelled) {
    return;
  }
  answers_.ask(object, AtspiRequest::objectAttributes);
  const AtspiAnswer* relations = answers_.ask(object, AtspiRequest::relations);
  const auto* list = relations ? relations->as<std::vector<AtspiRelation>>() : nullptr;
  if (!list) {
    return;
  }
  for (const AtspiRelation& relation : *list) {
    if (relation.type == relationLabelledBy && !relation.targets.empty()) {
      add(relation.targets.front(), needName);
    }
  }
}

void AtspiPrefetch::askForValue(const AtspiObject& object, const Plan& plan, const RoleRow& row) {
  switch (row.value) {
    case ValueSource::none:
    case ValueSource::secret:
      return;
    case ValueSource::text:
      answers_.ask(object, AtspiRequest::text);
      return;
    case ValueSource::leafText: {
      if (plan.isParent) {
        return;
      }
      const AtspiAnswer* count = answers_.ask(object, AtspiRequest::childCount);
      const auto* number = count ? count->as<std::int32_t>() : nullptr;
      if (number && *number == 0) {
        answers_.ask(object, AtspiRequest::text);
      }
      return;
    }
    case ValueSource::number:
      answers_.ask(object, AtspiRequest::currentValue);
      return;
    case ValueSource::checked:
    case ValueSource::selected:
      answers_.ask(object, AtspiRequest::states);
      return;
    case ValueSource::choice: {
      const AtspiAnswer* selected = answers_.ask(object, AtspiRequest::selectedChild);
      const auto* child = selected ? selected->as<AtspiObject>() : nullptr;
      if (child && !child->isNull()) {
        answers_.ask(*child, AtspiRequest::name);
      }
      return;
    }
  }
}

}  // namespace zqlogging
