#pragma once

#include <functional>
#include <map>
#include <memory>

#include "linux/loop/BusSignals.h"
#include "linux/loop/DesktopThread.h"
#include "platform/Workspace.h"

namespace zqlogging {

/// Power-off, sleep and wake from the login manager, lock and unlock from it and from the screen savers. Where one of
/// them is missing it just stays silent; a bus that goes away is looked for again. Belongs on the desktop thread, which
/// it keeps running.
class SystemNotifications : public std::enable_shared_from_this<SystemNotifications> {
 public:
  using Announce = std::function<void(port::NotificationName)>;

  SystemNotifications(std::shared_ptr<DesktopThread::Loop> loop, Announce announce);

  void start();

 private:
  class Lock;

  void listenTo(BusSignals::Bus which, bool wasThere);
  void addLoginManager(BusSignals& bus) const;
  void addScreenSavers(BusSignals& bus) const;

  const std::shared_ptr<DesktopThread::Loop> loop_;
  const Announce announce_;
  const std::shared_ptr<Lock> lock_;
  std::map<BusSignals::Bus, std::unique_ptr<BusSignals>> buses_;
};

}  // namespace zqlogging
