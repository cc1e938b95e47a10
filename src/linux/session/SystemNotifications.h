#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "linux/loop/BusSignals.h"
#include "platform/Workspace.h"

namespace zqlogging {

/// Power-off, sleep and wake from the login manager, lock and unlock from it and from the screen savers. Where one of
/// them is missing it just stays silent. Everything on the main thread.
class SystemNotifications {
 public:
  using Announce = std::function<void(port::NotificationName)>;

  explicit SystemNotifications(const Announce& announce);

 private:
  std::vector<std::unique_ptr<BusSignals>> buses_;
};

}  // namespace zqlogging
