#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "linux/atspi/AtspiBus.h"
#include "linux/atspi/AtspiFact.h"

namespace zqlogging {

class AtspiApplications;
struct RoleRow;

/// A burst of reads about one event, on one thread. Questions are collected and sent together; each answer is kept, and
/// leads to the next questions according to what is wanted of its object. An application that has let a wait run out
/// is not asked again.
class AtspiReader {
 public:
  /// What will be wanted of an object. The facts behind it are asked along with whatever is waited for anyway.
  enum Wants : unsigned {
    wantsName = 1,      ///< what names it
    wantsStep = 2,      ///< its step in a path but for its value, all of those of its ancestors, the window's frame
    wantsSiblings = 4,  ///< with wantsStep: the list of its parent's children
    wantsChildren = 8,  ///< the list of its children
    wantsChildCount = 16,
    wantsFrame = 32,  ///< its frame, and the address that it leads to
    wantsValue = 64,
  };

  AtspiReader(AtspiBus& bus, AtspiApplications& applications);
  AtspiReader(const AtspiReader&) = delete;
  AtspiReader& operator=(const AtspiReader&) = delete;

  [[nodiscard]] std::uint32_t busNumber() const { return link_ ? link_->busNumber() : 0; }

  /// The answer, asked for if it is not known yet; `seconds` is the messaging time-out of each wait.
  const AtspiAnswer& read(const AtspiObject& object, Fact fact, double seconds);
  /// The answer when it is known.
  const AtspiAnswer* known(const AtspiObject& object, Fact fact);
  /// The children at `index` and after, at most `most`. Long lists are never fetched as a whole.
  AtspiAnswer readChildren(const AtspiObject& object, int index, int most, double seconds);

  void want(const AtspiObject& object, unsigned wants);
  /// Whether anything has been wanted of the object.
  bool isWanted(const AtspiObject& object);
  /// What the answer was last time: an object's parent, an application's windows, its window at the point. Most of it
  /// stays as it is from one event to the next. What is expected is asked about before the answer is there, which
  /// spares waits; it is believed only when the answer says the same.
  std::vector<AtspiObject> expected(const AtspiObject& object, Fact fact) const;
  void expect(const AtspiObject& object, Fact fact, const AtspiAnswer& answer);
  /// Whether the object has turned out to be another one's parent.
  bool isKnownParent(const AtspiObject& object);
  /// Puts a question among those that the next wait sends.
  void ask(const AtspiObject& object, Fact fact);
  /// Like `ask` for facts of the component interface, of an object that is known to have it.
  void askComponent(const AtspiObject& object, Fact fact);
  /// Sends the questions and waits for the answers; false when there was nothing to ask.
  bool wait(double seconds);

  /// The point that Fact::atPoint asks about.
  void setPoint(int x, int y);

  /// The connection to the bus, for calls that are no questions; null without a bus.
  AtspiLink* link() { return link_.get(); }

 private:
  struct Entry {
    std::array<std::optional<AtspiAnswer>, kFactCount> answers;
    std::map<int, std::optional<AtspiAnswer>> childAt;
    std::bitset<kFactCount> asked;     ///< sent or to be sent
    std::bitset<kFactCount> deferred;  ///< asked for, but other facts decide whether and how
    unsigned wants = 0;
    bool hasComponent = false;
    bool isParent = false;
    bool isExpectedParent = false;
  };
  struct Question {
    AtspiObject object;
    Fact fact;
    AtspiArguments arguments;
  };
  struct Call {
    AtspiReader* reader = nullptr;
    Question question;
    SdBusSlotPtr slot;
    bool answered = false;
  };

  static int receive(sd_bus_message* reply, void* call, sd_bus_error* error);
  std::optional<AtspiAnswer> answerWithoutAsking(const AtspiObject& object, Fact fact);
  bool askPreconditions(const AtspiObject& object, Entry& entry, Fact fact, AtspiArguments& arguments);
  bool askChildAt(const AtspiObject& object, Entry& entry, int index);
  void settle(const AtspiObject& object);
  void plan(const AtspiObject& object, Entry& entry);
  void planOtherNames(const AtspiObject& object, Entry& entry, const RoleRow& row);
  void planValue(const AtspiObject& object, Entry& entry, const RoleRow& row);
  void keep(const Question& question, AtspiAnswer answer);
  bool send(Call& call);
  void giveUp(std::list<Call>& calls);

  AtspiApplications& applications_;
  AtspiBus::LinkPtr link_;
  std::unordered_map<AtspiObject, Entry, AtspiObjectHash> entries_;
  std::vector<Question> questions_;
  std::vector<AtspiObject> unsettled_;
  std::unordered_set<std::string> givenUp_;
  std::size_t unanswered_ = 0;
  std::uint64_t waited_ = 0;  ///< microseconds
  std::uint64_t lost_ = 0;    ///< of these, in waits that ran out
  int x_ = 0, y_ = 0;
};

}  // namespace zqlogging
