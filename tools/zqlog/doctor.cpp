#include <zqlogging/zqlogging.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "Commands.h"
#include "ExitCode.h"
#include "OutputLines.h"

namespace {

using zqlogging::Finding;

struct Options {
  bool json = false;
  bool fix = false;
};

std::string textOf(const Finding& finding) {
  const std::string about = finding.subject.empty() ? "" : finding.subject + ": ";
  std::string text = std::string(nameOf(finding.gravity)) + "  " + about + finding.meaning;
  const std::string indent = "\n      ";
  if (!finding.remedy.empty()) {
    text += indent + "-> " + finding.remedy;
  }
  return finding.repairable ? text + indent + "-> \"zqlog doctor --fix\" does it." : text;
}

int exitCodeOf(const std::vector<Finding>& findings) {
  auto worst = Finding::Gravity::fine;
  for (const Finding& finding : findings) {
    worst = std::max(worst, finding.gravity);
  }
  return worst == Finding::Gravity::fatal ? exitNothing : worst == Finding::Gravity::poor ? exitPoor : exitDone;
}

bool isRepairable(const Finding& finding) { return finding.repairable; }

int examine(const Options& options) {
  const auto desktop = zqlogging::systemDesktop();
  std::vector<Finding> findings = zqlogging::diagnose(*desktop);
  if (options.fix && std::any_of(findings.begin(), findings.end(), isRepairable)) {
    for (const Finding& finding : findings) {
      if (finding.repairable) {
        const bool repaired = zqlogging::repair(*desktop, finding);
        printLine(options.json ? repairedLine(finding, repaired)
                               : (repaired ? "done  " : "could not be done  ") + finding.code);
      }
    }
    findings = zqlogging::diagnose(*desktop);
  }
  for (const Finding& finding : findings) {
    printLine(options.json ? findingLine(finding) : textOf(finding));
  }
  return exitCodeOf(findings);
}

}  // namespace

void addDoctor(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("doctor", "Tell how well this session can be recorded, and what to do");
  command->footer(
      "Looks at the session, the display, the buses and the registry of accessibility, whether programs are told that\n"
      "somebody listens, each program with windows, the folder of the session log file, the system log, the display's\n"
      "scale and text recognition. Takes a few seconds at most, also where something does not answer.\n"
      "Exit status: 0 records will be good; 3 some will be poor; 4 nothing can be recorded.");
  const auto options = std::make_shared<Options>();
  command->add_flag(
      "--json", options->json,
      "One JSON object a line: \"code\", \"gravity\" (fine, note, poor, fatal), \"meaning\", \"remedy\",\n"
      "\"repairable\" and \"subject\"");
  command->add_flag("--fix", options->fix, "First do, for good, what needs no administrator");
  command->callback([options, &exitCode] { exitCode = examine(*options); });
}
