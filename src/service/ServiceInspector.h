#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Accessibility.h"
#include "zqlogging/Geometry.h"

namespace zqlogging {

class ZQLoggingervice;

/// Looks into a service, for the scenario player and the tests.
class ServiceInspector {
 public:
  explicit ServiceInspector(ZQLoggingervice& service) : service_(service) {}

  /// Waits until every event forwarded so far has been processed. Not from the worker itself.
  void waitForWorker();

  /// Tells the service that its file was changed behind its back; by itself it notices at the next chunk.
  void fileWasChanged();

  /// The JSON object form of each record in the list.
  [[nodiscard]] std::vector<std::string> records() const;
  [[nodiscard]] std::string filePath() const;
  [[nodiscard]] bool paused() const;
  [[nodiscard]] std::int64_t eventId() const;
  [[nodiscard]] bool running() const;
  [[nodiscard]] std::optional<std::int32_t> watchedPid() const;
  [[nodiscard]] port::ElementRef focusedElement() const;
  [[nodiscard]] std::vector<std::string> urls() const;
  [[nodiscard]] std::vector<std::string> processes() const;
  [[nodiscard]] CGSize croppedFrameSize() const;
  [[nodiscard]] bool isBlackListed(const std::string& path, const std::string& url) const;

 private:
  ZQLoggingervice& service_;
};

}  // namespace zqlogging
