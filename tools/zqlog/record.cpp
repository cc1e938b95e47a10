#include <syslog.h>
#include <unistd.h>
#include <zqlogging/zqlogging.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Commands.h"
#include "ExitCode.h"
#include "InputForwarder.h"
#include "OutputLines.h"
#include "PrintingDelegate.h"
#include "ScreenGrabber.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

struct Options {
  std::string session = "zqlog";
  std::vector<std::string> urls;
  std::vector<std::string> processes;
  bool noSiblings = false;
  bool noTreeWalk = false;
  bool ocr = false;
  bool trace = false;
  bool noEnableAccessibility = false;
  std::optional<double> seconds;
  std::string answer = "yes";
};

std::atomic<bool> ended = false;
std::atomic<bool> serverLost = false;

/// From now on the first Ctrl-C (or SIGTERM, SIGHUP) ends the recording; a second one ends the process as usual.
/// To be called before any thread is started: all of them inherit the blocked signals.
void watchEndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int each : {SIGINT, SIGTERM, SIGHUP}) {
    sigaddset(&signals, each);
  }
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::thread([signals] {
    int which = 0;
    sigwait(&signals, &which);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    ended = true;
    zqlogging::wakeMainLoop();
    for (;;) {
      pause();
    }
  }).detach();
}

bool isOver() { return ended || serverLost; }
bool never() { return false; }

/// Runs the main loop for a time, or until it is over before that.
void pumpFor(steady_clock::duration time, bool (*over)()) {
  const auto end = steady_clock::now() + time;
  while (!over()) {
    const auto left = std::chrono::ceil<milliseconds>(end - steady_clock::now());
    if (left <= milliseconds::zero()) {
      return;
    }
    zqlogging::pumpMainLoop(left);
  }
}

/// The screen as a frame in which a point on it, forwarded as `forwarded`, has these same coordinates (origin
/// lower-left). Where the top edges of screens differ a point may have none: no text is better than that of elsewhere.
zqlogging::PixelBuffer frameFor(ScreenGrabber& grabber, double y, zqlogging::CGPoint forwarded) {
  return forwarded.y < 0 ? zqlogging::PixelBuffer() : grabber.grab(static_cast<int>(forwarded.y + std::floor(y)) + 1);
}

void sayWhereTheTraceIs() {
  if (access("/run/systemd/journal/socket", W_OK) == 0) {
    std::cerr << "zqlog: the trace is in the journal: journalctl -f SUBSYSTEM=zqlog\n";
  } else {
    openlog("zqlog", LOG_PERROR, LOG_USER);
    std::cerr << "zqlog: the trace goes to syslog and is repeated here\n";
  }
}

/// Clicks are recorded without text when none can be recognized, but whoever asked for text wants to know.
void sayWhetherTextIsRecognized(zqlogging::port::Platform& desktop) {
  const std::uint32_t pixel = 0;
  try {
    static_cast<void>(zqlogging::TextRecognizer(desktop).recognize(
        {{std::shared_ptr<void>(), reinterpret_cast<const std::uint8_t*>(&pixel)}, 1, 1, sizeof pixel}));
  } catch (const std::runtime_error& error) {
    std::cerr << "zqlog: text is not recognized: " << error.what() << '\n';
  }
}

void sayWhatCameOf(const zqlogging::EnabledAccessibility& result) {
  if (!result.enabled) {
    std::cerr << "zqlog: programs cannot be told that somebody listens; 'zqlog doctor' tells more\n";
  }
  for (const std::string& program : result.needRestart) {
    std::cerr << "zqlog: " << program << " must be started again to be recorded well\n";
  }
}

