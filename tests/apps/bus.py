"""What programs say of themselves on the accessibility bus, asked over D-Bus: the library's own reading takes no part
in it, and neither do direct connections, which hang with some programs."""

from dataclasses import dataclass, field

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, Gio, GLib  # noqa: E402

ACCESSIBLE, COMPONENT, TEXT = "org.a11y.atspi.Accessible", "org.a11y.atspi.Component", "org.a11y.atspi.Text"
DOCUMENT, SELECTION = "org.a11y.atspi.Document", "org.a11y.atspi.Selection"
REGISTRY, ROOT, NULL = "org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root", "/org/a11y/atspi/null"
LABELLED_BY = 2
FILLER = "\ufffc"
SECONDS_PER_CALL = 3
MOST_NODES = 4000
MOST_CHILDREN = 150


@dataclass(frozen=True)
class Node:
    name: str  # on the bus
    path: str


@dataclass
class Facts:
    node: Node
    parent: "Facts | None" = None
    role: str = ""
    name: str = ""
    states: int = 0
    extents: tuple = (0, 0, 0, 0)
    children: list = field(default_factory=list)

    def has(self, state):
        return bool(self.states >> int(state) & 1)

    def up(self):
        facts = self
        while facts:
            yield facts
            facts = facts.parent

    @property
    def top(self):
        """What lies directly under the application."""
        line = list(self.up())
        return line[-2] if len(line) > 1 else self

    def has_size(self):
        x, y, width, height = self.extents
        return width > 0 and height > 0 and min(x, y) > -32768

    def __str__(self):
        return f"{self.role}:{self.name}"


class Bus:
    def __init__(self):
        session = Gio.bus_get_sync(Gio.BusType.SESSION)
        address = session.call_sync("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", None, None,
                                    Gio.DBusCallFlags.NONE, -1, None).unpack()[0]
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        self.connection = Gio.DBusConnection.new_for_address_sync(address, flags)

    def ask(self, questions):
        """Answers to [(node, interface, member, arguments)], asked together; None where there is none. A property is
        asked for by its name in lower case."""
        answers, waiting = [None] * len(questions), [len(questions)]

        def keep(connection, result, index):
            try:
                answers[index] = connection.call_finish(result).unpack()[0]
            except GLib.Error:
                pass
            waiting[0] -= 1

        for index, (node, interface, member, arguments) in enumerate(questions):
            if member[0].islower():
                arguments = GLib.Variant("(ss)", (interface, member[0].upper() + member[1:]))
                interface, member = "org.freedesktop.DBus.Properties", "Get"
            self.connection.call(node.name, node.path, interface, member, arguments, None,
                                 Gio.DBusCallFlags.NO_AUTO_START, SECONDS_PER_CALL * 1000, None, keep, index)
        while waiting[0]:
            GLib.MainContext.default().iteration(True)
        return answers

    def one(self, node, interface, member, arguments=None):
        return self.ask([(node, interface, member, arguments)])[0]

    def roots_of(self, pids):
        """The applications of these processes."""
        daemon = Node("org.freedesktop.DBus", "/org/freedesktop/DBus")
        roots = [Node(*pair) for pair in self.one(Node(REGISTRY, ROOT), ACCESSIBLE, "GetChildren") or []]
        owners = self.ask([(daemon, daemon.name, "GetConnectionUnixProcessID", GLib.Variant("(s)", (root.name,)))
                           for root in roots])
        return [root for root, owner in zip(roots, owners) if owner in pids]

    def read(self, nodes):
        questions = []
        for node in nodes:
            questions += [(node, ACCESSIBLE, "GetRole", None), (node, ACCESSIBLE, "name", None),
                          (node, ACCESSIBLE, "GetState", None),
                          (node, COMPONENT, "GetExtents", GLib.Variant("(u)", (0,)))]
        answers = self.ask(questions)
        facts = []
        for index, node in enumerate(nodes):
            role, name, states, extents = answers[index * 4:index * 4 + 4]
            low, high = (states or [0, 0])[:2]
            facts.append(Facts(node, None, Atspi.role_get_name(Atspi.Role(role or 0)) or "", name or "",
                               low | high << 32, extents or (0, 0, 0, 0)))
        return facts

    def walk(self, root, enter):
        """All facts below an application, level by level, but nothing below what is not to be entered."""
        level, found = self.read([root]), []
        while level and len(found) < MOST_NODES:
            found += level
            inside = [facts for facts in level if enter(facts)]
            lists = self.ask([(facts.node, ACCESSIBLE, "GetChildren", None) for facts in inside])
            parents, nodes = [], []
            for facts, children in zip(inside, lists):
                for pair in (children or [])[:MOST_CHILDREN]:
                    if pair[1] != NULL:
                        parents.append(facts)
                        nodes.append(Node(*pair))
            level = self.read(nodes)
            for facts, parent in zip(level, parents):
                facts.parent = parent
                parent.children.append(facts)
        return found

    def text(self, facts):
        """Never that of a password field."""
        count = self.one(facts.node, TEXT, "characterCount")
        if not count or facts.role == "password text":
            return ""
        whole = self.one(facts.node, TEXT, "GetText", GLib.Variant("(ii)", (0, min(count, 4096)))) or ""
        return whole.replace(FILLER, "")

    def selected_child(self, facts):
        pair = self.one(facts.node, SELECTION, "GetSelectedChild", GLib.Variant("(i)", (0,)))
        return self.read([Node(*pair)])[0] if pair and pair[1] != NULL else None

    def labels(self, facts):
        for kind, targets in self.one(facts.node, ACCESSIBLE, "GetRelationSet") or []:
            if kind == LABELLED_BY:
                return self.read([Node(*pair) for pair in targets])
        return []
