#include "PrivateDesktop.h"

#include <fcntl.h>
#include <glib.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>
#include <xcb/xtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

extern char** environ;

namespace zqlogging::testing {

using port::ElementRef;

bool eventually(const std::function<bool()>& condition) {
  constexpr gint64 kPatience = 30 * G_USEC_PER_SEC;
  constexpr guint kTurn = 20;  // milliseconds
  const gint64 deadline = g_get_monotonic_time() + kPatience;
  while (!condition()) {
    if (g_get_monotonic_time() > deadline) {
      return false;
    }
    bool over = false;
    const guint timer = g_timeout_add(
        kTurn,
        [](gpointer data) -> gboolean {
          *static_cast<bool*>(data) = true;
          return G_SOURCE_REMOVE;
        },
        &over);
    while (!over) {
      g_main_context_iteration(nullptr, TRUE);
    }
    (void)timer;
  }
  return true;
}

Program::Program(const std::vector<std::string>& command) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC)) {
    throw std::system_error(errno, std::generic_category(), "pipe");
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
  std::vector<char*> arguments;
  for (const std::string& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  const int failed = posix_spawnp(&pid_, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[0]);
  input_ = ends[1];
  if (failed) {
    throw std::system_error(failed, std::generic_category(), command[0]);
  }
}

Program::~Program() {
  close(input_);
  signal(SIGKILL);
  waitpid(pid_, nullptr, 0);
}

bool Program::isRunning() const {
  siginfo_t information{};
  return waitid(P_PID, static_cast<id_t>(pid_), &information, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         information.si_pid == 0;
}

void Program::send(const std::string& line) const {
  const std::string whole = line + "\n";
  if (write(input_, whole.data(), whole.size()) < 0) {
    throw std::system_error(errno, std::generic_category(), "write");
  }
}

void Program::signal(int number) const { kill(pid_, number); }

struct Input::Connection {
  xcb_connection_t* x = xcb_connect(nullptr, nullptr);
  xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(x)).data->root;

  Connection() = default;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() { xcb_disconnect(x); }

  void fake(std::uint8_t type, std::uint8_t detail, CGPoint point = {}, std::uint8_t device = 0) const {
    xcb_test_fake_input(x, type, detail, XCB_CURRENT_TIME, root, static_cast<std::int16_t>(point.x),
                        static_cast<std::int16_t>(point.y), device);
    // The reply to another request says that the server has come so far.
    std::free(xcb_get_input_focus_reply(x, xcb_get_input_focus(x), nullptr));
  }
  /// The key that has the symbol; 0 when none has.
  [[nodiscard]] std::uint8_t keycodeOf(std::uint32_t keysym) const {
    const xcb_setup_t* setup = xcb_get_setup(x);
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    xcb_get_keyboard_mapping_reply_t* mapping =
        xcb_get_keyboard_mapping_reply(x, xcb_get_keyboard_mapping(x, setup->min_keycode, count), nullptr);
    const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(mapping);
    int key = 0;
    while (key < count && keysyms[key * mapping->keysyms_per_keycode] != keysym) {
      ++key;
    }
    std::free(mapping);
    return key < count ? static_cast<std::uint8_t>(setup->min_keycode + key) : std::uint8_t{0};
  }
};

Input::Input() : connection_(std::make_unique<Connection>()) {}
Input::~Input() = default;

void Input::moveTo(CGPoint point) { connection_->fake(XCB_MOTION_NOTIFY, 0, point); }

void Input::click(CGPoint point, int button) {
  moveTo(point);
  connection_->fake(XCB_BUTTON_PRESS, static_cast<std::uint8_t>(button));
  connection_->fake(XCB_BUTTON_RELEASE, static_cast<std::uint8_t>(button));
}

void Input::pressKey(std::uint32_t keysym) {
  const std::uint8_t key = connection_->keycodeOf(keysym);
  connection_->fake(XCB_KEY_PRESS, key);
  connection_->fake(XCB_KEY_RELEASE, key);
}

void Input::pressLocalKey(std::uint32_t keysym) {
  // The events of the input extension's first version, which name the device that they come from.
  constexpr const char kExtension[] = "XInputExtension";
  constexpr std::uint8_t kDeviceKeyPress = 1, kDeviceKeyRelease = 2, kEyboardOfXvfb = 7;
  xcb_query_extension_reply_t* found = xcb_query_extension_reply(
      connection_->x, xcb_query_extension(connection_->x, sizeof kExtension - 1, kExtension), nullptr);
  const std::uint8_t key = connection_->keycodeOf(keysym);
  for (const std::uint8_t event : {kDeviceKeyPress, kDeviceKeyRelease}) {
    connection_->fake(static_cast<std::uint8_t>(found->first_event + event), key, {}, kEyboardOfXvfb);
  }
  std::free(found);
}

std::vector<std::string> browserCommand() {
  return {"chromium",
          "--no-sandbox",
          "--force-renderer-accessibility",
          "--no-first-run",
          "--disable-gpu",
          "--user-data-dir=" + std::string(std::getenv("HOME")) + "/chromium",
          "--window-position=40,40",
          "--window-size=900,900",
          PAGE};
}

namespace {

sd_bus* connectTo(Bus which) {
  sd_bus *session = nullptr, *bus = nullptr;
  sd_bus_open_user(&session);
  if (which == Bus::session) {
    return session;
  }
  sd_bus_message* reply = nullptr;
  const char* address = nullptr;
  if (sd_bus_call_method(session, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", nullptr, &reply, "") >=
          0 &&
      sd_bus_message_read(reply, "s", &address) > 0) {
    sd_bus_new(&bus);
    sd_bus_set_address(bus, address);
    sd_bus_set_bus_client(bus, 1);
    sd_bus_start(bus);
  }
  sd_bus_message_unref(reply);
  sd_bus_close_unref(session);
  return bus;
}

}  // namespace

pid_t ownerOf(Bus which, const std::string& name) {
  sd_bus* bus = connectTo(which);
  sd_bus_message* reply = nullptr;
  std::uint32_t pid = 0;
  if (bus && sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                "GetConnectionUnixProcessID", nullptr, &reply, "s", name.c_str()) >= 0) {
    sd_bus_message_read(reply, "u", &pid);
    sd_bus_message_unref(reply);
  }
  sd_bus_close_unref(bus);
  return static_cast<pid_t>(pid);
}

std::size_t matchRules() {
  sd_bus* bus = connectTo(Bus::accessibility);
  sd_bus_message* reply = nullptr;
  std::size_t count = 0;
  if (sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.Debug.Stats",
                         "GetAllMatchRules", nullptr, &reply, "") < 0) {
    throw std::runtime_error("the accessibility bus does not tell its match rules");
  }
  const char* text = nullptr;
  sd_bus_message_enter_container(reply, 'a', "{sas}");
  while (sd_bus_message_enter_container(reply, 'e', "sas") > 0) {
    sd_bus_message_read(reply, "s", &text);
    sd_bus_message_enter_container(reply, 'a', "s");
    while (sd_bus_message_read(reply, "s", &text) > 0) {
      ++count;
    }
    sd_bus_message_exit_container(reply);
    sd_bus_message_exit_container(reply);
  }
  sd_bus_message_unref(reply);
  sd_bus_close_unref(bus);
  return count;
}

