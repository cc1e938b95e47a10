#pragma once

#include <memory>
#include <mutex>

#include "platform/TextRecognition.h"

namespace zqlogging::port {

/// What every text recognizer of a scripted desktop answers, whatever it is shown.
class ScriptedRecognition {
 public:
  ScriptedRecognition() : answer_(std::make_shared<Answer>()) {}

  void setAnswer(TextAnswer value) {
    const std::lock_guard lock(answer_->mutex);
    answer_->value = std::move(value);
  }
  [[nodiscard]] std::unique_ptr<TextRecognition> createRecognizer() const {
    return std::make_unique<Recognizer>(answer_);
  }

 private:
  struct Answer {
    std::mutex mutex;
    TextAnswer value;  // an empty list of observations at first
  };
  class Recognizer final : public TextRecognition {
   public:
    explicit Recognizer(std::shared_ptr<Answer> answer) : answer_(std::move(answer)) {}
    TextAnswer recognize(const Image& /*image*/, const TextRequest& /*request*/) override {
      const std::lock_guard lock(answer_->mutex);
      return answer_->value;
    }

   private:
    std::shared_ptr<Answer> answer_;
  };

  std::shared_ptr<Answer> answer_;
};

}  // namespace zqlogging::port
