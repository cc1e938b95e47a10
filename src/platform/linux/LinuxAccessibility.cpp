#include "platform/linux/LinuxAccessibility.h"

#include "platform/linux/ApplicationElement.h"
#include "platform/linux/AtspiElement.h"
#include "platform/linux/DesktopElement.h"

namespace zqlogging {

namespace {

constexpr float defaultMessagingTimeout = 1;  // second

/// The burst of reads that this thread has open, and whose it is.
thread_local struct {
  const LinuxAccessibility* owner = nullptr;
  AtspiReader* reader = nullptr;
} openBurst;

class AtspiReadScope : public port::ReadScope {
 public:
  explicit AtspiReadScope(LinuxAccessibility& accessibility)
      : reader_(accessibility.bus(), accessibility.applications()) {
    openBurst = {&accessibility, &reader_};
  }
  AtspiReadScope(const AtspiReadScope&) = delete;
  AtspiReadScope& operator=(const AtspiReadScope&) = delete;
  ~AtspiReadScope() override { openBurst = {}; }

 private:
  AtspiReader reader_;
};

}  // namespace

LinuxAccessibility::LinuxAccessibility(port::Platform& platform)
    : platform_(platform), messagingTimeout_(defaultMessagingTimeout) {}

LinuxAccessibility::~LinuxAccessibility() = default;

bool LinuxAccessibility::isProcessTrusted(bool prompt) {
  if (prompt) AtspiBus::announceAssistiveTechnology();
  return bus_.answers();
}

port::ElementRef LinuxAccessibility::createSystemWideElement() { return std::make_shared<DesktopElement>(*this); }

port::ElementRef LinuxAccessibility::createApplicationElement(std::int32_t pid) {
  return std::make_shared<ApplicationElement>(*this, pid);
}

port::Result<std::unique_ptr<port::NotificationObserver>> LinuxAccessibility::createObserver(
    std::int32_t /*pid*/, port::NotificationCallback /*callback*/) {
  return port::ResultCode::notImplemented;
}

std::unique_ptr<port::ReadScope> LinuxAccessibility::openReadScope() {
  if (openReader()) return std::make_unique<port::ReadScope>();  // the outer scope serves
  return std::make_unique<AtspiReadScope>(*this);
}

AtspiReader* LinuxAccessibility::openReader() { return openBurst.owner == this ? openBurst.reader : nullptr; }

void LinuxAccessibility::expectReads(std::span<const port::ElementRef> elements) {
  AtspiReader* reader = openReader();
  if (!reader) return;
  for (const port::ElementRef& element : elements) {
    const auto* object = dynamic_cast<const AtspiElement*>(element.get());
    if (object) reader->want(object->object(), AtspiReader::wantsName);
  }
}

void LinuxAccessibility::setMessagingTimeout(float seconds) {
  messagingTimeout_ = seconds > 0 ? seconds : defaultMessagingTimeout;
}

port::ElementRef LinuxAccessibility::elementFor(const AtspiObject& object, AtspiReader& reader) {
  if (object.path == AtspiObject::rootPath) {
    if (const auto pid = applications_.processOf(object, reader, messagingTimeout_))
      return createApplicationElement(*pid);
  }
  return std::make_shared<AtspiElement>(*this, object);
}

}  // namespace zqlogging
