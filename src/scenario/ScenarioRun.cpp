#include "scenario/ScenarioRun.h"

#include <chrono>
#include <cmath>

#include "diagnostics/DeveloperTiers.h"
#include "elements/ZQAccessibilityElement.h"
#include "scenario/Settle.h"
#include "service/ServiceInspector.h"
#include "text/Text.h"

namespace zqlogging {

namespace {

void printLogLine(ScenarioOutput& output, const port::ScriptedLogLine& line) {
  switch (line.sink) {
    case port::ScriptedLogLine::Sink::system:
      output.line(
          {{"log",
            JsonValue::Object{{"subsystem", line.subsystem}, {"category", line.category}, {"message", line.message}}}});
      break;
    case port::ScriptedLogLine::Sink::general:
      output.line({{"nslog", line.message}});
      break;
    case port::ScriptedLogLine::Sink::standardOutput:
      output.line({{"stdout", line.message}});
      break;
  }
}

JsonValue idValue(const port::ScriptedDesktop& desktop, const port::ElementRef& element) {
  const auto id = element ? desktop.idOf(element) : std::nullopt;
  return id ? JsonValue(*id) : JsonValue(nullptr);
}

JsonValue idValue(const port::ScriptedDesktop& desktop, const std::optional<ZQAccessibilityElement>& element) {
  return idValue(desktop, element ? element->elementRef() : nullptr);
}

}  // namespace

ScenarioRun::ScenarioRun(std::shared_ptr<port::ScriptedPlatform> platform, ScenarioOutput::Print print)
    : platform_(std::move(platform)),
      output_(std::make_shared<ScenarioOutput>(std::move(print))),
      delegate_(std::make_shared<ScenarioDelegate>(output_)) {
  platform_->time().adoptMainThread();
  platform_->scriptedLogs().listen([output = output_](const auto& line) { printLogLine(*output, line); });
  // The trace switch is the process's: a scenario starts with it off and leaves it off.
  DeveloperTiers::set({}, nullptr);
  startService();
}

ScenarioRun::~ScenarioRun() {
  service_.reset();
  DeveloperTiers::set({}, nullptr);
}

void ScenarioRun::play(const std::vector<ScenarioStep>& steps) {
  for (const auto& step : steps) {
    step(*this);
    settleAll();
    output_->rethrowFailure();
  }
}

void ScenarioRun::settleAll() { settle(*service_, *platform_); }

void ScenarioRun::startService() {
  service_ = std::make_shared<ZQLoggingervice>(platform_);
  service_->setDelegate(delegate_);
}

void ScenarioRun::stop() {
  service_->stop([output = output_](bool delivered) { output->line({{"stopped", delivered}}); });
}

void ScenarioRun::restart(bool crash) {
  if (!crash) {
    stop();
    settleAll();
  }
  service_.reset();
  startService();
}

void ScenarioRun::advance(double seconds) {
  zqlogging::advance(*service_, *platform_, std::chrono::nanoseconds(std::llround(seconds * 1e9)));
}

void ScenarioRun::checkPermission(bool prompt) {
  const int before = platform_->scriptedAccessibility().prompts();
  const bool permission = service_->checkAccessibilityPermission(prompt);
  const bool prompted = platform_->scriptedAccessibility().prompts() > before;
  output_->line({{"permission", permission}, {"prompted", prompted}});
}

void ScenarioRun::describe(port::NodeId node, bool includeSiblings, std::optional<std::uint64_t> eventType) {
  const auto& desktop = platform_->desktop();
  const auto scope = platform_->accessibility().openReadScope();
  const ZQAccessibilityElement element(desktop.element(node));
  try {
    const ZQXPath path = element.xPath(includeSiblings, eventType);
    const auto itemValue = [](const ZQXPathItem& item) { return JsonValue::Array{item.role, item.name}; };
    output_->line({{"describe", JsonValue::Object{{"fullPath", path.fullPath},
                                                  {"url", path.url},
                                                  {"items", JsonValue::array(path.pathItems, itemValue)},
                                                  {"name", element.elementName(true)},
                                                  {"controlType", element.elementControlType()},
                                                  {"value", element.axValue()},
                                                  {"window", idValue(desktop, element.window())},
                                                  {"application", idValue(desktop, element.application())}}}});
  } catch (const port::PlatformException& raised) {
    platform_->logs().generalLog(raised.what());
  }
}

void ScenarioRun::showFile() {
  const auto content = platform_->folder().readFile();
  output_->line({{"file", content ? JsonValue(validUtf8(*content)) : JsonValue(nullptr)}});
}

void ScenarioRun::showRecords() {
  output_->line({{"records", JsonValue::array(ServiceInspector(*service_).records(), JsonValue::parse)}});
}

void ScenarioRun::showDefaults() {
  const auto entries = platform_->scriptedDefaults().entries();
  output_->line({{"defaults", JsonValue::Object(entries.begin(), entries.end())}});
}

void ScenarioRun::showService() {
  const ServiceInspector inspector(*service_);
  const auto watched = inspector.watchedPid();
  const CGSize frameSize = inspector.croppedFrameSize();
  const auto tierValue = [](ZQDeveloperLogTier tier) { return std::string(tier.rawValue()); };
  output_->line(
      {{"service", JsonValue::Object{{"paused", inspector.paused()},
                                     {"eventId", inspector.eventId()},
                                     {"running", inspector.running()},
                                     {"watching", watched ? JsonValue(std::int64_t{*watched}) : JsonValue(nullptr)},
                                     {"focused", idValue(platform_->desktop(), inspector.focusedElement())},
                                     {"urls", JsonValue::array(inspector.urls())},
                                     {"processes", JsonValue::array(inspector.processes())},
                                     {"croppedFrameSize", JsonValue::Array{frameSize.width, frameSize.height}},
                                     {"tiers", JsonValue::array(DeveloperTiers::get(), tierValue)}}}});
}

}  // namespace zqlogging
