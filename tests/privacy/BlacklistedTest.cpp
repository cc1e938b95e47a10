#include "privacy/Stage.h"

namespace zqlogging::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kListed = "https://www.bank.example/";
constexpr const char* kOther = "https://news.example/";

NodeId addPage(Stage& stage, NodeId parent, const char* id, const char* address) {
  const NodeId page = stage.add(parent, id, "AXWebArea", kCanary, kFrame);
  stage.set(page, "AXURL", port::Url{address});
  return page;
}

NodeId addLink(Stage& stage, NodeId parent) { return stage.add(parent, "link", "AXLink", kCanary, kFrame); }

NodeId addGroups(Stage& stage, NodeId parent, int count) {
  NodeId deepest = parent;
  for (int i = 0; i < count; ++i) {
    deepest = stage.add(deepest, "", "AXGroup", "", kFrame);
  }
  return deepest;
}

struct PagePlace {
  const char* name;
  /// Answers the blacklisted page and what is touched, at kInFrame.
  std::function<std::pair<NodeId, NodeId>(Stage&)> build;
};

const PagePlace kPages[] = {
    {"a link on the page",
     [](Stage& s) {
       const NodeId page = addPage(s, s.group, "page", kListed);
       return std::pair(page, addLink(s, page));
     }},
    {"the page itself",
     [](Stage& s) {
       const NodeId page = addPage(s, s.group, "page", kListed);
       return std::pair(page, page);
     }},
    {"a frame in another page",
     [](Stage& s) {
       const NodeId page = addPage(s, addPage(s, s.group, "outer", kOther), "page", kListed);
       return std::pair(page, addLink(s, page));
     }},
    {"a frame of another page in it",
     [](Stage& s) {
       const NodeId page = addPage(s, s.group, "page", kListed);
       return std::pair(page, addLink(s, addPage(s, page, "inner", kOther)));
     }},
    {"thirty levels up",
     [](Stage& s) {
       const NodeId page = addPage(s, s.group, "page", kListed);
       return std::pair(page, addLink(s, addGroups(s, page, 30)));
     }},
    {"found by a search of the window",
     [](Stage& s) {
       const NodeId page = addPage(s, s.group, "page", kListed);
       s.platform->desktop().setHits({{kInFrame, s.window}});
       return std::pair(page, addLink(s, page));
     }},
};

const Event kPointerAndFocus[] = {kEvents[0], kEvents[1], kEvents[2], kEvents[3], kEvents[4], kEvents[5]};

TEST(Blacklisted, APageIsNotRecordedWhereverItLies) {
  for (const PagePlace& place : kPages) {
    for (const Event& event : kPointerAndFocus) {
      Stage stage({"bank.example"});
      const auto [page, touched] = place.build(stage);
      stage.start();
      readInPictures(stage, kCanary.c_str());
      event.happen(stage, touched);
      EXPECT_THAT(stage.everything(), Not(HasSubstr(kCanary))) << place.name << ", " << event.name;
      EXPECT_THAT(stage.toldBlackListed(), HasSubstr("bank.example")) << place.name << ", " << event.name;
    }
  }
}

const Failing kWaysUp[] = {
    {"the address does not answer", [](Stage& s, NodeId p) { fail(s, p, "AXURL", ResultCode::cannotComplete); }},
    {"the address fails", [](Stage& s, NodeId p) { fail(s, p, "AXURL", ResultCode::failure); }},
    {"the address is a text", [](Stage& s, NodeId p) { s.set(p, "AXURL", kListed); }},
    {"the address raises", [](Stage& s, NodeId p) { s.platform->desktop().raiseOnRead(p, "AXURL", "mad"); }},
    {"the parent does not answer", [](Stage& s, NodeId p) { fail(s, p, "AXParent", ResultCode::cannotComplete); }},
    {"the parent is closed", [](Stage& s, NodeId p) { fail(s, p, "AXParent", ResultCode::invalidUIElement); }},
    {"the parent is a text", [](Stage& s, NodeId p) { s.set(p, "AXParent", "window"); }},
    {"the parent raises", [](Stage& s, NodeId p) { s.platform->desktop().raiseOnRead(p, "AXParent", "mad"); }},
    {"its own parent", [](Stage& s, NodeId p) { s.set(p, "AXParent", s.platform->desktop().element(p)); }},
    {"a circle", [](Stage& s, NodeId p) { s.set(s.notes, "AXParent", s.platform->desktop().element(p)); }},
    {"the title does not answer", [](Stage& s, NodeId p) { fail(s, p, "AXTitle", ResultCode::cannotComplete); }},
    {"the title is a number", [](Stage& s, NodeId p) { s.set(p, "AXTitle", std::int64_t{7}); }},
    {"the role fails", [](Stage& s, NodeId p) { fail(s, p, "AXRole", ResultCode::failure); }},
};

