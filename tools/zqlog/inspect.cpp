#include <zqlogging/Desktop.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <optional>
#include <vector>

#include "Commands.h"
#include "ExitCode.h"
#include "OutputLines.h"

namespace {

int inspectPoint(double x, double y) {
  const auto found = zqlogging::describeElementAt(*zqlogging::systemDesktop(), x, y);
  if (!found) {
    std::cerr << "zqlog: there is no element at " << x << ", " << y << '\n';
    return exitFailed;
  }
  printLine(describeLine(*found));
  return exitDone;
}

int inspectProcess(int pid) {
  std::cout << zqlogging::describeApplication(*zqlogging::systemDesktop(), pid) << std::flush;
  return exitDone;
}

}  // namespace

void addInspect(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("inspect", "Tell what is at a point of the screen, or in an application");
  command->footer(
      "With a point: the element's path, name, type, value, window and application as one JSON object, and its frame\n"
      "[x, y, width, height]. With --pid: the application's tree, one element a line: role, \"title\", = \"value\",\n"
      "#\"identifier\", frame.\n"
      "Exit status: 0 found; 1 nothing is there, or the application does not answer.");
  struct Options {
    std::vector<double> point;
    std::optional<int> pid;
  };
  const auto options = std::make_shared<Options>();
  auto* point = command->add_option("POINT", options->point, "X Y: screen points, origin top-left")->expected(2);
  auto* process = command->add_option("--pid", options->pid, "Process id of an application");
  point->excludes(process);
  process->excludes(point);
  command->callback([options, &exitCode] {
    if (options->pid) {
      exitCode = inspectProcess(*options->pid);
    } else if (options->point.size() == 2) {
      exitCode = inspectPoint(options->point[0], options->point[1]);
    } else {
      throw CLI::RequiredError("A point (X Y) or --pid");
    }
  });
}
