#pragma once

#include <atomic>
#include <memory>

#include "scenario/ScenarioOutput.h"
#include "zqlogging/ZQLoggerDelegate.h"

namespace zqlogging {

/// The host of a scenario: prints what it is told, and answers chunks as it was told to.
class ScenarioDelegate final : public ZQLoggerDelegate {
 public:
  enum class Answer { yes, no, never };

  explicit ScenarioDelegate(std::shared_ptr<ScenarioOutput> output) : output_(std::move(output)) {}

  void setAnswer(Answer answer) { answer_ = answer; }

  void onClick(const std::string& elementName, const std::string& elementPath, const std::string& url,
               const std::vector<ZQTextDetection>& texts, const std::vector<ZQRectangleDetection>& rectangles,
               CGPoint point, bool isDown) override;
  void onLogChunkAvailable(const std::vector<EventDictionary>& events, const std::string& text, bool isLastChunk,
                           std::function<void(bool)> completion) override;
  void onBlackListed(const std::string& elementName, const std::string& elementPath, const std::string& url,
                     bool flag) override;

 private:
  const std::shared_ptr<ScenarioOutput> output_;
  std::atomic<Answer> answer_ = Answer::no;
};

}  // namespace zqlogging