TEST(Blacklisted, WhatCannotBeHadCountsAsBlacklisted) {
  for (const PagePlace& place : kPages) {
    for (const Failing& failing : kWaysUp) {
      for (const Event& event : kPointerAndFocus) {
        Stage stage({"bank.example"});
        const auto [page, touched] = place.build(stage);
        stage.set(page, "AXURL", port::Url{kOther});
        failing.apply(stage, page);
        stage.start();
        event.happen(stage, touched);
        EXPECT_THAT(stage.everything() + stage.toldBlackListed(), Not(HasSubstr(kCanary)))
            << place.name << ", " << failing.name << ", " << event.name;
        EXPECT_FALSE(stage.delegate->blackListed.empty()) << place.name << ", " << failing.name << ", " << event.name;
      }
    }
  }
}

TEST(Blacklisted, APageThatAnswersIsRecorded) {
  for (const char* address : {kOther, ""}) {
    for (const PagePlace& place : kPages) {
      Stage stage({"bank.example"});
      const auto [page, touched] = place.build(stage);
      stage.set(page, "AXURL", *address == '\0' ? std::nullopt : std::optional<port::Value>(port::Url{address}));
      stage.start();
      click(stage, 1);
      EXPECT_THAT(stage.everything(), HasSubstr(kCanary)) << place.name << ", " << address;
      EXPECT_THAT(stage.delegate->blackListed, IsEmpty()) << place.name << ", " << address;
    }
  }
}

TEST(Blacklisted, APageIsNotNamedWhereOthersAreListed) {
  Stage stage({"bank.example"});
  const NodeId page = addPage(stage, stage.group, "page", kListed);
  stage.set(page, "AXTitle", std::nullopt);
  stage.set(page, "AXHelp", kCanary);
  stage.add(stage.group, "beside", "AXButton", "beside", kFrame);
  stage.start();
  click(stage, 1);
  const std::string all = stage.everything();
  EXPECT_THAT(all, HasSubstr("{beside}"));
  EXPECT_THAT(all, Not(HasSubstr(kCanary)));
}

struct NamedProgram {
  const char* entry;
  port::RunningApplication running;
  const char* title;
  bool isListed = true;
};

const NamedProgram kPrograms[] = {
    {"Vault.app", {300, "org.example.x", "x", 0, false, {}}, "The VAULT"},
    {"vault", {300, "org.example.Vault", "x", 0, false, {}}, "x"},
    {"vault", {300, "org.example.x", "Vault (process 7)", 0, false, {}}, "x"},
    {"vault", {300, "org.example.x", "x", 0, false, "vault-gtk"}, "x"},
    {"ΝΟΜΟΣ", {300, "org.example.x", "x", 0, false, {}}, "νομοσ"},
    {"νομος", {300, "org.example.x", "x", 0, false, {}}, "ΝΟΜΟΣ 2"},
    {"STRASSE", {300, "org.example.x", "x", 0, false, {}}, "Straße"},
    {"İzle", {300, "org.example.x", "x", 0, false, {}}, "i̇zle"},
    {"vault", {300, "org.example.x", "x", 0, false, {}}, nullptr},
    {"vault", {300, "org.example.x", "x", 0, false, {}}, "Volt", false},
};

TEST(Blacklisted, AProgramGoesByEveryNameThatItHas) {
  for (const NamedProgram& program : kPrograms) {
    Stage stage({}, {program.entry});
    const NodeId application = stage.platform->desktop().addApplication(program.running, "listed");
    stage.set(application, "AXRole", "AXApplication");
    if (program.title == nullptr) {
      fail(stage, application, "AXTitle", ResultCode::cannotComplete);
    } else {
      stage.set(application, "AXTitle", program.title);
    }
    stage.add(stage.add(application, "w", "AXWindow", "", kFrame), "b", "AXButton", kCanary, kFrame);
    stage.start();
    click(stage, 1);
    stage.activate(300);
    const std::string all = stage.everything();
    if (program.isListed) {
      EXPECT_THAT(all, Not(HasSubstr(kCanary))) << program.entry;
      EXPECT_EQ(stage.delegate->blackListed.size(), 2U) << program.entry;
    } else {
      EXPECT_THAT(all, HasSubstr(kCanary));
    }
  }
}

