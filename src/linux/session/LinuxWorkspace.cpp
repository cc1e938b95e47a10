#include "linux/session/LinuxWorkspace.h"

#include <xcb/randr.h>
#include <xcb/res.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <utility>

#include "linux/accessibility/LinuxAccessibility.h"
#include "linux/atspi/AtspiEvents.h"
#include "linux/atspi/AtspiProcesses.h"
#include "linux/session/ApplicationIdentity.h"
#include "linux/session/SystemNotifications.h"
#include "linux/system/LinuxLogs.h"
#include "linux/x11/ActiveWindowWatch.h"
#include "linux/x11/XConnection.h"
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

CGRect flippedFrame(double left, double top, double width, double height) { return {{left, -top}, {width, height}}; }

/// The windows that the window manager manages, in the order in which they were mapped; without one, all top-levels.
std::vector<xcb_window_t> managedWindows(XConnection& x) {
  const auto list = x.askProperty(x.root(), x.atoms().netClientList, XCB_ATOM_WINDOW);
  const auto tree = xcb_query_tree(x.get(), x.root());
  std::vector<xcb_window_t> windows = x.numbers(list);
  const auto children = x.reply<xcb_query_tree_reply_t>(tree);
  if (windows.empty() && children) {
    const xcb_window_t* first = xcb_query_tree_children(children.get());
    windows.assign(first, first + xcb_query_tree_children_length(children.get()));
  }
  return windows;
}

std::optional<std::int32_t> pidIn(const xcb_res_query_client_ids_reply_t& ids) {
  for (auto id = xcb_res_query_client_ids_ids_iterator(&ids); id.rem != 0; xcb_res_client_id_value_next(&id)) {
    if ((id.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0 &&
        xcb_res_client_id_value_value_length(id.data) > 0) {
      return static_cast<std::int32_t>(*xcb_res_client_id_value_value(id.data));
    }
  }
  return std::nullopt;
}

}  // namespace

struct LinuxWorkspace::Subscriber {
  port::NotificationName name;
  std::function<void(const port::Notification&)> handler;
  std::atomic<bool> active = true;
};

class LinuxWorkspace::SubscriptionHandle final : public port::Subscription {
 public:
  SubscriptionHandle(LinuxWorkspace& workspace, std::shared_ptr<Subscriber> subscriber)
      : workspace_(workspace), subscriber_(std::move(subscriber)) {}
  SubscriptionHandle(const SubscriptionHandle&) = delete;
  SubscriptionHandle& operator=(const SubscriptionHandle&) = delete;
  ~SubscriptionHandle() override {
    subscriber_->active = false;
    {
      const std::lock_guard lock(workspace_.mutex_);
      std::erase(workspace_.subscribers_, subscriber_);
    }
    workspace_.adjustSources();
  }

 private:
  LinuxWorkspace& workspace_;
  const std::shared_ptr<Subscriber> subscriber_;
};

/// The workspace's connection to the X server for the calling thread, or one more while another thread has it.
class LinuxWorkspace::XLease {
 public:
  explicit XLease(LinuxWorkspace& workspace) : workspace_(workspace) {
    {
      const std::lock_guard lock(workspace.mutex_);
      x_ = std::move(workspace.x_);
    }
    if (!x_ || !x_->isUsable()) {
      x_ = XConnection::open();
    }
    if (x_) {
      x_->startWaiting();
    }
  }
  XLease(const XLease&) = delete;
  XLease& operator=(const XLease&) = delete;
  ~XLease() {
    const std::lock_guard lock(workspace_.mutex_);
    if (!workspace_.x_) {
      workspace_.x_ = std::move(x_);
    }
  }
  [[nodiscard]] XConnection* get() const { return x_.get(); }

 private:
  LinuxWorkspace& workspace_;
  std::unique_ptr<XConnection> x_;
};

LinuxWorkspace::LinuxWorkspace(LinuxAccessibility& accessibility) : accessibility_(accessibility) {}
LinuxWorkspace::~LinuxWorkspace() = default;

