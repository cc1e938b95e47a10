#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "scenario/ScenarioDelegate.h"
#include "scenario/ScenarioOutput.h"
#include "scripted/ScriptedPlatform.h"
#include "zqlogging/ZQLoggingervice.h"

namespace zqlogging {

class ScenarioRun;

/// One step, checked and ready to run.
using ScenarioStep = std::function<void(ScenarioRun&)>;

/// One service on one scripted desktop, and what steps do to them. On the main thread of the scenario, which is the
/// constructing one.
class ScenarioRun {
 public:
  ScenarioRun(std::shared_ptr<port::ScriptedPlatform> platform, ScenarioOutput::Print print);
  ~ScenarioRun();
  ScenarioRun(const ScenarioRun&) = delete;
  ScenarioRun& operator=(const ScenarioRun&) = delete;

  void play(const std::vector<ScenarioStep>& steps);

  ZQLoggingervice& service() { return *service_; }
  port::ScriptedPlatform& platform() { return *platform_; }
  ScenarioOutput& output() { return *output_; }
  const std::shared_ptr<ScenarioDelegate>& delegate() { return delegate_; }

  // Steps of more than one call.
  void stop();
  void restart(bool crash);
  void advance(double seconds);
  void checkPermission(bool prompt);
  void describe(port::NodeId node, bool includeSiblings, std::optional<std::uint64_t> eventType);
  void showFile();
  void showRecords();
  void showDefaults();
  void showService();

 private:
  void settleAll();
  void startService();

  std::shared_ptr<port::ScriptedPlatform> platform_;
  std::shared_ptr<ScenarioOutput> output_;
  std::shared_ptr<ScenarioDelegate> delegate_;
  std::shared_ptr<ZQLoggingervice> service_;
};

}  // namespace zqlogging
