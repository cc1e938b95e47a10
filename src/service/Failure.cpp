#include "accessibility/NSExceptionError.h"
#include "accessibility/ObjC.h"
#include "diagnostics/DeveloperTiers.h"
#include "service/ServiceImpl.h"

namespace zqlogging {
namespace {

constexpr std::string_view kHostThrew = "ZQLogging: the host's callback threw: ";

/// Runs code of the host; what it throws goes to the general log.
template <class Call>
void callHost(port::Platform& platform, const Call& call) {
  try {
    call();
  } catch (const std::exception& error) {
    platform.logs().generalLog(std::string(kHostThrew) + error.what());
  } catch (...) {
    platform.logs().generalLog(std::string(kHostThrew) + "an unknown exception");
  }
}

}  // namespace

void ServiceImpl::perform(const std::function<void()>& work) const {
  try {
    ObjC::perform(work);
  } catch (const NSExceptionError& error) {
    platform->logs().generalLog(error.what());
  } catch (const std::exception& error) {
    trace(std::string("ZQLogging service error. Event dropped: ") + error.what());
  } catch (...) {
    trace("ZQLogging service error. Event dropped: an unknown exception");
  }
}

void ServiceImpl::runAside(std::function<void(ServiceImpl&)> work) const {
  platform->runAside([weak = service.weak_from_this(), work = std::move(work), stopsNow = stops.load()] {
    if (const auto alive = weak.lock()) {
      alive->impl_->stopsBefore = stopsNow;
      alive->impl_->perform([&] { work(*alive->impl_); });
    }
  });
}

void ServiceImpl::returnToMain(std::function<void(ServiceImpl&)> work) const {
  platform->returnToMain([weak = service.weak_from_this(), work = std::move(work), before = stopsBefore] {
    const auto alive = weak.lock();
    if (alive && alive->impl_->stops == before) {
      alive->impl_->perform([&] { work(*alive->impl_); });
    }
  });
}

void ServiceImpl::countDropped(const std::string& reason) {
  const std::lock_guard lock(mutex);
  ++dropped[reason];
}

void ServiceImpl::tellDelegate(const std::function<void(ZQLoggerDelegate&)>& call) {
  std::shared_ptr<ZQLoggerDelegate> current;
  {
    const std::lock_guard lock(mutex);
    current = delegate;
  }
  if (current != nullptr) {
    callHost(*platform, [&] { call(*current); });
  }
}

void ServiceImpl::tellHost(const std::function<void()>& call) const { callHost(*platform, call); }

void ServiceImpl::complete(port::Platform& desktop, const std::function<void(bool)>& completion, bool flag) {
  if (completion) {
    callHost(desktop, [&] { completion(flag); });
  }
}

}  // namespace zqlogging
