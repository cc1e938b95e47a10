"""The X server's side: windows as they lie on the screen, and the pointer and keyboard of a remote party."""

import subprocess
from dataclasses import dataclass

from Xlib import X, display, error

SHADOW = 120  # the widest border of shadow around a window that is believed
SCALES = (1, 1.25, 1.5, 1.75, 2, 2.5, 3)


@dataclass
class Window:
    frame: tuple  # of the child of the root window
    client: tuple  # of the application's own window
    title: str
    pid: int
    popup: bool

    def contains(self, point):
        x, y, width, height = self.frame
        return x <= point[0] < x + width and y <= point[1] < y + height


@dataclass
class Placing:
    """How a program's own coordinates lie on the screen."""
    scale: float = 1
    left: float = 0
    top: float = 0

    def frame(self, extents):
        x, y, width, height = extents
        return (self.left + x * self.scale, self.top + y * self.scale, width * self.scale, height * self.scale)

    @property
    def is_identity(self):
        return self.scale == 1 and abs(self.left) <= 1 and abs(self.top) <= 1


def placing(extents, client):
    """By what a program and the X server say of the same window; None when it isn't the same."""
    x, y, width, height = extents
    left, top, outer_width, outer_height = client
    for scale in SCALES:
        border_x, border_y = (outer_width - width * scale) / 2, (outer_height - height * scale) / 2
        if not (-2 <= border_x <= SHADOW and -2 <= border_y <= SHADOW and abs(border_x - border_y) <= 8):
            continue
        found = Placing(scale, left + border_x - x * scale, top + border_y - y * scale)
        # A shadow is not always as high above as below: screen coordinates are believed.
        if scale == 1 and abs(found.left) <= 2 and abs(found.top) <= 8:
            return Placing()
        return found
    return None


class Screen:
    def __init__(self):
        self.display = display.Display()
        self.root = self.display.screen().root

    def property(self, window, name):
        found = window.get_full_property(self.display.intern_atom(name), X.AnyPropertyType)
        return found.value if found else None

    def describe(self, top):
        if top.get_attributes().map_state != X.IsViewable:
            return None
        geometry = top.get_geometry()
        if geometry.width <= 1:
            return None
        client, level = top, [top]
        for _ in range(3):
            known = [each for each in level if self.property(each, "WM_STATE") is not None]
            if known:
                client = known[0]
                break
            level = [child for each in level for child in each.query_tree().children]
        inner = client.get_geometry()
        at = client.translate_coords(self.root, 0, 0)
        title = self.property(client, "_NET_WM_NAME") or self.property(client, "WM_NAME") or b""
        pid = self.property(client, "_NET_WM_PID")
        text = title.decode("utf-8", "replace") if isinstance(title, bytes) else str(title)
        return Window((geometry.x, geometry.y, geometry.width, geometry.height), (-at.x, -at.y, inner.width, inner.height),
                      text, int(pid[0]) if pid else 0, bool(top.get_attributes().override_redirect) and client is top)

    def windows(self):
        """Top to bottom."""
        found = []
        for top in reversed(self.root.query_tree().children):
            try:
                window = self.describe(top)
            except error.XError:
                continue
            if window:
                found.append(window)
        return found


def do(*command):
    subprocess.run(["xdotool", *map(str, command)], check=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
