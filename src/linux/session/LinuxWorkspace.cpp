#include "linux/session/LinuxWorkspace.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <iterator>
#include <set>
#include <utility>

#include "linux/accessibility/LinuxAccessibility.h"
#include "linux/atspi/AtspiEvents.h"
#include "linux/atspi/AtspiProcesses.h"
#include "linux/session/ApplicationIdentity.h"
#include "linux/session/SystemNotifications.h"
#include "linux/system/LinuxLogs.h"
#include "linux/x11/ActiveWindowWatch.h"
#include "text/Text.h"

namespace zqlogging {
namespace {

constexpr double kRegistrySeconds = 0.25;

port::RunningApplication makeApplication(std::int32_t pid, std::string identifier) {
  port::RunningApplication application;
  application.pid = pid;
  application.description = identifier + " (process " + std::to_string(pid) + ")";
  if (!identifier.empty()) {
    application.bundleIdentifier = std::move(identifier);
  }
  application.executable = validUtf8(executableName(pid).value_or(""));
  return application;
}

/// The windows that the window manager manages, in the order in which they were mapped; without one, all top-levels.
std::vector<xcb_window_t> managedWindows(XConnection& x) {
  const auto list = x.requestProperty(x.root(), x.atoms().netClientList, XCB_ATOM_WINDOW);
  const auto tree = xcb_query_tree(x.get(), x.root());
  std::vector<xcb_window_t> windows = x.numbers(list);
  const auto children = x.reply<xcb_query_tree_reply_t>(tree);
  const bool isManaged =
      !windows.empty() || !x.numbers(x.requestProperty(x.root(), x.atoms().netSupported, XCB_ATOM_ATOM)).empty();
  if (!isManaged && children) {
    const xcb_window_t* first = xcb_query_tree_children(children.get());
    windows.assign(first, first + xcb_query_tree_children_length(children.get()));
  }
  return windows;
}

/// The start times of processes, each read once.
class StartTimes {
 public:
  std::optional<std::uint64_t> of(std::int32_t pid) {
    const auto [place, isNew] = known_.try_emplace(pid);
    if (isNew) {
      place->second = startTime(pid);
    }
    return place->second;
  }

 private:
  std::map<std::int32_t, std::optional<std::uint64_t>> known_;
};

}  // namespace

/// Those who listen. Outlives the workspace for as long as a notification is on its way.
struct LinuxWorkspace::Subscribers {
  struct One {
    port::NotificationName name;
    std::function<void(const port::Notification&)> handler;
    std::atomic<bool> active = true;
  };
  std::mutex mutex;
  std::vector<std::shared_ptr<One>> all;

  std::vector<std::shared_ptr<One>> current() {
    const std::lock_guard lock(mutex);
    return all;
  }
};

class LinuxWorkspace::SubscriptionHandle final : public port::Subscription {
 public:
  SubscriptionHandle(LinuxWorkspace& workspace, std::shared_ptr<Subscribers::One> subscriber)
      : workspace_(workspace), subscriber_(std::move(subscriber)) {}
  SubscriptionHandle(const SubscriptionHandle&) = delete;
  SubscriptionHandle& operator=(const SubscriptionHandle&) = delete;
  ~SubscriptionHandle() override {
    subscriber_->active = false;
    {
      const std::lock_guard lock(workspace_.subscribers_->mutex);
      std::erase(workspace_.subscribers_->all, subscriber_);
    }
    workspace_.thread_.run([&workspace = workspace_] { workspace.adjustSources(); });
  }

