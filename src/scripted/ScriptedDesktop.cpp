#include "scripted/ScriptedDesktop.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string_view>

#include "platform/Platform.h"
#include "scripted/ScriptedElement.h"

namespace zqlogging::port {

namespace {

constexpr std::string_view kChildren = "AXChildren";
constexpr std::string_view kParent = "AXParent";
constexpr std::string_view kWindows = "AXWindows";

template <class Pairs>
auto findByName(Pairs& pairs, std::string_view name) {
  return std::ranges::find(pairs, name, [](const auto& pair) -> std::string_view { return pair.first; });
}

}  // namespace

ScriptedDesktop::ScriptedDesktop(ScriptedPlatform& platform) : platform_(platform) {
  nodes_.emplace_back();
  nodes_[kSystemWide].attributes.emplace_back("AXRole", std::string("AXSystemWide"));
}

NodeId ScriptedDesktop::addNode(const std::string& id, std::int32_t pid, std::optional<NodeId> parent) {
  const NodeId node = nodes_.size();
  if (!id.empty() && !ids_.emplace(id, node).second) {
    throw std::invalid_argument("two elements have the id " + id);
  }
  Node& added = nodes_.emplace_back();
  added.id = id;
  added.pid = pid;
  added.parent = parent;
  return node;
}

NodeId ScriptedDesktop::addApplication(const RunningApplication& application, const std::string& elementId, bool hung) {
  const std::lock_guard lock(mutex_);
  if (applicationOf(application.pid)) {
    throw std::invalid_argument("two applications have the pid " + std::to_string(application.pid));
  }
  const NodeId node = addNode(elementId, application.pid, std::nullopt);
  applications_.push_back({application, hung, node});
  return node;
}

NodeId ScriptedDesktop::addElement(NodeId parent, const std::string& id, const ElementEdit& content) {
  const std::lock_guard lock(mutex_);
  const NodeId node = addNode(id, nodes_.at(parent).pid, parent);
  nodes_[parent].children.push_back(node);
  applyEdit(nodes_[node], content);
  return node;
}

void ScriptedDesktop::edit(NodeId node, const ElementEdit& edit) {
  const std::lock_guard lock(mutex_);
  applyEdit(nodes_.at(node), edit);
}

void ScriptedDesktop::applyEdit(Node& node, const ElementEdit& edit) {
  for (const auto& [name, value] : edit.attributes) {
    const auto known = findByName(node.attributes, name);
    if (known != node.attributes.end()) {
      known->second = value;
    } else {
      node.attributes.emplace_back(name, value);
    }
  }
  for (const auto& [name, code] : edit.errors) {
    if (code) {
      node.errors.insert_or_assign(name, *code);
    } else {
      node.errors.erase(name);
    }
  }
}

void ScriptedDesktop::setActions(NodeId node, std::vector<std::string> actions) {
  const std::lock_guard lock(mutex_);
  nodes_.at(node).actions = std::move(actions);
}

void ScriptedDesktop::remove(NodeId node) {
  const std::lock_guard lock(mutex_);
  std::vector<NodeId> going = {node};
  while (!going.empty()) {
    Node& next = nodes_.at(going.back());
    going.pop_back();
    next.removed = true;
    going.insert(going.end(), next.children.begin(), next.children.end());
  }
  if (const auto parent = nodes_[node].parent) {
    std::erase(nodes_[*parent].children, node);
  }
}

void ScriptedDesktop::raiseOnRead(NodeId node, const std::string& attribute, const std::string& reason) {
  const std::lock_guard lock(mutex_);
  nodes_.at(node).raises.insert_or_assign(attribute, reason);
}

void ScriptedDesktop::terminate(std::int32_t pid) {
  const std::lock_guard lock(mutex_);
  for (auto& application : applications_) {
    if (application.info.pid == pid) {
      application.info.terminated = true;
    }
  }
}

void ScriptedDesktop::setHits(std::vector<ScriptedHit> hits) {
  const std::lock_guard lock(mutex_);
  hits_ = std::move(hits);
}

void ScriptedDesktop::setScreens(std::vector<CGRect> screens) {
  const std::lock_guard lock(mutex_);
  screens_ = std::move(screens);
}

std::optional<NodeId> ScriptedDesktop::find(const std::string& id) const {
  const std::lock_guard lock(mutex_);
  const auto found = ids_.find(id);
  return found == ids_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> ScriptedDesktop::idOf(const ElementRef& element) const {
  const auto* scripted = dynamic_cast<const ScriptedElement*>(element.get());
  if (!scripted) {
    return std::nullopt;
  }
  const std::lock_guard lock(mutex_);
  const std::string& id = nodes_.at(scripted->node()).id;
  return id.empty() ? std::nullopt : std::optional(id);
}

ElementRef ScriptedDesktop::element(NodeId node) const { return std::make_shared<ScriptedElement>(platform_, node); }

NodeId ScriptedDesktop::applicationElement(std::int32_t pid) {
  const std::lock_guard lock(mutex_);
  if (const auto* application = applicationOf(pid)) {
    return application->element;
  }
  if (const auto known = strangers_.find(pid); known != strangers_.end()) {
    return known->second;
  }
  const NodeId node = addNode("", pid, std::nullopt);
  nodes_[node].removed = true;
  return strangers_[pid] = node;
}

std::int32_t ScriptedDesktop::pidOf(NodeId node) const {
  const std::lock_guard lock(mutex_);
  return nodes_.at(node).pid;
}

ScriptedDesktop::Reach ScriptedDesktop::reach(NodeId node) const {
  const std::lock_guard lock(mutex_);
  if (node == kSystemWide) {
    return Reach::answers;
  }
  const auto* application = applicationOf(nodes_.at(node).pid);
  if (nodes_[node].removed || !application || application->info.terminated) {
    return Reach::gone;
  }
  return application->hung ? Reach::hangs : Reach::answers;
}

std::vector<RunningApplication> ScriptedDesktop::runningApplications() const {
  const std::lock_guard lock(mutex_);
  std::vector<RunningApplication> running;
  for (const auto& application : applications_) {
    if (!application.info.terminated) {
      running.push_back(application.info);
    }
  }
  return running;
}

std::optional<RunningApplication> ScriptedDesktop::application(std::int32_t pid) const {
  const std::lock_guard lock(mutex_);
  const auto* application = applicationOf(pid);
  return application ? std::optional(application->info) : std::nullopt;
}

std::vector<CGRect> ScriptedDesktop::screens() const {
  const std::lock_guard lock(mutex_);
  return screens_;
}

const ScriptedDesktop::ScriptedApplication* ScriptedDesktop::applicationOf(std::int32_t pid) const {
  const auto found = std::ranges::find(applications_, pid, [](const auto& known) { return known.info.pid; });
  return found == applications_.end() ? nullptr : &*found;
}

Result<Value> ScriptedDesktop::read(NodeId id, const std::string& attribute) const {
  const std::lock_guard lock(mutex_);
  const Node& node = nodes_.at(id);
  if (const auto raised = node.raises.find(attribute); raised != node.raises.end()) {
    throw PlatformException(raised->second);
  }
  if (const auto failing = node.errors.find(attribute); failing != node.errors.end()) {
    return failing->second;
  }
  if (auto value = valueOf(node, attribute)) {
    return std::move(*value);
  }
  return ResultCode::attributeUnsupported;
}

std::optional<Value> ScriptedDesktop::valueOf(const Node& node, std::string_view attribute) const {
  const auto given = findByName(node.attributes, attribute);
  return given != node.attributes.end() ? given->second : derivedValueOf(node, attribute);
}

std::optional<Value> ScriptedDesktop::derivedValueOf(const Node& node, std::string_view attribute) const {
  if (attribute == kParent && node.parent) {
    return Value(element(*node.parent));
  }
  if (attribute == kChildren && !node.children.empty()) {
    return Value(elements(node.children));
  }
  const auto* application = applicationOf(node.pid);
  if (attribute == kWindows && application && &nodes_[application->element] == &node) {
    std::vector<NodeId> windows;
    std::ranges::copy_if(node.children, std::back_inserter(windows), [this](NodeId child) { return isWindow(child); });
    return Value(elements(windows));
  }
  return std::nullopt;
}

bool ScriptedDesktop::isWindow(NodeId node) const {
  const auto role = valueOf(nodes_[node], "AXRole");
  const auto* text = role ? std::get_if<std::string>(&*role) : nullptr;
  return text && *text == "AXWindow";
}

Array ScriptedDesktop::elements(const std::vector<NodeId>& nodes) const {
  Array all;
  for (const NodeId node : nodes) {
    all.emplace_back(element(node));
  }
  return all;
}

std::vector<std::string> ScriptedDesktop::attributeNames(NodeId id) const {
  const std::lock_guard lock(mutex_);
  const Node& node = nodes_.at(id);
  std::vector<std::string> names;
  for (const auto& [name, value] : node.attributes) {
    if (value) {
      names.push_back(name);
    }
  }
  for (const auto& name : {kParent, kChildren, kWindows}) {
    if (findByName(node.attributes, name) == node.attributes.end() && derivedValueOf(node, name)) {
      names.emplace_back(name);
    }
  }
  return names;
}

std::vector<std::string> ScriptedDesktop::actions(NodeId node) const {
  const std::lock_guard lock(mutex_);
  return nodes_.at(node).actions;
}

Result<bool> ScriptedDesktop::isSettable(NodeId id, const std::string& attribute) const {
  const std::lock_guard lock(mutex_);
  const Node& node = nodes_.at(id);
  if (!valueOf(node, attribute)) {
    return ResultCode::attributeUnsupported;
  }
  return findByName(node.attributes, attribute) != node.attributes.end();
}

Result<NodeId> ScriptedDesktop::hitTest(NodeId asked, float x, float y) const {
  const std::lock_guard lock(mutex_);
  if (asked == kSystemWide) {
    for (const auto& hit : hits_) {
      if (static_cast<float>(hit.point.x) != x || static_cast<float>(hit.point.y) != y) {
        continue;
      }
      if (const auto* node = std::get_if<NodeId>(&hit.answer)) {
        return *node;
      }
      return std::get<ResultCode>(hit.answer);
    }
  }
  for (auto application = applications_.rbegin(); application != applications_.rend(); ++application) {
    if (application->info.terminated || nodes_[application->element].removed) {
      continue;
    }
    if (asked != kSystemWide && nodes_.at(asked).pid != application->info.pid) {
      continue;
    }
    if (const auto found = deepestAt(application->element, {x, y})) {
      return *found;
    }
  }
  return ResultCode::noValue;
}

std::optional<NodeId> ScriptedDesktop::deepestAt(NodeId id, CGPoint point) const {
  const Node& node = nodes_[id];
  const auto frame = frameOf(node);
  if (frame && !frame->contains(point)) {
    return std::nullopt;
  }
  for (auto child = node.children.rbegin(); child != node.children.rend(); ++child) {
    if (const auto found = deepestAt(*child, point)) {
      return found;
    }
  }
  return frame ? std::optional(id) : std::nullopt;
}

std::optional<CGRect> ScriptedDesktop::frameOf(const Node& node) const {
  const auto position = valueOf(node, "AXPosition");
  const auto size = valueOf(node, "AXSize");
  const auto* origin = position ? std::get_if<CGPoint>(&*position) : nullptr;
  const auto* extent = size ? std::get_if<CGSize>(&*size) : nullptr;
  if (!origin || !extent) {
    return std::nullopt;
  }
  return CGRect{*origin, *extent};
}

}  // namespace zqlogging::port