TEST(Blacklisted, KeysHaveNoCharactersWhereTheyMayNotBelong) {
  const std::function<void(Stage&)> comingInFront[] = {
      [](Stage& s) {  // a program that is blacklisted
        s.addApplication(200, "Vault");
        s.activate(200);
      },
      [](Stage& s) {  // another program, which has said nothing of its focus
        const NodeId other = s.addApplication(201, "Terminal");
        s.set(s.add(other, "shell", "AXWindow", "Shell"), "AXMain", true);
        s.activate(201);
      },
      [](Stage& s) {  // nobody knows who
        s.platform->scriptedWorkspace().post({port::NotificationName::didActivateApplication, std::nullopt});
      },
      [](Stage& s) { s.set(s.group, "AXTitle", "vault"); },  // a path that is listed
      [](Stage& s) { fail(s, s.button, "AXParent", ResultCode::cannotComplete); },
      [](Stage& s) { s.platform->desktop().terminate(100); }};
  int number = 0;
  for (const auto& come : comingInFront) {
    Stage stage({}, {"vault"});
    stage.set(stage.button, "AXTitle", "previous");
    stage.start();
    focus(stage, stage.button);
    come(stage);
    stage.external(10, {}, kCanary);
    const std::string key = stage.inspect().records().back();
    EXPECT_THAT(key, HasSubstr(R"("eventType":"KeyPressed","character":"")")) << number;
    if (number < 3) {
      EXPECT_THAT(key, Not(HasSubstr("previous"))) << number;
    }
    if (number == 1) {
      EXPECT_THAT(key, HasSubstr(R"("applicationName":"Terminal")"));
      EXPECT_THAT(key, HasSubstr(R"("windowName":"Shell")"));
    } else if (number == 0) {
      EXPECT_THAT(key, Not(HasSubstr("Vault")));
    }
    EXPECT_THAT(stage.everything(), Not(HasSubstr(kCanary))) << number;
    ++number;
  }
}

TEST(Blacklisted, TitlesThatCarryAPageInFrontAreWithheld) {
  const Event others[] = {kEvents[0], kEvents[4], kEvents[5], kEvents[6], kEvents[7]};
  for (const char* touchedRole : {"AXButton", "AXRadioButton", "AXTextField"}) {
    for (const Event& event : others) {
      for (const bool isListed : {true, false}) {
        Stage stage({"bank.example"});
        const NodeId frame = stage.add(stage.group, "frame", "AXGroup", "", CGRect{{300, 200}, {50, 50}});
        stage.set(stage.add(frame, "page", "AXWebArea", "My canary accounts", CGRect{{300, 200}, {50, 50}}), "AXURL",
                  port::Url{isListed ? kListed : kOther});
        if (touchedRole == std::string("AXRadioButton")) {  // the page itself has no title
          stage.set(*stage.platform->desktop().find("page"), "AXTitle", std::nullopt);
        }
        stage.set(stage.window, "AXTitle", "My canary accounts - Browser");
        const NodeId touched = stage.add(stage.group, "tab", touchedRole, "My canary acc", kFrame);
        stage.set(touched, "AXTitle", touchedRole == std::string("AXRadioButton") ? "My canary acc" : "other");
        stage.start();
        event.happen(stage, touched);
        const std::string all = stage.everything();
        EXPECT_THAT(all, HasSubstr("\"id\"")) << event.name << ", " << touchedRole;
        EXPECT_EQ(all.find(kCanary) == std::string::npos, isListed) << event.name << ", " << touchedRole;
      }
    }
  }
}

TEST(Blacklisted, NothingIsReadOfItsWindowInAPicture) {
  Stage stage({}, {"vault"});
  const NodeId vault = stage.addApplication(200, "Vault");
  const NodeId popup = stage.add(vault, "popup", "AXMenu", "", CGRect{{60, 90}, {200, 40}});
  stage.add(stage.group, "beside", "AXButton", "beside", kFrame);
  stage.platform->desktop().setHits({{kInFrame, *stage.platform->desktop().find("beside")}});
  stage.start();
  readInPictures(stage, kCanary.c_str());
  click(stage, 1);
  EXPECT_THAT(stage.delegate->clicks.back().rectangles, 1U) << "a picture, but nothing that was read";
  stage.set(popup, "AXPosition", CGPoint{600, 600});
  stage.advanceSecond();
  click(stage, 1);
  EXPECT_THAT(stage.inspect().records().back(), HasSubstr("(canary)"));
  fail(stage, popup, "AXPosition", ResultCode::cannotComplete);
  stage.advanceSecond();
  click(stage, 1);
  EXPECT_THAT(stage.inspect().records().back(), Not(HasSubstr("canary"))) << "nobody knows where it is";
}

}  // namespace
}  // namespace zqlogging::test
