#pragma once

#include <functional>
#include <string>

#include "platform/Session.h"
#include "platform/Workspace.h"

namespace zqlogging {

/// The care for the session that this process runs in. Looks over connections of its own, so that a look says how the
/// session is and not how ours stand.
class LinuxSession final : public port::Session {
 public:
  /// `cachesFolder` is called for each operation: the environment may change.
  LinuxSession(port::Workspace& workspace, std::function<std::string()> cachesFolder)
      : workspace_(workspace), cachesFolder_(std::move(cachesFolder)) {}

  port::SessionFacts look() override;
  std::unique_ptr<port::Announcement> announceListener(std::chrono::milliseconds patience) override;
  bool announceListenerForGood() override;
  void putBackLeftovers() override;
  bool repairCachesFolder() override;

 private:
  void lookAtApplications(port::SessionFacts& facts, std::uint64_t deadline);

  port::Workspace& workspace_;
  const std::function<std::string()> cachesFolder_;
};

}  // namespace zqlogging
