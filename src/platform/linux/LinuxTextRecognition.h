#pragma once

#include "platform/TextRecognition.h"

namespace zqlogging {

/// Text recognition where no engine is there: every request fails and says so.
class LinuxTextRecognition final : public port::TextRecognition {
 public:
  port::TextAnswer recognize(const port::Image&, const port::TextRequest&) override {
    return port::TextRequestFailed{"no text recognition engine"};
  }
};

}  // namespace zqlogging
