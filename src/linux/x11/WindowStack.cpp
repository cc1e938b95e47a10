#include "linux/x11/WindowStack.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <set>
#include <string_view>

#include "linux/system/MonotonicTime.h"

namespace zqlogging {
namespace {

using port::Result;
using port::ResultCode;
using Window = WindowStack::Window;

constexpr int kMaxClientDepth = 3;  // window managers put at most so many windows around a client's

std::vector<xcb_window_t> childrenIn(const xcb_query_tree_reply_t& tree) {
  const xcb_window_t* first = xcb_query_tree_children(&tree);
  return {first, first + xcb_query_tree_children_length(&tree)};
}

/// A window title is text of any kind; what isn't UTF-8 is of no use here.
bool isAscii(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// The client windows that window managers' frames hold, or the frames themselves where they hold none.
std::vector<xcb_window_t> clientsIn(XConnection& x, const std::vector<xcb_window_t>& frames,
                                    const std::set<xcb_window_t>& clients) {
  constexpr std::size_t kMaxWindows = 200;  // of a frame
  std::vector<xcb_window_t> found = frames;
  std::vector<std::vector<xcb_window_t>> levels;
  for (const xcb_window_t frame : frames) {
    levels.push_back({frame});
  }
  for (int depth = 0; depth <= kMaxClientDepth; ++depth) {
    std::vector<std::vector<xcb_query_tree_cookie_t>> requests(frames.size());
    for (std::size_t i = 0; i < frames.size(); ++i) {
      const auto client = std::find_if(levels[i].begin(), levels[i].end(),
                                       [&](xcb_window_t window) { return clients.contains(window); });
      if (client != levels[i].end()) {
        found[i] = *client;
      } else if (depth < kMaxClientDepth && levels[i].size() <= kMaxWindows) {
        std::transform(levels[i].begin(), levels[i].end(), std::back_inserter(requests[i]),
                       [&](xcb_window_t window) { return xcb_query_tree(x.get(), window); });
      }
    }
    for (std::size_t i = 0; i < frames.size(); ++i) {
      levels[i].clear();
      for (const auto request : requests[i]) {
        if (const auto tree = x.reply<xcb_query_tree_reply_t>(request)) {
          const auto children = childrenIn(*tree);
          levels[i].insert(levels[i].end(), children.begin(), children.end());
        }
      }
    }
  }
  return found;
}

/// The child of the root window above a window.
xcb_window_t topLevelOf(XConnection& x, xcb_window_t window) {
  for (int depth = 0; depth <= kMaxClientDepth; ++depth) {
    const auto tree = x.reply<xcb_query_tree_reply_t>(xcb_query_tree(x.get(), window));
    if (!tree || tree->parent == x.root() || tree->parent == XCB_NONE) {
      break;
    }
    window = tree->parent;
  }
  return window;
}

/// Fills in what the client's window says of itself.
void describeClients(XConnection& x, std::vector<Window>& windows) {
  struct Requests {
    xcb_get_geometry_cookie_t geometry;
    xcb_translate_coordinates_cookie_t position;
    XConnection::ProcessRequest process;
    xcb_get_property_cookie_t netName, name, type, className;
  };
  const XConnection::Atoms& atoms = x.atoms();
  std::vector<Requests> requests;
  for (const Window& window : windows) {
    requests.push_back(
        {xcb_get_geometry(x.get(), window.client), xcb_translate_coordinates(x.get(), window.client, x.root(), 0, 0),
         x.requestProcess(window.client), x.requestProperty(window.client, atoms.netWmName, atoms.utf8String),
         x.requestProperty(window.client, XCB_ATOM_WM_NAME, XCB_ATOM_STRING),
         x.requestProperty(window.client, atoms.netWmWindowType, XCB_ATOM_ATOM),
         x.requestProperty(window.client, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING)});
  }
  for (std::size_t i = 0; i < windows.size(); ++i) {
    Window& window = windows[i];
    const auto geometry = x.reply<xcb_get_geometry_reply_t>(requests[i].geometry);
    const auto position = x.reply<xcb_translate_coordinates_reply_t>(requests[i].position);
    if (geometry && position) {
      window.clientFrame = {{double(position->dst_x), double(position->dst_y)},
                            {double(geometry->width), double(geometry->height)}};
    }
    window.pid = x.process(requests[i].process);
    window.title = x.text(requests[i].netName);
    const std::string plainTitle = x.text(requests[i].name);
    if (window.title.empty() && isAscii(plainTitle)) {
      window.title = plainTitle;
    }
    for (const std::uint32_t type : x.numbers(requests[i].type)) {
      if (type == atoms.typeToolTip) {
        window.type = WindowStack::Type::toolTip;
      }
      if (type == atoms.typeMenu || type == atoms.typePopupMenu || type == atoms.typeDropdownMenu ||
          type == atoms.typeCombo) {
        window.type = WindowStack::Type::menu;
      }
    }
    window.className = x.className(requests[i].className);
  }
}

/// The windows among the children of the root window that can be seen and take input, in the order given. So few at a
/// time that the requests never fill the connection: xcb would wait for a server that doesn't read without end.
std::vector<Window> describe(XConnection& x, const std::vector<xcb_window_t>& topLevels,
                             const std::set<xcb_window_t>& clients) {
  struct Requests {
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_geometry_cookie_t geometry;
  };
  std::vector<Requests> requests;
  for (const xcb_window_t window : topLevels) {
    requests.push_back({xcb_get_window_attributes(x.get(), window), xcb_get_geometry(x.get(), window)});
  }
  std::vector<Window> windows;
  std::vector<xcb_window_t> frames;
  for (std::size_t i = 0; i < topLevels.size(); ++i) {
    const auto attributes = x.reply<xcb_get_window_attributes_reply_t>(requests[i].attributes);
    const auto geometry = x.reply<xcb_get_geometry_reply_t>(requests[i].geometry);
    if (!attributes || !geometry || attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY ||
        attributes->map_state != XCB_MAP_STATE_VIEWABLE) {
      continue;
    }
    Window window;
    window.id = topLevels[i];
    const double border = 2.0 * geometry->border_width;
    window.frame = {{double(geometry->x), double(geometry->y)}, {geometry->width + border, geometry->height + border}};
    window.viewable = true;
    window.overrideRedirect = attributes->override_redirect != 0;
    windows.push_back(window);
    frames.push_back(window.id);
  }
  const std::vector<xcb_window_t> found = clientsIn(x, frames, clients);
  for (std::size_t i = 0; i < windows.size(); ++i) {
    windows[i].client = found[i];
    // A frame of the window manager is an override-redirect window in the eyes of the server, like a menu.
    windows[i].overrideRedirect = windows[i].overrideRedirect && found[i] == frames[i];
  }
  describeClients(x, windows);
  return windows;
}

std::set<xcb_window_t> clientList(XConnection& x) {
  const auto clients = x.numbers(x.requestProperty(x.root(), x.atoms().netClientList, XCB_ATOM_WINDOW));
  return {clients.begin(), clients.end()};
}

/// What has been found, unless the server has been too late to tell.
template <class T>
Result<T> told(const XConnection& x, std::optional<T> found) {
  if (!x.isUsable()) {
    return ResultCode::cannotComplete;
  }
  return found ? Result<T>(std::move(*found)) : Result<T>(ResultCode::noValue);
}

Result<Window> describeOne(XConnection& x, xcb_window_t topLevel) {
  const auto found = describe(x, {topLevel}, clientList(x));
  return told(x, found.empty() ? std::nullopt : std::optional(found.front()));
}

Result<std::vector<Window>> describeAll(XConnection& x) {
  constexpr std::uint64_t kMaxTime = 1'000'000;  // microseconds
  constexpr std::size_t kAtOnce = 50;
  const std::uint64_t deadline = monotonicMicroseconds() + kMaxTime;
  const auto tree = x.reply<xcb_query_tree_reply_t>(xcb_query_tree(x.get(), x.root()));
  std::vector<xcb_window_t> topLevels = tree ? childrenIn(*tree) : std::vector<xcb_window_t>();
  std::reverse(topLevels.begin(), topLevels.end());
  const std::set<xcb_window_t> clients = clientList(x);
  std::vector<Window> windows;
  for (std::size_t from = 0; from < topLevels.size() && x.isUsable(); from += kAtOnce) {
    if (monotonicMicroseconds() > deadline) {
      return ResultCode::cannotComplete;
    }
    x.startWaiting();
    const auto first = topLevels.begin() + static_cast<std::ptrdiff_t>(from);
    const auto count = static_cast<std::ptrdiff_t>(std::min(kAtOnce, topLevels.size() - from));
    auto some = describe(x, {first, first + count}, clients);
    std::move(some.begin(), some.end(), std::back_inserter(windows));
  }
  return told(x, std::optional(std::move(windows)));
}

bool isWaylandSession() {
  const char* display = std::getenv("WAYLAND_DISPLAY");
  const char* type = std::getenv("XDG_SESSION_TYPE");
  return (display != nullptr && *display != '\0') || (type != nullptr && std::string_view(type) == "wayland");
}

/// Under Wayland the X server hears of the pointer only while it is over an X window.
bool isPointerAt(XConnection& x, int px, int py) {
  constexpr int kNear = 4;  // pixels that it may have moved since
  const auto pointer = x.reply<xcb_query_pointer_reply_t>(xcb_query_pointer(x.get(), x.root()));
  return pointer && std::abs(pointer->root_x - px) <= kNear && std::abs(pointer->root_y - py) <= kNear;
}

}  // namespace

Result<std::vector<Window>> WindowStack::windows() {
  const XServer::Lease x(server_);
  return x ? describeAll(*x) : ResultCode::cannotComplete;
}

Result<Window> WindowStack::windowAt(int px, int py) {
  const XServer::Lease lease(server_);
  if (!lease) {
    return ResultCode::cannotComplete;
  }
  XConnection& x = *lease;
  const bool seesAllWindows = !isWaylandSession();
  if (!seesAllWindows && !isPointerAt(x, px, py)) {
    return ResultCode::cannotComplete;
  }
  // The server's own answer respects the shapes of windows and where they take input.
  const auto at = x.reply<xcb_translate_coordinates_reply_t>(xcb_translate_coordinates(
      x.get(), x.root(), x.root(), static_cast<std::int16_t>(px), static_cast<std::int16_t>(py)));
  if (!at) {
    return ResultCode::cannotComplete;
  }
  if (at->child == XCB_NONE) {
    return seesAllWindows ? ResultCode::noValue : ResultCode::cannotComplete;
  }
  const Result<Window> found = describeOne(x, at->child);
  if (found.code != ResultCode::noValue) {
    return found;
  }
  // An input-only window lies on top: what is seen below it is meant.
  const auto all = describeAll(x);
  if (!all) {
    return all.code;
  }
  const auto below = std::find_if(all->begin(), all->end(), [&](const Window& window) {
    return window.frame.contains({double(px), double(py)});
  });
  return below != all->end() ? Result<Window>(*below) : Result<Window>(ResultCode::noValue);
}

Result<Window> WindowStack::activeWindow() {
  const XServer::Lease lease(server_);
  if (!lease) {
    return ResultCode::cannotComplete;
  }
  XConnection& x = *lease;
  const xcb_window_t active = x.windowInRootProperty(x.atoms().netActiveWindow);
  return active == XCB_NONE ? told<Window>(x, std::nullopt) : describeOne(x, topLevelOf(x, active));
}

Result<Window> WindowStack::window(xcb_window_t window) {
  const XServer::Lease lease(server_);
  return lease ? describeOne(*lease, topLevelOf(*lease, window)) : Result<Window>(ResultCode::cannotComplete);
}

Result<std::int32_t> WindowStack::pidOfWindow(xcb_window_t window) {
  const XServer::Lease lease(server_);
  if (!lease) {
    return ResultCode::cannotComplete;
  }
  const auto pid = lease->process(lease->requestProcess(window));
  return told(*lease, pid);
}

}  // namespace zqlogging