int record(const Options& options) {
  watchEndSignals();
  InputForwarder forwarder;
  const auto desktop = zqlogging::systemDesktop();
  const auto service = std::make_shared<zqlogging::ZQLoggingervice>(desktop);
  service->setDelegate(std::make_shared<PrintingDelegate>(options.answer == "yes"));
  service->setIncludeSiblings(!options.noSiblings);
  service->setIterateDOM(!options.noTreeWalk);
  if (options.trace) {
    sayWhereTheTraceIs();
    service->setDebuLogging(true);
  }

  std::optional<ScreenGrabber> grabber;
  if (options.ocr) {
    sayWhetherTextIsRecognized(*desktop);
    grabber.emplace();
    service->setOcrEnabled(true);
    service->setFrameForOcr(grabber->grab(1));  // loads the engine before the first click needs it
  }

  using Kind = InputForwarder::Kind;
  const auto forward = [&](const InputForwarder::Event& event) {
    const zqlogging::CGPoint point = zqlogging::pointFromTopLeft(*desktop, {event.x, event.y});
    if (grabber && (event.kind == Kind::leftPress || event.kind == Kind::rightPress)) {
      service->setFrameForOcr(frameFor(*grabber, event.y, point));
    }
    const auto type = static_cast<std::uint64_t>(event.kind);
    if (event.injected) {
      service->processExternalEvent(type, point.x, point.y, 1, event.characters);
    } else {
      service->processLocalEvent(type, point.x, point.y, 0, event.characters);
    }
  };
  const auto lost = [] {
    serverLost = true;
    zqlogging::wakeMainLoop();
  };
  service->setFollowsFromStart(true);
  if (!options.noEnableAccessibility) {
    service->enableAccessibility(sayWhatCameOf);
  }
  if (!service->start(options.session, options.urls, options.processes)) {
    printLine(startLine(false));
    throw std::runtime_error("the accessibility service does not answer (is at-spi2-core installed and running?)");
  }
  // What is recorded before an earlier session's leftovers are read back, 0.4 s from now, would be delivered twice.
  pumpFor(milliseconds(450), never);
  forwarder.start(forward, lost);
  printLine(startLine(true));

  constexpr auto kNoEnd = std::chrono::hours(24 * 365);
  const auto time = std::chrono::duration<double>(options.seconds.value_or(1));
  pumpFor(options.seconds ? std::chrono::ceil<steady_clock::duration>(time) : kNoEnd, isOver);
  forwarder.stop();
  // The service's worker may still have the event forwarded last, which takes it a quarter of a second at most.
  pumpFor(milliseconds(250), never);
  service->stop([](bool delivered) { printLine(stoppedLine(delivered)); });
  for (const auto& [reason, count] : service->droppedEvents()) {
    std::cerr << "zqlog: events without a record, because of what could not be told: " << count << ", " << reason
              << '\n';
  }
  if (serverLost) {
    throw std::runtime_error("the X server has gone away");
  }
  return exitDone;
}

}  // namespace

void addRecord(CLI::App& program, int& exitCode) {
  auto* command = program.add_subcommand("record", "Record this X session until Ctrl-C");
  command->footer(
      "Forwards the pointer and key events of the session: those that programs inject through the X server's test\n"
      "devices, as remote control does, count as the remote party's, all others as local. Prints what the host sees,\n"
      "one JSON object a line: clicks as they happen, a chunk of records every 20 seconds and at the end.\n"
      "Exit status: 0 recorded until Ctrl-C or the given time; 1 the desktop cannot be recorded, or went away.");
  const auto options = std::make_shared<Options>();
  command->add_option("--session", options->session, "Code that names the session")->capture_default_str();
  command->add_option("--block-url", options->urls, "Web address whose pages must not be recorded; may be repeated")
      ->allow_extra_args(false);
  command
      ->add_option("--block-process", options->processes,
                   "Name of an application that must not be recorded; may be repeated")
      ->allow_extra_args(false);
  command->add_flag("--no-siblings", options->noSiblings, "Leave the names of an element's siblings out of its path");
  command->add_flag("--no-tree-walk", options->noTreeWalk,
                    "Do not search a window's tree where the desktop finds only the window");
  command->add_flag("--ocr", options->ocr, "Recognize the text around each click, in a picture of the screen");
  command->add_flag("--no-enable-accessibility", options->noEnableAccessibility,
                    "Do not tell programs that somebody listens: many then tell nothing of what is in their windows");
  command->add_flag("--trace", options->trace, "Write the library's own trace to the system log");
  command->add_option("--seconds", options->seconds, "End after this time")->check(CLI::Range(0.0, 1e7));
  command->add_option("--answer", options->answer, "Answer to each chunk; 'no' keeps the records for the next one")
      ->check(CLI::IsMember({"yes", "no"}))
      ->capture_default_str();
  command->callback([options, &exitCode] { exitCode = record(*options); });
}