 private:
  LinuxWorkspace& workspace_;
  const std::shared_ptr<Subscribers::One> subscriber_;
};

LinuxWorkspace::LinuxWorkspace(LinuxAccessibility& accessibility, DesktopThread& thread)
    : accessibility_(accessibility),
      server_(accessibility.services().windows().server()),
      thread_(thread),
      screens_(server_),
      subscribers_(std::make_shared<Subscribers>()),
      handover_(std::make_shared<Handover>(nullptr)) {}
LinuxWorkspace::~LinuxWorkspace() = default;

std::optional<std::vector<LinuxWorkspace::ClientWindow>> LinuxWorkspace::clientWindows() {
  constexpr std::size_t kAtOnce = 100;  // see WindowStack: the connection must never be full
  if (!XServer::isNamed()) {
    return std::vector<ClientWindow>();
  }
  const XServer::Lease x(server_);
  if (!x) {
    return std::nullopt;
  }
  const std::vector<xcb_window_t> windows = managedWindows(*x);
  std::map<xcb_window_t, ClientWindow> known;
  {
    const std::lock_guard lock(mutex_);
    known = clients_;
  }
  // Numbers of windows are used again: what is known holds for the process that it was learnt from.
  StartTimes startTimes;
  std::vector<xcb_window_t> unknown;
  std::copy_if(windows.begin(), windows.end(), std::back_inserter(unknown), [&](xcb_window_t window) {
    const auto seen = known.find(window);
    return seen == known.end() || !seen->second.pid || !seen->second.startedAt ||
           startTimes.of(*seen->second.pid) != seen->second.startedAt;
  });

  struct Requests {
    xcb_window_t window;
    XConnection::ProcessRequest process;
    xcb_get_property_cookie_t applicationId, className;
  };
  for (std::size_t from = 0; from < unknown.size() && x->isUsable(); from += kAtOnce) {
    x->startWaiting();
    std::vector<Requests> requests;
    for (std::size_t i = from; i < std::min(from + kAtOnce, unknown.size()); ++i) {
      requests.push_back({unknown[i], x->requestProcess(unknown[i]),
                          x->requestProperty(unknown[i], x->atoms().gtkApplicationId, x->atoms().utf8String),
                          x->requestProperty(unknown[i], XCB_ATOM_WM_CLASS, XCB_ATOM_STRING)});
    }
    for (const Requests& each : requests) {
      ClientWindow client;
      client.pid = x->process(each.process);
      client.applicationId = x->text(each.applicationId);
      client.className = x->className(each.className);
      client.startedAt = client.pid ? startTimes.of(*client.pid) : std::nullopt;
      known[each.window] = std::move(client);
    }
  }
  if (!x->isUsable()) {
    return std::nullopt;
  }

  std::vector<ClientWindow> clients;
  std::map<xcb_window_t, ClientWindow> current;
  for (const xcb_window_t window : windows) {
    if (const auto found = known.find(window); found != known.end()) {
      clients.push_back(found->second);
      current.insert(*found);
    }
  }
  const std::lock_guard lock(mutex_);
  clients_ = std::move(current);
  return clients;
}

std::vector<std::int32_t> LinuxWorkspace::processesOnAccessibilityBus() {
  std::vector<std::int32_t> pids;
  accessibility_.services().withBatch([&](AtspiBatch& batch) {
    for (const AtspiObject& root : readAllRoots(batch, kRegistrySeconds)) {
      if (const auto pid = readProcess(root, batch, kRegistrySeconds)) {
        pids.push_back(*pid);
      }
    }
  });
  return pids;
}

/// Nothing when the X server, which may know more than the process, can't be asked.
std::optional<std::string> LinuxWorkspace::identifierOf(std::int32_t pid, std::uint64_t startedAt) {
  {
    const std::lock_guard lock(mutex_);
    if (const auto known = identities_.find(pid); known != identities_.end() && known->second.startTime == startedAt) {
      return known->second.identifier;
    }
  }
  std::string applicationId;
  std::string className;
  auto entry = launchedDesktopEntry(pid);
  if (!entry) {
    const auto clients = clientWindows();
    if (!clients) {
      return std::nullopt;
    }
    for (const ClientWindow& client : *clients) {
      if (client.pid == pid) {
        applicationId = applicationId.empty() ? client.applicationId : applicationId;
        className = className.empty() ? client.className : className;
      }
    }
  }
  std::string identifier = entry ? *entry : !applicationId.empty() ? applicationId : className;
  if (identifier.empty()) {
    return executableName(pid).value_or("");  // not kept: its windows may be still to come
  }
  const std::lock_guard lock(mutex_);
  std::erase_if(identities_, [](const auto& known) { return startTime(known.first) != known.second.startTime; });
  identities_[pid] = {startedAt, identifier};
  return identifier;
}

std::optional<port::RunningApplication> LinuxWorkspace::runningApplication(std::int32_t pid) {
  const auto startedAt = pid > 0 ? startTime(pid) : std::nullopt;
  const auto identifier = startedAt ? identifierOf(pid, *startedAt) : std::nullopt;
  return identifier ? std::optional(makeApplication(pid, validUtf8(*identifier))) : std::nullopt;
}

std::vector<port::RunningApplication> LinuxWorkspace::runningApplications() {
  std::vector<std::int32_t> pids;
  for (const ClientWindow& client : clientWindows().value_or(std::vector<ClientWindow>())) {
    if (client.pid) {
      pids.push_back(*client.pid);
    }
  }
  for (const std::int32_t pid : processesOnAccessibilityBus()) {
    pids.push_back(pid);
  }
  // Of several applications with one identifier, the active one is found first.
  std::stable_partition(pids.begin(), pids.end(), [this](std::int32_t pid) { return pid == activePid_; });
  std::set<std::int32_t> listed;
  std::vector<port::RunningApplication> applications;
  for (const std::int32_t pid : pids) {
    if (auto application = listed.insert(pid).second ? runningApplication(pid) : std::nullopt) {
      applications.push_back(std::move(*application));
    }
  }
  return applications;
}

std::optional<std::int32_t> LinuxWorkspace::frontmostProcess() {
  const auto window = accessibility_.services().windows().activeWindow();
  if (window || window.code == port::ResultCode::cannotComplete) {
    return window->pid;
  }
  // Without a window manager there is the word of the applications.
  const std::int32_t active = activePid_;
  return active > 0 ? std::optional(active) : std::nullopt;
}

std::unique_ptr<port::Subscription> LinuxWorkspace::subscribe(port::NotificationName name,
                                                              std::function<void(const port::Notification&)> handler) {
  auto subscriber = std::make_shared<Subscribers::One>();
  subscriber->name = name;
  subscriber->handler = std::move(handler);
  {
    const std::lock_guard lock(subscribers_->mutex);
    subscribers_->all.push_back(subscriber);
  }
  thread_.run([this] { adjustSources(); });
  return std::make_unique<SubscriptionHandle>(*this, std::move(subscriber));
}

void LinuxWorkspace::announceFrontmost() {
  thread_.run([this] {
    if (const auto pid = frontmostProcess()) {
      applicationActivated(*pid);
    }
  });
}

void LinuxWorkspace::adjustSources() {
  bool activation = false;
  bool system = false;
  for (const auto& subscriber : subscribers_->current()) {
    (subscriber->name == port::NotificationName::didActivateApplication ? activation : system) = true;
  }
  if (activation && !activeWindow_) {
    activePid_ = 0;
    const auto changed = [this](xcb_window_t window) { return windowActivated(window); };
    // Where no window manager tells the active window, applications do.
    const auto following = [this](bool isFollowing) {
      activatedWindows_.reset();
      if (!isFollowing) {
        activatedWindows_ = accessibility_.subscribeActivation(
            [this](std::int32_t pid) { thread_.run([this, pid] { applicationActivated(pid); }); });
      }
    };
    activeWindow_ = std::make_shared<ActiveWindowWatch>(server_, thread_.loop(), changed, following);
    activeWindow_->start();
  } else if (!activation) {
    activeWindow_.reset();
    activatedWindows_.reset();
  }
  if (system && !system_) {
    system_ = std::make_shared<SystemNotifications>(thread_.loop(), [this](port::NotificationName name) {
      deliver({name, {}});
    });
    system_->start();
  } else if (!system) {
    system_.reset();
  }
}

/// False when it couldn't be told whose the window is.
bool LinuxWorkspace::windowActivated(xcb_window_t window) {
  const auto pid = accessibility_.services().windows().pidOfWindow(window);
  return pid ? applicationActivated(*pid) : pid.code != port::ResultCode::cannotComplete;
}

/// False when it couldn't be told which application it is.
bool LinuxWorkspace::applicationActivated(std::int32_t pid) {
  if (pid == activePid_) {
    return true;
  }
  auto application = runningApplication(pid);
  if (!application) {
    return !startTime(pid);
  }
  activePid_ = pid;
  deliver({port::NotificationName::didActivateApplication, std::move(application)});
  return true;
}

void LinuxWorkspace::deliver(const port::Notification& notification) {
  // Of an application's activations the newest counts; everything else is told each time.
  constexpr Handover::Key kNotMerged = Handover::Key{1} << 32;
  const Handover::Key key = notification.application ? static_cast<Handover::Key>(notification.application->pid)
                                                     : kNotMerged + notificationsDelivered_++;
  handover_->post(key, [subscribers = subscribers_, notification] {
    for (const auto& subscriber : subscribers->current()) {
      if (subscriber->name != notification.name || !subscriber->active) {
        continue;
      }
      try {
        subscriber->handler(notification);
      } catch (const std::exception& error) {
        LinuxLogs().generalLog(std::string("ZQLogging: a notification could not be handled: ") + error.what());
      } catch (...) {
        LinuxLogs().generalLog("ZQLogging: a notification could not be handled");
      }
    }
  });
}

}  // namespace zqlogging
