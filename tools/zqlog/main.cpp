#include <CLI/CLI.hpp>
#include <iostream>

#include "Commands.h"
#include "ExitCode.h"

// NOLINTNEXTLINE(bugprone-exception-escape): nothing but a lack of memory throws outside of the try
int main(int argc, char** argv) {
  CLI::App program("The reference host of zqlogging: records a desktop, or plays one from a file.", "zqlog");
  program.footer(
      "Exit status: 0 done, 1 failed while running, 2 the command line or an input file is at fault.\n"
      "'zqlog COMMAND --help' tells more about a command.");
  program.require_subcommand(0, 1);  // so that an unknown command is complained about by its name
  int exitCode = exitDone;
  addRecord(program, exitCode);
  addInspect(program, exitCode);
  addDoctor(program, exitCode);
  addReplay(program, exitCode);
  addRecognize(program, exitCode);
  try {
    program.parse(argc, argv);
    if (program.get_subcommands().empty()) {
      throw CLI::RequiredError("A command");
    }
  } catch (const CLI::ParseError& error) {
    return program.exit(error) == 0 ? exitDone : exitBadInput;
  } catch (const std::exception& error) {
    std::cerr << "zqlog: " << error.what() << '\n';
    return exitFailed;
  }
  return exitCode;
}
