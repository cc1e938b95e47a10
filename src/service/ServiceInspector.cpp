#include "service/ServiceInspector.h"

#include "service/ServiceImpl.h"

namespace zqlogging {

void ServiceInspector::waitForWorker() {
  service_.impl_->serialQueue.waitUntilIdle();
  service_.impl_->fileQueue.waitUntilIdle();
}

void ServiceInspector::fileWasChanged() { service_.impl_->log.lookAtFileAgain(); }

std::vector<std::string> ServiceInspector::records() const {
  std::vector<std::string> result;
  for (const LogEvent& record : service_.impl_->log.records()) {
    record->appendJson(result.emplace_back());
  }
  return result;
}

std::string ServiceInspector::filePath() const { return service_.impl_->log.path(); }

bool ServiceInspector::paused() const { return service_.impl_->paused; }

std::int64_t ServiceInspector::eventId() const { return service_.impl_->log.eventId(); }

bool ServiceInspector::running() const { return service_.impl_->chunksTimer != nullptr; }

std::optional<std::int32_t> ServiceInspector::watchedPid() const {
  const auto& app = service_.impl_->app;
  const auto pid = app == nullptr ? port::Result<std::int32_t>(port::ResultCode::noValue) : app->element()->getPid();
  return pid ? std::optional(pid.value) : std::nullopt;
}

port::ElementRef ServiceInspector::focusedElement() const {
  const std::lock_guard lock(service_.impl_->mutex);
  const auto& focused = service_.impl_->focusedElement;
  return focused ? focused->elementRef() : nullptr;
}

std::vector<std::string> ServiceInspector::urls() const { return service_.impl_->blackListManager.urls(); }

std::vector<std::string> ServiceInspector::processes() const { return service_.impl_->blackListManager.processes(); }

CGSize ServiceInspector::croppedFrameSize() const { return service_.impl_->ocr.croppedFrameSize(); }

bool ServiceInspector::isBlackListed(const std::string& path, const std::string& url) const {
  return service_.impl_->blackListManager.isXPathBlackListed({path, {}, url});
}

}  // namespace zqlogging
