#include "zqlogging/ZQLoggingervice.h"

#include <chrono>
#include <stdexcept>
#include <utility>

#include "accessibility/AXError.h"
#include "accessibility/SystemWideElement.h"
#include "diagnostics/DeveloperTiers.h"
#include "json/DecodingError.h"
#include "service/ServiceImpl.h"
#include "text/Text.h"

namespace zqlogging {
namespace {

constexpr const char* kLogFileName = "/slog.json";
constexpr std::chrono::milliseconds kReadBackDelay{400};
/// Seconds that a hit test waits for an application.
constexpr float kMessagingTimeout = 0.1F;

/// Reads a setting, lets the host change it, and writes it.
template <class T, class Set>
void modify(T value, const std::function<void(T&)>& change, const Set& set) {
  change(value);
  set(std::move(value));
}

void requireSharedOwner(const std::weak_ptr<ZQLoggingervice>& service) {
  if (service.expired()) {
    throw std::logic_error("ZQLoggingervice must be owned by a std::shared_ptr: create it with std::make_shared");
  }
}

std::vector<std::string> valid(const std::vector<std::string>& texts) {
  std::vector<std::string> result;
  result.reserve(texts.size());
  for (const std::string& text : texts) {
    result.push_back(validUtf8(text));
  }
  return result;
}

}  // namespace

ServiceImpl::ServiceImpl(ZQLoggingervice& owner, std::shared_ptr<port::Platform> desktop)
    : service(owner),
      platform(std::move(desktop)),
      log(platform->cachesFolder() + kLogFileName, platform->clock()),
      ocr(platform) {}

ServiceImpl::~ServiceImpl() {
  perform([this] { changeFile(); });  // what another process kept us from
  if (observer != nullptr && !platform->mainLoop().isMainThread()) {
    // An observer belongs to the thread that made it.
    platform->mainLoop().runSoon([desktop = platform, last = std::move(observer)]() mutable { last.reset(); });
  }
}

ZQLoggingervice::ZQLoggingervice() : ZQLoggingervice(port::systemPlatform()) {}

ZQLoggingervice::ZQLoggingervice(std::shared_ptr<port::Platform> platform)
    : impl_(std::make_unique<ServiceImpl>(*this, std::move(platform))) {}

ZQLoggingervice::~ZQLoggingervice() = default;

std::shared_ptr<ZQLoggerDelegate> ZQLoggingervice::delegate() const {
  const std::lock_guard lock(impl_->mutex);
  return impl_->delegate;
}

void ZQLoggingervice::setDelegate(std::shared_ptr<ZQLoggerDelegate> value) {
  const std::lock_guard lock(impl_->mutex);
  impl_->delegate.swap(value);  // the previous one is released after the lock
}

void ZQLoggingervice::modifyDelegate(const std::function<void(std::shared_ptr<ZQLoggerDelegate>&)>& change) {
  modify(delegate(), change, [this](auto value) { setDelegate(std::move(value)); });
}

bool ZQLoggingervice::ocrEnabled() const { return impl_->ocrEnabled; }

void ZQLoggingervice::setOcrEnabled(bool value) {
  requireSharedOwner(weak_from_this());
  impl_->ocrEnabled = value;
  impl_->prepareRecognition();
}

void ZQLoggingervice::modifyOcrEnabled(const std::function<void(bool&)>& change) {
  modify(ocrEnabled(), change, [this](bool value) { setOcrEnabled(value); });
}

bool ZQLoggingervice::includeSiblings() const { return impl_->includeSiblings; }

void ZQLoggingervice::setIncludeSiblings(bool value) { impl_->includeSiblings = value; }

void ZQLoggingervice::modifyIncludeSiblings(const std::function<void(bool&)>& change) {
  modify(includeSiblings(), change, [this](bool value) { setIncludeSiblings(value); });
}

bool ZQLoggingervice::iterateDOM() const { return impl_->iterateDOM; }

void ZQLoggingervice::setIterateDOM(bool value) { impl_->iterateDOM = value; }

void ZQLoggingervice::modifyIterateDOM(const std::function<void(bool&)>& change) {
  modify(iterateDOM(), change, [this](bool value) { setIterateDOM(value); });
}

CGSize ZQLoggingervice::ocrDetectionSize() const { return impl_->ocr.croppedFrameSize(); }

void ZQLoggingervice::setOcrDetectionSize(CGSize value) { impl_->ocr.setCroppedFrameSize(value); }

void ZQLoggingervice::modifyOcrDetectionSize(const std::function<void(CGSize&)>& change) {
  modify(ocrDetectionSize(), change, [this](CGSize value) { setOcrDetectionSize(value); });
}

bool ZQLoggingervice::debuLogging() const { return impl_->debuLogging; }

void ZQLoggingervice::setDebuLogging(bool value) {
  impl_->debuLogging = value;
  std::vector<ZQDeveloperLogTier> tiers;
  if (value) {
    tiers.emplace_back(ZQDeveloperLogTier::enhancedlogging);
  }
  DeveloperTiers::set(std::move(tiers), impl_->platform);
}

void ZQLoggingervice::modifyDebuLogging(const std::function<void(bool&)>& change) {
  modify(debuLogging(), change, [this](bool value) { setDebuLogging(value); });
}

bool ZQLoggingervice::followsFromStart() const { return impl_->followsFromStart; }

void ZQLoggingervice::setFollowsFromStart(bool value) { impl_->followsFromStart = value; }

void ZQLoggingervice::modifyFollowsFromStart(const std::function<void(bool&)>& change) {
  modify(followsFromStart(), change, [this](bool value) { setFollowsFromStart(value); });
}

void ZQLoggingervice::enableAccessibility(std::function<void(const EnabledAccessibility&)> completion) {
  requireSharedOwner(weak_from_this());
  impl_->enableAccessibility(std::move(completion));
}

void ZQLoggingervice::mainAppChanged(const port::Notification& notification) {
  requireSharedOwner(weak_from_this());
  impl_->perform([&] { impl_->applicationActivated(notification); });
}

bool ZQLoggingervice::start(const std::string& sessionCode, const std::vector<std::string>& urls,
                            const std::vector<std::string>& processes) {
  requireSharedOwner(weak_from_this());
  port::Platform& desktop = *impl_->platform;
  if (!impl_->running) {
    impl_->lookAtSession();  // also of a session in which nothing can be started
  }
  if (!checkAccessibilityPermission(false)) {
    return false;
  }
  SystemWideElement::shared(desktop)->setMessagingTimeout(kMessagingTimeout);
  if (impl_->running) {
    return false;
  }
  impl_->running = true;
  impl_->noteDriven();
  impl_->isWatched = true;
  const std::uint64_t session = ++impl_->sessions;
  const std::string code = validUtf8(sessionCode);
  // Everything scheduled below holds the service weakly: it is the host's alone to keep.
  const auto weak = weak_from_this();
  desktop.mainLoop().runAfter(kReadBackDelay, [weak, code] {
    if (const auto alive = weak.lock()) {
      alive->impl_->perform([&] { alive->impl_->readBackPreviousSession(code); });
    }
  });
  impl_->storeSessionCode(code);
  impl_->blackListManager.setLists(valid(urls), valid(processes));
  desktop.mainLoop().runSoon([weak, session] {
    const auto alive = weak.lock();
    if (alive == nullptr || !alive->impl_->running || alive->impl_->sessions != session) {
      return;
    }
    ServiceImpl& state = *alive->impl_;
    state.chunksTimer =
        state.platform->mainLoop().startRepeatingTimer(CHUNKS_INTERVAL, [weak](const port::Timer& timer) {
          if (const auto service = weak.lock()) {
            service->impl_->noteDriven();
            service->impl_->perform([&] { service->notifyChunkAvailable(timer); });
          }
        });
  });

  using Handler = void (ZQLoggingervice::*)(const port::Notification&);
  const auto subscribe = [&](port::NotificationName name, Handler handler) {
    impl_->subscriptions.push_back(
        desktop.workspace().subscribe(name, [weak, handler](const port::Notification& notification) {
          if (const auto alive = weak.lock()) {
            alive->impl_->perform([&] { (alive.get()->*handler)(notification); });
          }
        }));
  };
  subscribe(port::NotificationName::didActivateApplication, &ZQLoggingervice::mainAppChanged);
  subscribe(port::NotificationName::screenLocked, &ZQLoggingervice::screenLocked);
  subscribe(port::NotificationName::screenUnlocked, &ZQLoggingervice::screenUnlocked);
  subscribe(port::NotificationName::willPowerOff, &ZQLoggingervice::willPowerOff);
  subscribe(port::NotificationName::willSleep, &ZQLoggingervice::didSleep);
  subscribe(port::NotificationName::screensDidWake, &ZQLoggingervice::didWake);
  if (impl_->followsFromStart) {
    desktop.workspace().announceFrontmost();
  }
  return true;
}

void ZQLoggingervice::stop(std::function<void(bool)> completion) {
  requireSharedOwner(weak_from_this());
  impl_->subscriptions.clear();
  ++impl_->stops;
  try {
    impl_->takeDownWatcher();
  } catch (const AXError&) {  // the application may be gone; the stop goes on
  }
  const bool wasRunning = std::exchange(impl_->running, false);
  impl_->isWatched = false;
  impl_->endAnnouncement();
  impl_->platform->mainLoop().runSoon([weak = weak_from_this()] {
    const auto alive = weak.lock();
    if (alive != nullptr && !alive->impl_->running) {
      alive->impl_->chunksTimer.reset();
    }
  });
  impl_->log.resetNumber();
  if (wasRunning) {
    impl_->sendEvents(true, std::move(completion));
  } else {
    ServiceImpl::complete(*impl_->platform, completion, false);
  }
}

void ZQLoggingervice::pause() { impl_->paused = true; }

void ZQLoggingervice::resume() { impl_->paused = false; }

void ZQLoggingervice::setFrameForOcr(PixelBuffer frame) {
  requireSharedOwner(weak_from_this());
  std::optional<PixelBuffer> next = std::move(frame);
  {
    const std::lock_guard lock(impl_->mutex);
    impl_->bufferForOcr.swap(next);  // the previous one is released after the lock
  }
  impl_->prepareRecognition();
}

void ZQLoggingervice::processLocalEvent(std::uint64_t eventType, double x, double y, std::int64_t source,
                                        const std::string& characters) {
  impl_->noteForwarded(eventType, characters, impl_->platform->clock().steadyTime());
  if (!impl_->paused) {
    processExternalEvent(eventType, x, y, source, {});
  }
}

void ZQLoggingervice::processExternalEvent(std::uint64_t eventType, double x, double y, std::int64_t source,
                                           const std::string& characters) {
  requireSharedOwner(weak_from_this());
  const double now = impl_->platform->clock().steadyTime();
  const double focusMovedBefore = impl_->noteForwarded(eventType, characters, now);
  impl_->enqueue(ForwardedEvent{eventType, {x, y}, source, TypedText(characters), now, focusMovedBefore});
}

void ZQLoggingervice::clearLogs() { impl_->clearLogs(); }

void ZQLoggingervice::willPowerOff(const port::Notification& /*notification*/) { impl_->log.takeNumber(); }

void ZQLoggingervice::didSleep(const port::Notification& /*notification*/) { impl_->log.takeNumber(); }

void ZQLoggingervice::didWake(const port::Notification& /*notification*/) { impl_->log.takeNumber(); }

void ZQLoggingervice::screenLocked(const port::Notification& /*notification*/) { impl_->log.takeNumber(); }

void ZQLoggingervice::screenUnlocked(const port::Notification& /*notification*/) { impl_->log.takeNumber(); }

void ZQLoggingervice::startAppWatcher(const std::shared_ptr<Application>& application) {
  requireSharedOwner(weak_from_this());
  if (application == nullptr) {
    throw std::invalid_argument("startAppWatcher needs an application");
  }
  impl_->moveWatcher(application);
}

void ZQLoggingervice::logRemoteCommand(const std::string& cli, const std::string& role, const std::string& command,
                                       const std::optional<std::string>& details) {
  impl_->recordRemoteCommand(cli, role, command, details);
}

void ZQLoggingervice::notifyChunkAvailable(const port::Timer& /*timer*/) {
  requireSharedOwner(weak_from_this());
  if (!impl_->paused) {
    impl_->sendEvents(false, nullptr);
  }
}

std::unique_ptr<JsonObject> ZQLoggingervice::convertToDictionary(std::string_view text) {
  try {
    auto object = JsonObject::parse(text);
    return object ? std::make_unique<JsonObject>(std::move(*object)) : nullptr;
  } catch (const DecodingError& error) {
    impl_->platform->logs().standardOutput(error.what());
    return nullptr;
  }
}

std::map<std::string, std::uint64_t> ZQLoggingervice::droppedEvents() const {
  const std::lock_guard lock(impl_->mutex);
  return impl_->dropped;
}

bool ZQLoggingervice::checkAccessibilityPermission(bool prompt) {
  return UIElement::isProcessTrusted(*impl_->platform, prompt);
}

bool checkIsProcessTrusted(bool prompt) { return UIElement::isProcessTrusted(*port::systemPlatform(), prompt); }

}  // namespace zqlogging
