#include <chrono>
#include <system_error>
#include <utility>

#include "diagnostics/SessionFindings.h"
#include "service/ServiceImpl.h"

namespace zqlogging {
namespace {

/// How long programs that run are given to heed that somebody listens.
constexpr std::chrono::seconds kHeedTime{2};

std::string undrivenLine(double seconds) {
  return "ZQLogging: nothing has driven the main loop for " + std::to_string(static_cast<long>(seconds)) +
         " s, so no chunk is delivered and no application is followed. Run GLib's default main context on the main "
         "thread (GTK and Qt do, unless Qt runs without GLib), or call pumpMainLoop.";
}

}  // namespace

void ServiceImpl::runBeside(std::function<void()> task) {
  const auto guarded = [desktop = platform, task = std::move(task)] {
    try {
      task();
    } catch (const std::exception& error) {
      desktop->logs().generalLog(std::string("ZQLogging: the session could not be looked after: ") + error.what());
    }
  };
  try {
    taskThread.run(guarded);
  } catch (const std::system_error& error) {
    platform->logs().generalLog(std::string("ZQLogging: no thread to look after the session: ") + error.what());
  }
}

void ServiceImpl::lookAtSession() {
  if (platform->session() == nullptr) {
    return;
  }
  runBeside([desktop = platform, last = lastWarning] {
    port::Session& session = *desktop->session();
    session.putBackLeftovers();
    std::string warning = warningOf(findingsOf(session.look()));
    // A host that tries again and again to start is told once.
    if (!warning.empty() && warning != *last) {
      desktop->logs().generalLog(warning);
    }
    *last = std::move(warning);
  });
}

void ServiceImpl::enableAccessibility(std::function<void(const EnabledAccessibility&)> completion) {
  runBeside([weak = service.weak_from_this(), desktop = platform, asked = announcements.load(),
             completion = std::move(completion)]() mutable {
    EnabledAccessibility result{true, {}};
    std::shared_ptr<port::Announcement> told;
    if (port::Session* session = desktop->session()) {
      told = session->announceListener(kHeedTime);
      result = {told != nullptr, programsToRestart(session->look())};
    }
    desktop->mainLoop().runSoon([weak, asked, completion = std::move(completion), result = std::move(result),
                                 told = std::move(told)]() mutable {
      const auto alive = weak.lock();
      if (alive == nullptr) {
        return;
      }
      ServiceImpl& impl = *alive->impl_;
      if (impl.announcements == asked) {
        impl.announcement = std::move(told);
      } else {
        result.enabled = false;  // the session has been stopped meanwhile
        told.reset();
      }
      if (completion) {
        impl.tellHost([&] { completion(result); });
      }
    });
  });
}

void ServiceImpl::endAnnouncement() {
  ++announcements;
  announcement.reset();
}

void ServiceImpl::noteDriven() {
  drivenAt = platform->clock().steadyTime();
  isUndrivenTold = false;
}

void ServiceImpl::checkDriven() {
  const double seconds = platform->clock().steadyTime() - drivenAt;
  if (isWatched && seconds > 2 * std::chrono::duration<double>(CHUNKS_INTERVAL).count() &&
      !isUndrivenTold.exchange(true)) {
    platform->logs().generalLog(undrivenLine(seconds));
  }
}

}  // namespace zqlogging
