#pragma once

#include <zqlogging/ZQLoggerDelegate.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "OutputLines.h"

/// A host that prints all it is told and gives every chunk the same answer.
class PrintingDelegate final : public zqlogging::ZQLoggerDelegate {
 public:
  explicit PrintingDelegate(bool answer) : answer_(answer) {}

  void onClick(const std::string& name, const std::string& path, const std::string& url,
               const std::vector<zqlogging::ZQTextDetection>& texts,
               const std::vector<zqlogging::ZQRectangleDetection>& rectangles, zqlogging::CGPoint point,
               bool isDown) override {
    printLine(clickLine(name, path, url, texts, rectangles, point, isDown));
  }
  void onLogChunkAvailable(const std::vector<zqlogging::EventDictionary>& events, const std::string& text, bool isLast,
                           std::function<void(bool)> completion) override {
    printLine(chunkLine(events, text, isLast));
    completion(answer_);
  }
  void onBlackListed(const std::string& name, const std::string& path, const std::string& url, bool flag) override {
    printLine(blackListedLine(name, path, url, flag));
  }

 private:
  const bool answer_;
};
