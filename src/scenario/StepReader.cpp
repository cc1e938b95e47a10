#include "scenario/StepReader.h"

#include <algorithm>
#include <array>
#include <functional>
#include <limits>
#include <utility>

#include "scenario/DesktopReader.h"
#include "service/ServiceInspector.h"

namespace zqlogging {

using port::NotificationName;
using port::PrivateFolder;
using port::ScriptedDesktop;

namespace {

/// The value of a word in a table. Any other word is a fault of the scenario.
template <class T, std::size_t count>
T readWord(const JsonCursor& word, const std::array<std::pair<std::string_view, T>, count>& words) {
  const std::string text = word.string();
  const auto found = std::ranges::find(words, text, [](const auto& entry) { return entry.first; });
  if (found != words.end()) {
    return found->second;
  }
  std::string known;
  for (const auto& entry : words) {
    known += (known.empty() ? "" : ", ") + std::string(entry.first);
  }
  word.fail("unknown word \"" + text + "\"; known are " + known);
}

template <class T, class Read>
T readOr(const std::optional<JsonCursor>& value, T otherwise, const Read& read) {
  return value ? read(*value) : std::move(otherwise);
}

std::vector<std::string> readStrings(const std::optional<JsonCursor>& list) {
  return list ? list->strings() : std::vector<std::string>();
}

double readCoordinate(const JsonCursor& value) {
  if (!value.isString()) {
    return value.number();
  }
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  static constexpr std::array<std::pair<std::string_view, double>, 3> kWords = {
      {{"nan", std::numeric_limits<double>::quiet_NaN()}, {"inf", kInfinity}, {"-inf", -kInfinity}}};
  return readWord(value, kWords);
}

ScenarioStep readStart(JsonFields& fields, const ScriptedDesktop&) {
  return [session = fields.required("session").string(), urls = readStrings(fields.optional("urls")),
          processes = readStrings(fields.optional("processes"))](ScenarioRun& run) {
    run.output().line({{"start", run.service().start(session, urls, processes)}});
  };
}

ScenarioStep readStop(JsonFields&, const ScriptedDesktop&) { return &ScenarioRun::stop; }

ScenarioStep readPause(JsonFields&, const ScriptedDesktop&) {
  return [](ScenarioRun& run) { run.service().pause(); };
}

ScenarioStep readResume(JsonFields&, const ScriptedDesktop&) {
  return [](ScenarioRun& run) { run.service().resume(); };
}

ScenarioStep readClearLogs(JsonFields&, const ScriptedDesktop&) {
  return [](ScenarioRun& run) { run.service().clearLogs(); };
}

ScenarioStep readSet(JsonFields& fields, const ScriptedDesktop&) {
  using Flag = void (ZQLoggingervice::*)(bool);
  static constexpr std::array<std::pair<std::string_view, Flag>, 4> kFlags = {{
      {"ocrEnabled", &ZQLoggingervice::setOcrEnabled},
      {"includeSiblings", &ZQLoggingervice::setIncludeSiblings},
      {"iterateDOM", &ZQLoggingervice::setIterateDOM},
      {"debuLogging", &ZQLoggingervice::setDebuLogging},
  }};
  std::vector<ScenarioStep> writes;
  for (const auto& [name, set] : kFlags) {
    if (const auto flag = fields.optional(name)) {
      writes.emplace_back([set = set, value = flag->boolean()](ScenarioRun& run) { (run.service().*set)(value); });
    }
  }
  if (const auto size = fields.optional("ocrDetectionSize")) {
    const auto numbers = size->numbers(2);
    writes.emplace_back(
        [value = CGSize{numbers[0], numbers[1]}](ScenarioRun& run) { run.service().setOcrDetectionSize(value); });
  }
  if (const auto delegate = fields.optional("delegate")) {
    writes.emplace_back([present = delegate->boolean()](ScenarioRun& run) {
      run.service().setDelegate(present ? run.delegate() : nullptr);
    });
  }
  return [writes](ScenarioRun& run) {
    for (const auto& write : writes) {
      write(run);
    }
  };
}

using Process = void (ZQLoggingervice::*)(std::uint64_t, double, double, std::int64_t, const std::string&);

ScenarioStep readEvent(JsonFields& fields, Process process) {
  return
      [process, type = fields.required("type").unsignedInteger(), x = readCoordinate(fields.required("x")),
       y = readCoordinate(fields.required("y")),
       source = readOr<std::int64_t>(fields.optional("source"), 0, [](const auto& value) { return value.integer(); }),
       characters = readOr<std::string>(fields.optional("characters"), "", std::mem_fn(&JsonCursor::string))](
          ScenarioRun& run) { (run.service().*process)(type, x, y, source, characters); };
}

ScenarioStep readLocal(JsonFields& fields, const ScriptedDesktop&) {
  return readEvent(fields, &ZQLoggingervice::processLocalEvent);
}

ScenarioStep readExternal(JsonFields& fields, const ScriptedDesktop&) {
  return readEvent(fields, &ZQLoggingervice::processExternalEvent);
}

ScenarioStep readRemoteCommand(JsonFields& fields, const ScriptedDesktop&) {
  std::optional<std::string> details;
  if (const auto given = fields.optional("details"); given && !given->isNull()) {
    details = given->string();
  }
  return [cli = fields.required("cli").string(), role = fields.required("role").string(),
          command = fields.required("command").string(),
          details](ScenarioRun& run) { run.service().logRemoteCommand(cli, role, command, details); };
}

ScenarioStep readActivate(JsonFields& fields, const ScriptedDesktop& desktop) {
  const auto [kind, value] = fields.oneOf({"pid", "none"});
  if (kind == "none") {
    value.isTrue();
    return [](ScenarioRun& run) {
      run.platform().scriptedWorkspace().post({NotificationName::didActivateApplication, std::nullopt});
    };
  }
  return [pid = readPid(value, desktop)](ScenarioRun& run) {
    run.platform().scriptedWorkspace().post(
        {NotificationName::didActivateApplication, run.platform().desktop().application(pid)});
  };
}

ScenarioStep readNotify(JsonFields& fields, const ScriptedDesktop& desktop) {
  const auto node = readElementId(fields.required("element"), desktop);
  const auto pid = readOr(fields.optional("pid"), desktop.pidOf(node), std::mem_fn(&JsonCursor::int32));
  return [name = fields.required("name").string(), node, pid](ScenarioRun& run) {
    run.platform().scriptedAccessibility().notify(name, node, pid);
  };
}

ScenarioStep readAdvance(JsonFields& fields, const ScriptedDesktop&) {
  constexpr double kLongest = 1e9;  // some thirty years
  const auto seconds = fields.required("seconds");
  if (!(seconds.number() >= 0 && seconds.number() <= kLongest)) {
    seconds.fail("expected seconds from 0 to 1e9");
  }
  return [value = seconds.number()](ScenarioRun& run) { run.advance(value); };
}

ScenarioStep readAcknowledge(JsonFields& fields, const ScriptedDesktop&) {
  using Answer = ScenarioDelegate::Answer;
  static constexpr std::array<std::pair<std::string_view, Answer>, 1> kWords = {{{"never", Answer::never}}};
  const auto with = fields.required("with");
  const Answer answer = with.isString() ? readWord(with, kWords) : with.boolean() ? Answer::yes : Answer::no;
  return [answer](ScenarioRun& run) { run.delegate()->setAnswer(answer); };
}

ScenarioStep readChange(JsonFields& fields, const ScriptedDesktop& desktop) {
  const auto node = readElementId(fields.required("element"), desktop);
  const auto edit = readEdit(fields, desktop);
  const auto remove = fields.optional("remove");
  const bool removed = remove && remove->boolean();
  return [node, edit, removed](ScenarioRun& run) {
    run.platform().desktop().edit(node, edit);
    if (removed) {
      run.platform().desktop().remove(node);
    }
  };
}

ScenarioStep readHitsStep(JsonFields& fields, const ScriptedDesktop& desktop) {
  return
      [hits = readHits(fields.required("hits"), desktop)](ScenarioRun& run) { run.platform().desktop().setHits(hits); };
}

ScenarioStep readScreensStep(JsonFields& fields, const ScriptedDesktop&) {
  return [screens = readScreens(fields.required("screens"))](ScenarioRun& run) {
    run.platform().desktop().setScreens(screens);
  };
}

ScenarioStep readTrust(JsonFields& fields, const ScriptedDesktop&) {
  return [trusted = fields.required("trusted").boolean()](ScenarioRun& run) {
    run.platform().scriptedAccessibility().setTrusted(trusted);
  };
}

ScenarioStep readTerminate(JsonFields& fields, const ScriptedDesktop& desktop) {
  return
      [pid = readPid(fields.required("pid"), desktop)](ScenarioRun& run) { run.platform().desktop().terminate(pid); };
}

ScenarioStep readFrame(JsonFields& fields, const ScriptedDesktop&) {
  constexpr std::int64_t kLargest = 16384;
  const auto measure = [&](std::string_view key) {
    return static_cast<int>(fields.required(key).integer(-kLargest, kLargest));
  };
  return [width = measure("width"), height = measure("height")](ScenarioRun& run) {
    const std::size_t bytesPerRow = 4 * static_cast<std::size_t>(std::max(width, 0));
    const auto pixels =
        std::make_shared<std::vector<std::uint8_t>>(bytesPerRow * static_cast<std::size_t>(std::max(height, 0)));
    for (std::size_t alpha = 3; alpha < pixels->size(); alpha += 4) {
      (*pixels)[alpha] = 255;
    }
    run.service().setFrameForOcr({{pixels, pixels->data()}, width, height, bytesPerRow});
  };
}

ScenarioStep readRecognizer(JsonFields& fields, const ScriptedDesktop&) {
  port::TextAnswer answer;
  const auto [kind, value] = fields.oneOf({"results", "fail", "unreadable"});
  if (kind == "fail") {
    answer = port::TextRequestFailed{value.string()};
  } else if (kind == "unreadable") {
    value.isTrue();
    answer = port::TextResultsUnreadable{};
  } else {
    std::vector<port::TextObservation> observations;
    for (const auto& item : value.items()) {
      JsonFields result(item);
      auto& observation = observations.emplace_back();
      if (const auto text = result.optional("text")) {
        observation.candidates.push_back(text->string());
      }
      observation.boundingBox = readBox(result.required("box"));
      result.finish();
    }
    answer = std::move(observations);
  }
  return [answer](ScenarioRun& run) { run.platform().recognition().setAnswer(answer); };
}

ScenarioStep readRaise(JsonFields& fields, const ScriptedDesktop& desktop) {
  return [node = readElementId(fields.required("element"), desktop), attribute = fields.required("attribute").string(),
          reason = fields.required("reason").string()](ScenarioRun& run) {
    run.platform().desktop().raiseOnRead(node, attribute, reason);
  };
}

ScenarioStep readSystem(JsonFields& fields, const ScriptedDesktop&) {
  static constexpr std::array<std::pair<std::string_view, NotificationName>, 5> kNames = {{
      {"willPowerOff", NotificationName::willPowerOff},
      {"willSleep", NotificationName::willSleep},
      {"screensDidWake", NotificationName::screensDidWake},
      {"screenLocked", NotificationName::screenLocked},
      {"screenUnlocked", NotificationName::screenUnlocked},
  }};
  return [name = readWord(fields.required("name"), kNames)](ScenarioRun& run) {
    run.platform().scriptedWorkspace().post({name, std::nullopt});
  };
}

ScenarioStep readRestart(JsonFields& fields, const ScriptedDesktop&) {
  const auto crash = fields.optional("crash");
  return [crashes = crash && crash->boolean()](ScenarioRun& run) { run.restart(crashes); };
}

std::string readHex(const JsonCursor& hex) {
  static constexpr std::string_view kDigits = "0123456789abcdef";
  const auto value = [&](char c) {
    const auto digit = kDigits.find(c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c);
    if (digit == std::string_view::npos) {
      hex.fail("expected hexadecimal digits");
    }
    return digit;
  };
  const std::string text = hex.string();
  if (text.size() % 2 != 0) {
    hex.fail("expected two hexadecimal digits a byte");
  }
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    bytes.push_back(static_cast<char>(value(text[i]) * 16 + value(text[i + 1])));
  }
  return bytes;
}

ScenarioStep readWriteFile(JsonFields& fields, const ScriptedDesktop&) {
  const auto [kind, value] = fields.oneOf({"text", "bytes"});
  return [content = kind == "text" ? value.string() : readHex(value)](ScenarioRun& run) {
    run.platform().folder().writeFile(content);
    ServiceInspector(run.service()).fileWasChanged();
  };
}

ScenarioStep readBlockFile(JsonFields& fields, const ScriptedDesktop&) {
  using Block = std::optional<PrivateFolder::Block>;
  static constexpr std::array<std::pair<std::string_view, Block>, 3> kWords = {{
      {"directory", PrivateFolder::Block::directory},
      {"noParent", PrivateFolder::Block::noParent},
      {"clear", std::nullopt},
  }};
  return [how = readWord(fields.required("how"), kWords)](ScenarioRun& run) {
    if (how) {
      run.platform().folder().block(*how);
    } else {
      run.platform().folder().unblock();
    }
    ServiceInspector(run.service()).fileWasChanged();
  };
}

ScenarioStep readShow(JsonFields& fields, const ScriptedDesktop&) {
  using Show = void (ScenarioRun::*)();
  static constexpr std::array<std::pair<std::string_view, Show>, 4> kWords = {{
      {"file", &ScenarioRun::showFile},
      {"records", &ScenarioRun::showRecords},
      {"defaults", &ScenarioRun::showDefaults},
      {"service", &ScenarioRun::showService},
  }};
  return readWord(fields.required("what"), kWords);
}

ScenarioStep readPermission(JsonFields& fields, const ScriptedDesktop&) {
  return [prompt = fields.required("prompt").boolean()](ScenarioRun& run) { run.checkPermission(prompt); };
}

ScenarioStep readBlacklisted(JsonFields& fields, const ScriptedDesktop&) {
  return [path = fields.required("path").string(), url = fields.required("url").string()](ScenarioRun& run) {
    run.output().line({{"blacklisted", ServiceInspector(run.service()).isBlackListed(path, url)}});
  };
}

ScenarioStep readDescribe(JsonFields& fields, const ScriptedDesktop& desktop) {
  std::optional<std::uint64_t> eventType;
  if (const auto type = fields.optional("eventType")) {
    eventType = type->unsignedInteger();
  }
  const auto siblings = fields.optional("includeSiblings");
  return [node = readElementId(fields.required("element"), desktop), includeSiblings = siblings && siblings->boolean(),
          eventType](ScenarioRun& run) { run.describe(node, includeSiblings, eventType); };
}

using Reader = ScenarioStep (*)(JsonFields&, const ScriptedDesktop&);

constexpr std::array<std::pair<std::string_view, Reader>, 29> kSteps = {{
    {"start", readStart},
    {"stop", readStop},
    {"pause", readPause},
    {"resume", readResume},
    {"clearLogs", readClearLogs},
    {"set", readSet},
    {"local", readLocal},
    {"external", readExternal},
    {"remoteCommand", readRemoteCommand},
    {"activate", readActivate},
    {"notify", readNotify},
    {"advance", readAdvance},
    {"acknowledge", readAcknowledge},
    {"change", readChange},
    {"hits", readHitsStep},
    {"screens", readScreensStep},
    {"trust", readTrust},
    {"terminate", readTerminate},
    {"frame", readFrame},
    {"recognizer", readRecognizer},
    {"raise", readRaise},
    {"system", readSystem},
    {"restart", readRestart},
    {"writeFile", readWriteFile},
    {"blockFile", readBlockFile},
    {"show", readShow},
    {"permission", readPermission},
    {"blacklisted", readBlacklisted},
    {"describe", readDescribe},
}};

}  // namespace

ScenarioStep readStep(const JsonCursor& step, const ScriptedDesktop& desktop) {
  JsonFields fields(step);
  const Reader read = readWord(fields.required("do"), kSteps);
  ScenarioStep ready = read(fields, desktop);
  fields.finish();
  return ready;
}

}  // namespace zqlogging
