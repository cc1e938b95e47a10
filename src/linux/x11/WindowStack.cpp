#include "linux/x11/WindowStack.h"

#include <xcb/res.h>

#include <algorithm>

#include "linux/x11/XConnection.h"

namespace zqlogging {

namespace {

using Window = WindowStack::Window;

constexpr std::size_t kMostIdleConnections = 2;
constexpr int kDeepestClient = 3;  // window managers put at most so many windows around a client's

std::vector<xcb_window_t> childrenIn(const xcb_query_tree_reply_t& tree) {
  const xcb_window_t* first = xcb_query_tree_children(&tree);
  return {first, first + xcb_query_tree_children_length(&tree)};
}

/// A window title is text of any kind; what isn't UTF-8 is of no use here.
bool isAscii(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// The client window that a window manager's frame holds, or the frame itself when it holds none.
xcb_window_t clientIn(XConnection& x, xcb_window_t frame, const std::vector<xcb_window_t>& clients) {
  constexpr std::size_t kMostWindows = 200;  // of a frame
  std::vector<xcb_window_t> level{frame};
  for (int depth = 0;; ++depth) {
    // Before any is asked for its children: every reply must be read, or the connection keeps it.
    const auto client = std::find_first_of(level.begin(), level.end(), clients.begin(), clients.end());
    if (client != level.end()) {
      return *client;
    }
    if (depth == kDeepestClient || level.empty() || level.size() > kMostWindows) {
      return frame;
    }
    std::vector<xcb_query_tree_cookie_t> cookies;
    for (const xcb_window_t window : level) {
      cookies.push_back(xcb_query_tree(x.get(), window));
    }
    level.clear();
    for (const auto cookie : cookies) {
      const auto tree = x.reply<xcb_query_tree_reply_t>(cookie);
      if (!tree) {
        continue;
      }
      const auto children = childrenIn(*tree);
      level.insert(level.end(), children.begin(), children.end());
    }
  }
}

/// The child of the root window above a window.
xcb_window_t topLevelOf(XConnection& x, xcb_window_t window) {
  for (int depth = 0; depth <= kDeepestClient; ++depth) {
    const auto tree = x.reply<xcb_query_tree_reply_t>(xcb_query_tree(x.get(), window));
    if (!tree || tree->parent == x.root() || tree->parent == XCB_NONE) {
      break;
    }
    window = tree->parent;
  }
  return window;
}

xcb_res_query_client_ids_cookie_t askPid(XConnection& x, xcb_window_t window) {
  const xcb_res_client_id_spec_t spec{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
  return xcb_res_query_client_ids(x.get(), 1, &spec);
}

std::optional<std::int32_t> pidFrom(XConnection& x, xcb_res_query_client_ids_cookie_t serverCookie,
                                    xcb_get_property_cookie_t propertyCookie) {
  const auto ids = x.reply<xcb_res_query_client_ids_reply_t>(serverCookie);
  const std::vector<std::uint32_t> claimed = x.numbers(propertyCookie);
  if (ids) {
    auto id = xcb_res_query_client_ids_ids_iterator(ids.get());
    for (; id.rem; xcb_res_client_id_value_next(&id)) {
      const bool isPid = id.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID;
      if (isPid && xcb_res_client_id_value_value_length(id.data) > 0) {
        return static_cast<std::int32_t>(*xcb_res_client_id_value_value(id.data));
      }
    }
  }
  return claimed.empty() ? std::nullopt : std::optional(static_cast<std::int32_t>(claimed.front()));
}

bool hasResourceExtension(XConnection& x) {
  const auto* extension = xcb_get_extension_data(x.get(), &xcb_res_id);
  return extension && extension->present;
}

/// Fills in what the client's window says of itself.
void describeClients(XConnection& x, std::vector<Window>& windows) {
  struct Cookies {
    xcb_get_geometry_cookie_t geometry;
    xcb_translate_coordinates_cookie_t position;
    xcb_res_query_client_ids_cookie_t ids;
    xcb_get_property_cookie_t pid, netName, name, type, className;
  };
  const bool serverKnowsPids = hasResourceExtension(x);
  std::vector<Cookies> asked;
  for (const Window& window : windows) {
    asked.push_back({xcb_get_geometry(x.get(), window.client),
                     xcb_translate_coordinates(x.get(), window.client, x.root(), 0, 0),
                     serverKnowsPids ? askPid(x, window.client) : xcb_res_query_client_ids_cookie_t{},
                     x.askProperty(window.client, x.atoms().netWmPid, XCB_ATOM_CARDINAL),
                     x.askProperty(window.client, x.atoms().netWmName, x.atoms().utf8String),
                     x.askProperty(window.client, XCB_ATOM_WM_NAME, XCB_ATOM_STRING),
                     x.askProperty(window.client, x.atoms().netWmWindowType, XCB_ATOM_ATOM),
                     x.askProperty(window.client, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING)});
  }
  for (std::size_t i = 0; i < windows.size(); ++i) {
    Window& window = windows[i];
    const auto geometry = x.reply<xcb_get_geometry_reply_t>(asked[i].geometry);
    const auto position = x.reply<xcb_translate_coordinates_reply_t>(asked[i].position);
    if (geometry && position) {
      window.clientFrame = {{double(position->dst_x), double(position->dst_y)},
                            {double(geometry->width), double(geometry->height)}};
    }
    if (serverKnowsPids) {
      window.pid = pidFrom(x, asked[i].ids, asked[i].pid);
    } else if (const auto claimed = x.numbers(asked[i].pid); !claimed.empty()) {
      window.pid = static_cast<std::int32_t>(claimed.front());
    }
    window.title = x.text(asked[i].netName);
    const std::string plainTitle = x.text(asked[i].name);
    if (window.title.empty() && isAscii(plainTitle)) {
      window.title = plainTitle;
    }
    const XConnection::Atoms& atoms = x.atoms();
    for (const std::uint32_t type : x.numbers(asked[i].type)) {
      if (type == atoms.typeToolTip) {
        window.type = WindowStack::Type::toolTip;
      }
      if (type == atoms.typeMenu || type == atoms.typePopupMenu || type == atoms.typeDropdownMenu ||
          type == atoms.typeCombo) {
        window.type = WindowStack::Type::menu;
      }
    }
    const std::string classNames = x.text(asked[i].className);  // instance and class, each with a final NUL
    const std::size_t end = classNames.find('\0');
    if (end != std::string::npos) {
      window.className = classNames.substr(end + 1, classNames.find('\0', end + 1) - end - 1);
    }
  }
}

/// The windows among the children of the root window that can be seen and take input, in the order given.
std::vector<Window> describe(XConnection& x, const std::vector<xcb_window_t>& topLevels) {
  struct Cookies {
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_geometry_cookie_t geometry;
  };
  std::vector<Cookies> asked;
  for (const xcb_window_t window : topLevels) {
    asked.push_back({xcb_get_window_attributes(x.get(), window), xcb_get_geometry(x.get(), window)});
  }
  const auto clientList = x.askProperty(x.root(), x.atoms().netClientList, XCB_ATOM_WINDOW);
  std::vector<Window> windows;
  for (std::size_t i = 0; i < topLevels.size(); ++i) {
    const auto attributes = x.reply<xcb_get_window_attributes_reply_t>(asked[i].attributes);
    const auto geometry = x.reply<xcb_get_geometry_reply_t>(asked[i].geometry);
    if (!attributes || !geometry || attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY) {
      continue;
    }
    Window window;
    window.id = window.client = topLevels[i];
    const double border = 2.0 * geometry->border_width;
    window.frame = {{double(geometry->x), double(geometry->y)}, {geometry->width + border, geometry->height + border}};
    window.viewable = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    window.overrideRedirect = attributes->override_redirect;
    if (window.viewable) {
      windows.push_back(window);
    }
  }
  const std::vector<xcb_window_t> clients = x.numbers(clientList);
  // A frame of the window manager is an override-redirect window in the eyes of the server, like a menu.
  for (Window& window : windows) {
    window.client = clientIn(x, window.id, clients);
    if (window.client != window.id) {
      window.overrideRedirect = false;
    }
  }
  describeClients(x, windows);
  return windows;
}

std::vector<xcb_window_t> topLevels(XConnection& x) {
  const auto tree = x.reply<xcb_query_tree_reply_t>(xcb_query_tree(x.get(), x.root()));
  if (!tree) {
    return {};
  }
  std::vector<xcb_window_t> children = childrenIn(*tree);
  std::reverse(children.begin(), children.end());
  return children;
}

}  // namespace

/// A connection for the calling thread, handed back afterwards unless it has become useless.
class WindowStack::Lease {
 public:
  explicit Lease(WindowStack& stack) : stack_(stack) {
    {
      const std::lock_guard lock(stack.mutex_);
      if (!stack.idle_.empty()) {
        connection_ = std::move(stack.idle_.back());
        stack.idle_.pop_back();
      }
    }
    if (!connection_ || !connection_->isUsable()) {
      connection_ = XConnection::open();
    }
    if (connection_) {
      connection_->startWaiting();
    }
  }
  Lease(const Lease&) = delete;
  Lease& operator=(const Lease&) = delete;
  ~Lease() {
    if (!connection_ || !connection_->isUsable()) {
      return;
    }
    const std::lock_guard lock(stack_.mutex_);
    if (stack_.idle_.size() < kMostIdleConnections) {
      stack_.idle_.push_back(std::move(connection_));
    }
  }
  explicit operator bool() const { return connection_ != nullptr; }
  XConnection& operator*() const { return *connection_; }

 private:
  WindowStack& stack_;
  std::unique_ptr<XConnection> connection_;
};

WindowStack::WindowStack() = default;
WindowStack::~WindowStack() = default;

bool WindowStack::isAvailable() { return static_cast<bool>(Lease(*this)); }

std::vector<Window> WindowStack::windows() {
  const Lease x(*this);
  return x ? describe(*x, topLevels(*x)) : std::vector<Window>();
}

std::optional<Window> WindowStack::windowAt(int px, int py) {
  const Lease lease(*this);
  if (!lease) {
    return std::nullopt;
  }
  XConnection& x = *lease;
  // The server's own answer respects the shapes of windows and where they take input.
  const auto at = x.reply<xcb_translate_coordinates_reply_t>(xcb_translate_coordinates(
      x.get(), x.root(), x.root(), static_cast<std::int16_t>(px), static_cast<std::int16_t>(py)));
  if (!at || at->child == XCB_NONE) {
    return std::nullopt;
  }
  std::vector<Window> found = describe(x, {at->child});
  if (!found.empty()) {
    return found.front();
  }
  // An input-only window lies on top: what is seen below it is meant.
  for (const Window& window : describe(x, topLevels(x))) {
    if (window.frame.contains({double(px), double(py)})) {
      return window;
    }
  }
  return std::nullopt;
}

std::optional<Window> WindowStack::activeWindow() {
  const Lease lease(*this);
  if (!lease) {
    return std::nullopt;
  }
  XConnection& x = *lease;
  const auto active = x.numbers(x.askProperty(x.root(), x.atoms().netActiveWindow, XCB_ATOM_WINDOW));
  if (active.empty() || active.front() == XCB_NONE) {
    return std::nullopt;
  }
  const std::vector<Window> found = describe(x, {topLevelOf(x, active.front())});
  return found.empty() ? std::nullopt : std::optional(found.front());
}

std::optional<Window> WindowStack::window(xcb_window_t window) {
  const Lease lease(*this);
  if (!lease) {
    return std::nullopt;
  }
  const std::vector<Window> found = describe(*lease, {topLevelOf(*lease, window)});
  return found.empty() ? std::nullopt : std::optional(found.front());
}

std::optional<std::int32_t> WindowStack::pidOfWindow(xcb_window_t window) {
  const Lease lease(*this);
  if (!lease) {
    return std::nullopt;
  }
  XConnection& x = *lease;
  const auto claimed = x.askProperty(window, x.atoms().netWmPid, XCB_ATOM_CARDINAL);
  if (hasResourceExtension(x)) {
    return pidFrom(x, askPid(x, window), claimed);
  }
  const auto numbers = x.numbers(claimed);
  return numbers.empty() ? std::nullopt : std::optional(static_cast<std::int32_t>(numbers.front()));
}

}  // namespace zqlogging