std::vector<LinuxWorkspace::ClientWindow> LinuxWorkspace::clientWindows() {
  const XLease lease(*this);
  XConnection* x = lease.get();
  if (x == nullptr) {
    return {};
  }
  const std::vector<xcb_window_t> windows = managedWindows(*x);
  std::map<xcb_window_t, ClientWindow> known;
  {
    const std::lock_guard lock(mutex_);
    known = clients_;
  }

  struct Asked {
    xcb_window_t window;
    xcb_get_property_cookie_t pid, applicationId, className;
    std::optional<xcb_res_query_client_ids_cookie_t> client;
  };
  const std::string_view idName = "_GTK_APPLICATION_ID";
  const auto idAtom = x->reply<xcb_intern_atom_reply_t>(
      xcb_intern_atom(x->get(), 0, static_cast<std::uint16_t>(idName.size()), idName.data()));
  const auto* resources = xcb_get_extension_data(x->get(), &xcb_res_id);
  std::vector<Asked> asked;
  for (const xcb_window_t window : windows) {
    const auto seen = known.find(window);
    // Numbers of windows are used again: what is known holds for the process that it was learnt from.
    const bool holds = seen != known.end() && seen->second.pid && seen->second.startedAt &&
                       startTime(*seen->second.pid) == seen->second.startedAt;
    if (holds || !idAtom) {
      continue;
    }
    Asked questions{window, x->askProperty(window, x->atoms().netWmPid, XCB_ATOM_CARDINAL),
                    x->askProperty(window, idAtom->atom, x->atoms().utf8String),
                    x->askProperty(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING), std::nullopt};
    if (resources != nullptr && resources->present != 0) {
      const xcb_res_client_id_spec_t spec{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
      questions.client = xcb_res_query_client_ids(x->get(), 1, &spec);
    }
    asked.push_back(questions);
  }
  for (const Asked& questions : asked) {
    ClientWindow client;
    // The server knows whose connection it is; what the window says may be a number of another process namespace.
    const auto claimed = x->numbers(questions.pid);
    client.applicationId = x->text(questions.applicationId);
    const std::string classes = x->text(questions.className);  // instance and class, each with a final NUL
    if (const auto end = classes.find('\0'); end != std::string::npos) {
      client.className = classes.substr(end + 1, classes.find('\0', end + 1) - end - 1);
    }
    if (questions.client) {
      if (const auto ids = x->reply<xcb_res_query_client_ids_reply_t>(*questions.client)) {
        client.pid = pidIn(*ids);
      }
    }
    if (!client.pid && !claimed.empty()) {
      client.pid = static_cast<std::int32_t>(claimed.front());
    }
    client.startedAt = client.pid ? startTime(*client.pid) : std::nullopt;
    known[questions.window] = std::move(client);
  }

  std::vector<ClientWindow> clients;
  std::map<xcb_window_t, ClientWindow> current;
  for (const xcb_window_t window : windows) {
    if (const auto found = known.find(window); found != known.end()) {
      clients.push_back(found->second);
      current.insert(*found);
    }
  }
  if (x->isUsable()) {
    const std::lock_guard lock(mutex_);
    clients_ = std::move(current);
  }
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

std::string LinuxWorkspace::identifierOf(std::int32_t pid, std::uint64_t startedAt) {
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
    for (const ClientWindow& client : clientWindows()) {
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
  return startedAt ? std::optional(makeApplication(pid, validUtf8(identifierOf(pid, *startedAt)))) : std::nullopt;
}

std::vector<port::RunningApplication> LinuxWorkspace::runningApplications() {
  std::vector<std::int32_t> pids;
  for (const ClientWindow& client : clientWindows()) {
    if (client.pid) {
      pids.push_back(*client.pid);
    }
  }
  for (const std::int32_t pid : processesOnAccessibilityBus()) {
    pids.push_back(pid);
  }
  // Of several applications with one identifier, the active one is found first.
  std::stable_partition(pids.begin(), pids.end(), [this](std::int32_t pid) { return pid == activePid_; });
  std::vector<port::RunningApplication> applications;
  for (const std::int32_t pid : pids) {
    const bool listed = std::any_of(applications.begin(), applications.end(),
                                    [pid](const auto& application) { return application.pid == pid; });
    if (auto application = listed ? std::nullopt : runningApplication(pid)) {
      applications.push_back(std::move(*application));
    }
  }
  return applications;
}

std::optional<std::int32_t> LinuxWorkspace::frontmostProcess() {
  if (const auto window = accessibility_.services().windows().activeWindow()) {
    return window->pid;
  }
  // Without a window manager there is the word of the applications.
  const std::int32_t active = activePid_;
  return active > 0 ? std::optional(active) : std::nullopt;
}

std::vector<CGRect> LinuxWorkspace::screens() {
  const XLease lease(*this);
  XConnection* x = lease.get();
  if (x == nullptr) {
    return {};
  }
  std::vector<CGRect> frames;
  const auto* randr = xcb_get_extension_data(x->get(), &xcb_randr_id);
  if (randr != nullptr && randr->present != 0) {
    // The server answers by the version that a client has said it knows.
    const auto version = xcb_randr_query_version(x->get(), XCB_RANDR_MAJOR_VERSION, XCB_RANDR_MINOR_VERSION);
    const auto asked = xcb_randr_get_monitors(x->get(), x->root(), 1);
    x->reply<xcb_randr_query_version_reply_t>(version);
    if (const auto monitors = x->reply<xcb_randr_get_monitors_reply_t>(asked)) {
      for (auto each = xcb_randr_get_monitors_monitors_iterator(monitors.get()); each.rem != 0;
           xcb_randr_monitor_info_next(&each)) {
        frames.push_back(flippedFrame(each.data->x, each.data->y, each.data->width, each.data->height));
      }
    }
  }
  if (frames.empty()) {
    if (const auto root = x->reply<xcb_get_geometry_reply_t>(xcb_get_geometry(x->get(), x->root()))) {
      frames.push_back(flippedFrame(0, 0, root->width, root->height));
    }
  }
  return frames;
}

std::unique_ptr<port::Subscription> LinuxWorkspace::subscribe(port::NotificationName name,
                                                              std::function<void(const port::Notification&)> handler) {
  auto subscriber = std::make_shared<Subscriber>();
  subscriber->name = name;
  subscriber->handler = std::move(handler);
  {
    const std::lock_guard lock(mutex_);
    subscribers_.push_back(subscriber);
  }
  auto subscription = std::make_unique<SubscriptionHandle>(*this, std::move(subscriber));
  adjustSources();
  return subscription;
}

void LinuxWorkspace::announceFrontmost() {
  runOn(g_main_context_default(), [this] {
    if (const auto pid = frontmostProcess()) {
      applicationActivated(*pid);
    }
  });
}

void LinuxWorkspace::adjustSources() {
  const std::lock_guard lock(sourcesMutex_);
  bool activation = false;
  bool system = false;
  {
    const std::lock_guard subscribersLock(mutex_);
    for (const auto& subscriber : subscribers_) {
      (subscriber->name == port::NotificationName::didActivateApplication ? activation : system) = true;
    }
  }
  if (activation && !activeWindow_ && !activatedWindows_) {
    activePid_ = 0;
    activeWindow_ = ActiveWindowWatch::start([this](xcb_window_t window) {
      if (const auto pid = accessibility_.services().windows().pidOfWindow(window)) {
        applicationActivated(*pid);
      }
    });
    if (!activeWindow_) {
      activatedWindows_ = accessibility_.subscribeActivation([this](std::int32_t pid) { applicationActivated(pid); });
    }
  } else if (!activation) {
    activeWindow_.reset();
    activatedWindows_.reset();
  }
  if (system && !system_) {
    system_ = std::make_unique<SystemNotifications>([this](port::NotificationName name) { deliver({name, {}}); });
  } else if (!system) {
    system_.reset();
  }
}

void LinuxWorkspace::applicationActivated(std::int32_t pid) {
  if (pid == activePid_) {
    return;
  }
  if (auto application = runningApplication(pid)) {
    activePid_ = pid;
    deliver({port::NotificationName::didActivateApplication, std::move(application)});
  }
}

void LinuxWorkspace::deliver(const port::Notification& notification) {
  std::vector<std::shared_ptr<Subscriber>> subscribers;
  {
    const std::lock_guard lock(mutex_);
    subscribers = subscribers_;
  }
  for (const auto& subscriber : subscribers) {
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
}

}  // namespace zqlogging
