#include "privacy/Stage.h"

namespace zqlogging::test {
namespace {

using testing::HasSubstr;
using testing::Not;

struct Place {
  const char* name;
  /// Puts the canary into a field, which it answers, and something to touch at kInFrame, which it answers second.
  std::function<std::pair<NodeId, NodeId>(Stage&)> build;
};

NodeId addField(Stage& stage, NodeId parent, std::optional<CGRect> frame = kFrame) {
  const NodeId field = stage.add(parent, "field", "AXTextField", "", frame);
  stage.set(field, "AXValue", kCanary);
  return field;
}

const Place kPlaces[] = {
    {"the field itself",
     [](Stage& s) {
       const NodeId field = addField(s, s.group);
       return std::pair(field, field);
     }},
    {"a text inside by its title",
     [](Stage& s) {
       const NodeId field = addField(s, s.group);
       return std::pair(field, s.add(field, "inner", "AXStaticText", kCanary, kFrame));
     }},
    {"a group inside by its description, below another",
     [](Stage& s) {
       const NodeId field = addField(s, s.group);
       const NodeId middle = s.add(field, "middle", "AXGroup", kCanary, kFrame);
       const NodeId inner = s.add(middle, "inner", "AXGroup", "", kFrame);
       s.set(inner, "AXDescription", kCanary);
       return std::pair(field, inner);
     }},
    {"the value of what holds the field",
     [](Stage& s) {
       const NodeId box = s.add(s.group, "box", "AXComboBox", "", kFrame);
       s.set(box, "AXValue", kCanary);
       return std::pair(addField(s, box, std::nullopt), box);
     }},
    {"the value of what holds the field far below, seen from it",
     [](Stage& s) {
       const NodeId box = s.add(s.group, "box", "AXComboBox", "", kFrame);
       s.set(box, "AXValue", kCanary);
       NodeId deep = box;
       for (int i = 0; i < 8; ++i) {
         deep = s.add(deep, "", "AXGroup", "", kFrame);
       }
       const NodeId field = addField(s, deep);
       return std::pair(field, field);
     }},
    {"a sibling",
     [](Stage& s) {
       const NodeId field = addField(s, s.group, std::nullopt);
       return std::pair(field, s.add(s.group, "beside", "AXButton", "beside", kFrame));
     }},
    {"a child",
     [](Stage& s) {
       const NodeId box = s.add(s.group, "box", "AXGroup", "box", kFrame);
       return std::pair(addField(s, box, std::nullopt), box);
     }},
    {"a title element",
     [](Stage& s) {
       const NodeId field = addField(s, s.window, std::nullopt);
       const NodeId labelled = s.add(s.group, "labelled", "AXButton", "", kFrame);
       s.set(labelled, "AXTitleUIElement", s.platform->desktop().element(field));
       return std::pair(field, labelled);
     }},
    {"what a search of the window finds",
     [](Stage& s) {
       const NodeId field = addField(s, s.group);
       s.platform->desktop().setHits({{kInFrame, s.window}});
       return std::pair(field, field);
     }},
};

const Failing kFailings[] = {
    {"it says that it is secret", [](Stage& s, NodeId f) { s.set(f, "AXSubrole", "AXSecureTextField"); }},
    {"secret, of no role",
     [](Stage& s, NodeId f) {
       s.set(f, "AXSubrole", "AXSecureTextField");
       s.set(f, "AXRole", std::nullopt);
     }},
    {"it does not answer", [](Stage& s, NodeId f) { fail(s, f, "AXSubrole", ResultCode::cannotComplete); }},
    {"it fails", [](Stage& s, NodeId f) { fail(s, f, "AXSubrole", ResultCode::failure); }},
    {"it is closed", [](Stage& s, NodeId f) { fail(s, f, "AXSubrole", ResultCode::invalidUIElement); }},
    {"an unheard of code", [](Stage& s, NodeId f) { fail(s, f, "AXSubrole", static_cast<ResultCode>(-1)); }},
    {"a number", [](Stage& s, NodeId f) { s.set(f, "AXSubrole", std::int64_t{7}); }},
    {"nothing boxed", [](Stage& s, NodeId f) { s.set(f, "AXSubrole", port::Null{}); }},
    {"no text", [](Stage& s, NodeId f) { s.set(f, "AXSubrole", ""); }},
    {"it raises", [](Stage& s, NodeId f) { s.platform->desktop().raiseOnRead(f, "AXSubrole", "gone mad"); }},
    {"no role can be had", [](Stage& s, NodeId f) { fail(s, f, "AXRole", ResultCode::cannotComplete); }},
};

TEST(Canary, ASecretIsNowhereWhereverItLiesHoweverItFailsAndWhateverHappens) {
  int combinations = 0;
  for (const Place& place : kPlaces) {
    for (const Failing& failing : kFailings) {
      for (const Event& event : kEvents) {
        Stage stage;
        const auto [field, touched] = place.build(stage);
        failing.apply(stage, field);
        stage.start();
        event.happen(stage, touched);
        EXPECT_THAT(stage.everything(), Not(HasSubstr(kCanary)))
            << place.name << ", " << failing.name << ", " << event.name;
        ++combinations;
      }
    }
  }
  EXPECT_GE(combinations, 400);
}

TEST(Canary, TypedIntoASecretItIsNowhere) {
  for (const Place& place : kPlaces) {
    for (const Failing& failing : kFailings) {
      Stage stage;
      const auto [field, touched] = place.build(stage);
      failing.apply(stage, field);
      stage.start();
      focus(stage, field);
      stage.external(10, {}, kCanary);
      EXPECT_THAT(stage.everything(), Not(HasSubstr(kCanary))) << place.name << ", " << failing.name;
      EXPECT_THAT(stage.leaving + stage.delegate->chunks.back().text, HasSubstr("KeyPressed"));
    }
  }
}

TEST(Canary, AnOrdinaryFieldKeepsItsContent) {
  for (const Place& place : kPlaces) {
    Stage stage;
    place.build(stage);
    stage.start();
    click(stage, 1);
    EXPECT_THAT(stage.everything(), HasSubstr(kCanary)) << place.name;
  }
  for (const Event& event : kEvents) {
    Stage stage;
    const auto [field, touched] = kPlaces[0].build(stage);
    stage.set(stage.group, "AXDescription", kCanary);  // a main window is recorded with the names of its children
    stage.start();
    event.happen(stage, touched);
    EXPECT_THAT(stage.everything(), HasSubstr(kCanary)) << event.name;
  }
  Stage stage;
  const auto [field, touched] = kPlaces[0].build(stage);
  stage.set(field, "AXValue", "shown");
  stage.start();
  focus(stage, field);
  stage.external(10, {}, kCanary);
  EXPECT_THAT(stage.everything(), HasSubstr(kCanary));
}

TEST(Canary, ReadInAPictureItIsNowhere) {
  for (const Place& place : kPlaces) {
    for (const Failing& failing : kFailings) {
      Stage stage;
      const auto [field, touched] = place.build(stage);
      stage.set(field, "AXValue", "shown");
      stage.set(field, "AXPosition", kFrame.origin);
      stage.set(field, "AXSize", kFrame.size);
      failing.apply(stage, field);
      stage.start();
      readInPictures(stage, "canary in the picture");
      click(stage, 1);
      EXPECT_THAT(stage.everything(), Not(HasSubstr("canary in"))) << place.name << ", " << failing.name;
    }
  }
}

}  // namespace
}  // namespace zqlogging::test
