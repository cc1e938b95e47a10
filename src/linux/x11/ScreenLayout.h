#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "linux/x11/XServer.h"
#include "platform/ResultCode.h"
#include "zqlogging/Geometry.h"

namespace zqlogging {

/// The monitors of the X server. They are asked for once and again when the server has said that they have changed;
/// in between no answer is waited for. Any thread.
class ScreenLayout {
 public:
  explicit ScreenLayout(XServer& server) : server_(server) {}

  /// Monitors at (left, -top): so a point flipped by a screen's height is exact however screens stand side by side.
  /// cannotComplete where the server can't be asked, within a quarter of a second, and has not been asked before.
  port::Result<std::vector<CGRect>> frames();

 private:
  XServer& server_;
  std::mutex mutex_;
  std::unique_ptr<XConnection> watch_;  ///< hears of changes; null while a thread uses it
  std::optional<std::vector<CGRect>> known_;
};

}  // namespace zqlogging
