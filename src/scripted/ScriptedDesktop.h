#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/Accessibility.h"
#include "platform/Workspace.h"

namespace zqlogging::port {

class ScriptedPlatform;

/// Which element of a scripted desktop; numbers are never used again.
using NodeId = std::size_t;

/// What is changed of an element. Without a value an attribute is taken away, also one that the tree would supply;
/// without a code reading the attribute no longer fails.
struct ElementEdit {
  std::vector<std::pair<std::string, std::optional<Value>>> attributes;
  std::vector<std::pair<std::string, std::optional<ResultCode>>> errors;
};

/// What a hit test answers at exactly one point: an element, or the code with which it fails.
struct ScriptedHit {
  CGPoint point;
  std::variant<NodeId, ResultCode> answer = ResultCode::noValue;
};

/// The things on a scripted desktop: applications, their element trees, screens, and what is wrong with them.
/// Any thread. Knows nothing of time-outs and observers; those are the accessibility service's.
class ScriptedDesktop {
 public:
  explicit ScriptedDesktop(ScriptedPlatform& platform);

  /// The element that stands for the whole desktop.
  static constexpr NodeId kSystemWide = 0;

  /// How an element takes a request.
  enum class Reach { answers, hangs, gone };

  /// Adds an application with its element; the pid must be new. An empty id stands for an element without one.
  NodeId addApplication(const RunningApplication& application, const std::string& elementId, bool hung = false);
  /// Adds an element after the parent's other children. Its AXParent and the parent's AXChildren follow from that.
  NodeId addElement(NodeId parent, const std::string& id, const ElementEdit& content = {});

  void edit(NodeId node, const ElementEdit& edit);
  void setActions(NodeId node, std::vector<std::string> actions);
  /// Takes the element and everything below it off the desktop.
  void remove(NodeId node);
  /// Reading the attribute throws a PlatformException from now on.
  void raiseOnRead(NodeId node, const std::string& attribute, const std::string& reason);
  void terminate(std::int32_t pid);
  void setHits(std::vector<ScriptedHit> hits);
  void setScreens(std::vector<CGRect> screens);

  [[nodiscard]] std::optional<NodeId> find(const std::string& id) const;
  /// The text id of an element of this desktop, where it has one.
  [[nodiscard]] std::optional<std::string> idOf(const ElementRef& element) const;
  [[nodiscard]] ElementRef element(NodeId node) const;
  /// The element of a process; one that is gone when there is no such application.
  [[nodiscard]] NodeId applicationElement(std::int32_t pid);
  [[nodiscard]] std::int32_t pidOf(NodeId node) const;
  [[nodiscard]] Reach reach(NodeId node) const;

  /// In the order in which they were added, without those that have ended.
  [[nodiscard]] std::vector<RunningApplication> runningApplications() const;
  /// Also of one that has ended.
  [[nodiscard]] std::optional<RunningApplication> application(std::int32_t pid) const;
  [[nodiscard]] std::vector<CGRect> screens() const;

  /// Throws PlatformException where that was asked for.
  [[nodiscard]] Result<Value> read(NodeId node, const std::string& attribute) const;
  [[nodiscard]] std::vector<std::string> attributeNames(NodeId node) const;
  [[nodiscard]] std::vector<std::string> actions(NodeId node) const;
  /// Attributes that the tree supplies cannot be written.
  [[nodiscard]] Result<bool> isSettable(NodeId node, const std::string& attribute) const;

  /// What the element's hit test answers: the whole desktop's for `systemWide`, else that of its application alone.
  [[nodiscard]] Result<NodeId> hitTest(NodeId asked, float x, float y) const;

 private:
  struct Node {
    std::string id;
    std::int32_t pid = 0;
    std::optional<NodeId> parent;
    std::vector<NodeId> children;
    std::vector<std::pair<std::string, std::optional<Value>>> attributes;  // absent value: taken away
    std::map<std::string, ResultCode, std::less<>> errors;
    std::map<std::string, std::string, std::less<>> raises;
    std::vector<std::string> actions;
    bool removed = false;
  };
  struct ScriptedApplication {
    RunningApplication info;
    bool hung = false;
    NodeId element = 0;
  };

  // All of these with the mutex held.
  NodeId addNode(const std::string& id, std::int32_t pid, std::optional<NodeId> parent);
  void applyEdit(Node& node, const ElementEdit& edit);
  [[nodiscard]] const ScriptedApplication* applicationOf(std::int32_t pid) const;
  [[nodiscard]] std::optional<Value> valueOf(const Node& node, std::string_view attribute) const;
  [[nodiscard]] std::optional<Value> derivedValueOf(const Node& node, std::string_view attribute) const;
  [[nodiscard]] bool isWindow(NodeId node) const;
  [[nodiscard]] Array elements(const std::vector<NodeId>& nodes) const;
  [[nodiscard]] std::optional<CGRect> frameOf(const Node& node) const;
  [[nodiscard]] std::optional<NodeId> deepestAt(NodeId node, CGPoint point) const;

  ScriptedPlatform& platform_;
  mutable std::mutex mutex_;
  std::vector<Node> nodes_;
  std::map<std::string, NodeId, std::less<>> ids_;
  std::vector<ScriptedApplication> applications_;
  std::map<std::int32_t, NodeId> strangers_;  // elements asked for of processes that are not here
  std::vector<ScriptedHit> hits_;
  std::vector<CGRect> screens_ = {{{0, 0}, {1920, 1080}}};
};

}  // namespace zqlogging::port
