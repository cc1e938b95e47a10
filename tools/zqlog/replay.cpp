#include <zqlogging/Scenario.h>

#include <CLI/CLI.hpp>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

#include "Commands.h"
#include "ExitCode.h"

namespace {

std::string contentOf(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  std::string content;
  std::array<char, 65536> part{};
  std::size_t count = 0;
  while (file && (count = std::fread(part.data(), 1, part.size(), file.get())) > 0) {
    content.append(part.data(), count);
  }
  if (!file || std::ferror(file.get()) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot be read");
  }
  return content;
}

/// One line about a fault, whatever the file or its keys are called.
void complain(const std::string& file, const std::string& what) {
  std::string line = "zqlog: " + file + ": " + what;
  for (char& c : line) {
    if (static_cast<unsigned char>(c) < 0x20) {
      c = '?';
    }
  }
  std::fprintf(stderr, "%s\n", line.c_str());
}

volatile std::sig_atomic_t interrupted = 0;

/// Lets an interrupted play end as a failed one does, so that its temporary folder is removed. A second signal ends
/// the program at once.
void catchInterruptions() {
  struct sigaction action = {};
  action.sa_handler = [](int) { interrupted = 1; };
  action.sa_flags = SA_RESETHAND;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  std::signal(SIGPIPE, SIG_IGN);  // a closed pipe is then an error of the line that is written
}

void printLine(const std::string& line) {
  if (interrupted != 0) {
    throw std::runtime_error("interrupted");
  }
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fputc('\n', stdout);
  if (std::fflush(stdout) != 0) {
    throw std::system_error(errno, std::generic_category(), "standard output");
  }
}

int replay(const std::string& file) {
  std::unique_ptr<zqlogging::Scenario> scenario;
  try {
    scenario = std::make_unique<zqlogging::Scenario>(contentOf(file));
  } catch (const std::exception& fault) {
    complain(file, fault.what());
    return exitBadInput;
  }
  catchInterruptions();
  try {
    scenario->play(printLine);
  } catch (const std::exception& failure) {
    complain(file, failure.what());
    return exitFailed;
  }
  return exitDone;
}

}  // namespace

void addReplay(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("replay", "Play a scenario on a desktop in memory, under a virtual clock");
  command->footer(
      "Prints what the host would see, one JSON object a line. Needs no display and no accessibility service.\n"
      "Exit status: 0 the scenario ran; 1 it could not be carried on, e.g. for want of a temporary folder; 2 the file\n"
      "cannot be read or is no scenario: standard error names it and the JSON pointer of the fault, and nothing ran.");
  const auto file = std::make_shared<std::string>();
  command->add_option("FILE", *file, "The scenario (docs/scenario-format.md)")->required();
  command->callback([file, &exitCode] { exitCode = replay(*file); });
}
