#include <gmock/gmock.h>

#include "diagnostics/SessionFindings.h"

namespace zqlogging::test {
namespace {

using port::Answer;
using port::SeenApplication;
using port::SessionFacts;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;
using Gravity = Finding::Gravity;
using Heeds = SeenApplication::Heeds;
using Presence = SeenApplication::Presence;

SessionFacts goodSession() {
  SessionFacts facts;
  facts.kind = SessionFacts::Kind::x11;
  facts.display = ":0";
  facts.displayServer = facts.sessionBus = facts.accessibilityBus = facts.registry = Answer::inTime;
  facts.listenerAnnounced = true;
  facts.cachesFolder = "/home/ada/.cache/zqlogging";
  facts.log = SessionFacts::Log::structured;
  return facts;
}

std::vector<std::string> codes(const std::vector<Finding>& findings) {
  std::vector<std::string> texts;
  for (const Finding& finding : findings) {
    texts.push_back(finding.code);
  }
  return texts;
}

TEST(FindingsTest, AGoodSessionIsFineInEveryPart) {
  const auto findings = findingsOf(goodSession());
  EXPECT_THAT(codes(findings),
              ElementsAre("session-x11", "display-answers", "session-bus-answers", "accessibility-bus-answers",
                          "registry-answers", "listener-announced", "cache-usable", "log-structured", "scale-one"));
  for (const Finding& finding : findings) {
    EXPECT_EQ(finding.gravity, Gravity::fine) << finding.code;
    EXPECT_EQ(finding.remedy, "") << finding.code;
    EXPECT_FALSE(finding.meaning.empty()) << finding.code;
  }
  EXPECT_EQ(warningOf(findings), "");
}

TEST(FindingsTest, EachFaultHasItsCodeAndGravityAndARemedy) {
  struct Case {
    const char* code;
    Gravity gravity;
    bool repairable;
    void (*spoil)(SessionFacts&);
    const char* leftOut;  // what can then not be looked at
  };
  const Case cases[] = {
      {"session-wayland", Gravity::poor, false, [](SessionFacts& f) { f.kind = SessionFacts::Kind::wayland; }, ""},
      {"session-none", Gravity::fatal, false, [](SessionFacts& f) { f.kind = SessionFacts::Kind::none; },
       "display-answers"},
      {"display-silent", Gravity::fatal, false, [](SessionFacts& f) { f.displayServer = Answer::late; }, "scale-one"},
      {"display-missing", Gravity::fatal, false, [](SessionFacts& f) { f.displayServer = Answer::none; }, "scale-one"},
      {"session-bus-silent", Gravity::fatal, false, [](SessionFacts& f) { f.sessionBus = Answer::late; },
       "accessibility-bus-answers"},
      {"session-bus-missing", Gravity::fatal, false, [](SessionFacts& f) { f.sessionBus = Answer::none; },
       "listener-announced"},
      {"accessibility-bus-silent", Gravity::fatal, false, [](SessionFacts& f) { f.accessibilityBus = Answer::late; },
       "registry-answers"},
      {"accessibility-bus-missing", Gravity::fatal, false, [](SessionFacts& f) { f.accessibilityBus = Answer::none; },
       "registry-answers"},
      {"registry-silent", Gravity::fatal, false, [](SessionFacts& f) { f.registry = Answer::late; }, ""},
      {"registry-missing", Gravity::fatal, false, [](SessionFacts& f) { f.registry = Answer::none; }, ""},
      {"listener-not-announced", Gravity::poor, true, [](SessionFacts& f) { f.listenerAnnounced = false; }, ""},
      {"cache-unusable", Gravity::poor, true, [](SessionFacts& f) { f.cachesProblem = "Permission denied"; }, ""},
      {"log-missing", Gravity::note, false, [](SessionFacts& f) { f.log = SessionFacts::Log::none; }, ""},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.code);
    SessionFacts facts = goodSession();
    each.spoil(facts);
    const auto findings = findingsOf(facts);
    EXPECT_THAT(codes(findings), Not(Contains(std::string(each.leftOut))));
    int faults = 0;
    for (const Finding& finding : findings) {
      if (finding.gravity == Gravity::fine) {
        continue;
      }
      ++faults;
      EXPECT_EQ(finding.code, each.code);
      EXPECT_EQ(finding.gravity, each.gravity);
      EXPECT_EQ(finding.repairable, each.repairable);
      EXPECT_NE(finding.remedy, "");
    }
    EXPECT_EQ(faults, 1) << "what follows from a fault is not another one";
    EXPECT_EQ(warningOf(findings).empty(), each.gravity < Gravity::poor);
  }
}

TEST(FindingsTest, AnApplicationIsNamedWhenItTellsTooLittle) {
  struct Case {
    Presence presence;
    Heeds heeds;
    bool announced;
    const char* code;  // empty: there is nothing to say
    Gravity gravity;
    const char* remedy;
    bool restart;
  };
  const Case cases[] = {
      {Presence::complete, Heeds::whenTold, true, "", Gravity::fine, "", false},
      {Presence::missing, Heeds::whenTold, false, "application-missing", Gravity::poor, "when programs are told", true},
      {Presence::missing, Heeds::whenTold, true, "application-missing", Gravity::poor, "Start it again", true},
      {Presence::missing, Heeds::whenStarted, false, "application-missing", Gravity::poor, "then start it again", true},
      {Presence::missing, Heeds::whenStarted, true, "application-missing", Gravity::poor, "Start it again", true},
      {Presence::missing, Heeds::never, true, "application-missing", Gravity::note, "", false},
      {Presence::missing, Heeds::unknown, true, "application-missing", Gravity::poor, "has no accessibility", false},
      {Presence::empty, Heeds::whenStarted, true, "application-empty", Gravity::poor, "first question", false},
      {Presence::empty, Heeds::unknown, true, "application-empty", Gravity::poor, "draws all by itself", false},
      {Presence::silent, Heeds::whenTold, true, "application-silent", Gravity::poor, "answers again", false},
  };
  for (const Case& each : cases) {
    SessionFacts facts = goodSession();
    facts.listenerAnnounced = each.announced;
    facts.applications = {{4711, "Browser", "Chromium", each.presence, each.heeds}};
    const auto findings = findingsOf(facts);
    SCOPED_TRACE(::testing::PrintToString(codes(findings)) + each.remedy);
    std::vector<Finding> about;
    for (const Finding& finding : findings) {
      if (finding.subject == "Browser (Chromium, process 4711)") {
        about.push_back(finding);
      }
    }
    EXPECT_EQ(programsToRestart(facts),
              each.restart ? std::vector<std::string>{"Browser (process 4711)"} : std::vector<std::string>());
    if (*each.code == '\0') {
      EXPECT_THAT(about, IsEmpty());
      continue;
    }
    ASSERT_EQ(about.size(), 1U);
    EXPECT_EQ(about.front().code, each.code);
    EXPECT_EQ(about.front().gravity, each.gravity);
    EXPECT_THAT(about.front().remedy, HasSubstr(each.remedy));
  }
}

TEST(FindingsTest, TheWarningTellsTheWorstFirstAndCountsTheRest) {
  SessionFacts facts = goodSession();
  facts.listenerAnnounced = false;
  facts.applications = {{7, "Editor", "Qt 5", Presence::missing, Heeds::whenTold},
                        {8, "Terminal", "X Toolkit", Presence::missing, Heeds::never}};
  EXPECT_THAT(warningOf(findingsOf(facts)),
              StartsWith("ZQLogging: some records will be poor. Programs are not told that somebody listens"));
  EXPECT_THAT(warningOf(findingsOf(facts)), HasSubstr(" And 1 more."));
  facts.registry = Answer::late;
  EXPECT_THAT(warningOf(findingsOf(facts)),
              StartsWith("ZQLogging: nothing can be recorded here. The registry of accessibility does not answer"));
}

TEST(FindingsTest, AScaledDisplayIsTold) {
  SessionFacts facts = goodSession();
  facts.scale = 1.5;
  const Finding last = findingsOf(facts).back();
  EXPECT_EQ(last.code, "scale-other");
  EXPECT_EQ(last.subject, "1.5");
  EXPECT_EQ(last.gravity, Gravity::note);
}

}  // namespace
}  // namespace zqlogging::test