std::size_t entriesOf(const std::string& directory) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(directory), {}));
}

std::string textOf(const ElementRef& element, const std::string& attribute) {
  if (!element) {
    return {};
  }
  const auto value = element->copyAttributeValue(attribute);
  const auto* text = value ? std::get_if<std::string>(&value.value) : nullptr;
  return text ? *text : std::string();
}

std::string valueOf(const ElementRef& element, const std::string& attribute) {
  if (!element) {
    return "no element";
  }
  const auto read = element->copyAttributeValue(attribute);
  if (!read) {
    return "-";
  }
  const port::Value& value = read.value;
  if (const auto* text = std::get_if<std::string>(&value)) {
    return *text;
  }
  if (const auto* flag = std::get_if<bool>(&value)) {
    return *flag ? "true" : "false";
  }
  if (const auto* number = std::get_if<std::int64_t>(&value)) {
    return std::to_string(*number);
  }
  if (const auto* real = std::get_if<double>(&value)) {
    return std::to_string(*real).substr(0, 4);
  }
  if (const auto* url = std::get_if<port::Url>(&value)) {
    return "<" + url->absoluteString + ">";
  }
  if (const auto* other = std::get_if<ElementRef>(&value)) {
    return describe(*other);
  }
  return "?";
}

std::vector<ElementRef> childrenOf(const ElementRef& element) {
  std::vector<ElementRef> elements;
  if (!element) {
    return elements;
  }
  const auto children = element->copyAttributeValue("AXChildren");
  if (!children) {
    return elements;
  }
  for (const port::Value& child : std::get<port::Array>(children.value)) {
    elements.push_back(std::get<ElementRef>(child));
  }
  return elements;
}

CGRect frameOf(const ElementRef& element) {
  if (!element) {
    return {};
  }
  const auto frame = element->copyAttributeValue("AXFrame");
  return frame ? std::get<CGRect>(frame.value) : CGRect();
}

CGPoint middleOf(const CGRect& frame) {
  return {frame.origin.x + frame.size.width / 2, frame.origin.y + frame.size.height / 2};
}

ElementRef find(const ElementRef& root, const std::string& role, const std::string& name) {
  if (!root) {
    return nullptr;
  }
  if (textOf(root, "AXRole") == role) {
    const std::string title = textOf(root, "AXTitle");
    if ((title.empty() ? textOf(root, "AXValue") : title) == name) {
      return root;
    }
  }
  for (const ElementRef& child : childrenOf(root)) {
    if (ElementRef found = find(child, role, name)) {
      return found;
    }
  }
  return nullptr;
}

std::string describe(const ElementRef& element) {
  return element ? textOf(element, "AXRole") + ":" + textOf(element, "AXTitle") : "none";
}

std::string pathOf(const ElementRef& element) {
  if (!element) {
    return "none";
  }
  const auto parent = element->copyAttributeValue("AXParent");
  return (parent ? pathOf(std::get<ElementRef>(parent.value)) + "/" : "") + describe(element);
}

}  // namespace zqlogging::testing
