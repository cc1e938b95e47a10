#include "zqlogging/Scenario.h"

#include <rapidjson/document.h>

#include <utility>
#include <vector>

#include "scenario/DesktopReader.h"
#include "scenario/ScenarioRun.h"
#include "scenario/StepReader.h"

namespace zqlogging {

ScenarioError::ScenarioError(std::string pointer, const std::string& message)
    : std::runtime_error(pointer.empty() ? message : pointer + ": " + message), pointer_(std::move(pointer)) {}

ScenarioError::~ScenarioError() = default;

/// A scenario that has been checked: its desktop, and its steps, which hold elements of that desktop.
struct Scenario::Player {
  std::shared_ptr<port::ScriptedPlatform> platform = std::make_shared<port::ScriptedPlatform>();
  std::vector<ScenarioStep> steps;
};

Scenario::Scenario(std::string_view json) : player_(std::make_unique<Player>()) {
  rapidjson::Document document;
  JsonFields fields(JsonCursor::parse(json, document));
  readDesktop(fields, *player_->platform);
  for (const auto& step : fields.required("steps").items()) {
    player_->steps.push_back(readStep(step, player_->platform->desktop()));
  }
  fields.finish();
}

Scenario::~Scenario() = default;

void Scenario::play(const std::function<void(const std::string& line)>& print) {
  if (!player_) {
    throw std::logic_error("a scenario is played once");
  }
  const auto player = std::move(player_);
  ScenarioRun(player->platform, print).play(player->steps);
}

}  // namespace zqlogging
