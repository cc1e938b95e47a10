"""What a record should say of an element, by what the program says of it, and how a record differs from that."""

import bus

# The types that a record may give an element of a role; roles that are not here are not compared.
TYPES = {
    "push button": "Button", "toggle button": "CheckBox", "check box": "CheckBox", "radio button": "RadioButton",
    "menu": "Menu", "menu item": "MenuItem", "check menu item": "MenuItem", "radio menu item": "MenuItem",
    "menu bar": "MenuBar", "page tab": "RadioButton", "page tab list": "TabGroup", "combo box": "ComboBox",
    "entry": "TextField TextArea", "text": "TextField TextArea", "password text": "TextField", "label": "StaticText",
    "static": "StaticText", "heading": "StaticText", "link": "Link", "list item": "Row", "tree item": "Row",
    "table cell": "Cell", "table column header": "Button", "column header": "Cell", "row header": "Cell",
    "table row header": "Cell", "slider": "Slider", "spin button": "Incrementor", "image": "Image", "icon": "Image",
    "terminal": "TextArea", "switch": "CheckBox", "level bar": "LevelIndicator", "progress bar": "ProgressIndicator",
    "list": "List", "list box": "List", "table": "Table", "tree": "Outline", "tree table": "Outline",
    "scroll bar": "ScrollBar", "paragraph": "Group", "section": "Group", "panel": "Group", "filler": "Group",
    "autocomplete": "TextField", "push button menu": "MenuButton", "tool bar": "Toolbar", "canvas": "LayoutArea",
}
TEXTS = {"entry", "text", "terminal", "autocomplete", "label", "static", "heading", "edit bar"}
LEAF_TEXTS = {"list item", "table cell", "tree item", "column header", "row header", "table row header", "paragraph",
              "section", "status bar"}
MOST_CHARACTERS = 256
TOLERANCE = 3  # pixels; some toolkits round twice


def value_of(reader, facts):
    if facts.role in TEXTS or (facts.role in LEAF_TEXTS and not facts.children):
        return reader.text(facts)
    if facts.role == "combo box":
        chosen = reader.selected_child(facts)
        return chosen.name if chosen else reader.text(facts)
    return ""


def names_of(reader, facts, value):
    """The names that the element has, in the order in which one is chosen."""
    attributes = reader.one(facts.node, bus.ACCESSIBLE, "GetAttributes") or {}
    help_text = reader.one(facts.node, bus.ACCESSIBLE, "helpText") or ""
    placeholder = attributes.get("placeholder-text") or attributes.get("placeholder") or ""
    names = [facts.name, help_text, placeholder, value]
    if not any(names):
        names += [label.name or reader.text(label) for label in reader.labels(facts)]
        if facts.role not in ("image", "icon"):
            names.append(reader.one(facts.node, bus.ACCESSIBLE, "description") or "")
    return [name for name in names if name] or [""]


class Truth:
    """Of an element at the time it was made."""

    def __init__(self, reader, facts, placing, title, page):
        line = list(facts.up())
        self.types = TYPES.get(facts.role, "").split()
        self.value = value_of(reader, facts)[:MOST_CHARACTERS]
        self.name = names_of(reader, facts, self.value)[0][:MOST_CHARACTERS]
        self.frame = placing.frame(facts.extents)
        self.window = facts.top.name or title
        self.application = line[-1].name
        self.page = page
        self.around = {each.name for each in line if each.name}
        self.inside = {each.name for child in facts.children for each in [child, *child.children] if each.name}

    def differences(self, record, click):
        found = []

        def compare(what, expected, got, same):
            if not same:
                found.append(f"{what} {got!r}, not {expected!r}")

        compare("name", self.name, record["elementName"], self.name == record["elementName"])
        compare("type", "/".join(self.types), record["elementControlType"],
                not self.types or record["elementControlType"] in self.types)
        compare("value", self.value, record["elementValue"], self.value == record["elementValue"])
        frame = [int(part) for part in record["elementRect"].split(", ")]
        compare("frame", [round(part) for part in self.frame], frame,
                all(abs(a - b) <= TOLERANCE for a, b in zip(frame, self.frame)))
        compare("window", self.window, record["windowName"], self.window == record["windowName"])
        compare("application", self.application, record["applicationName"],
                record["applicationName"] and self.application in ("", record["applicationName"]))
        compare("identifier", "some", record["applicationId"], bool(record["applicationId"]))
        page = click.get("url", "").partition("#")[0]
        compare("page", self.page, page, self.page is None or self.page == page)
        return found

    def verdict(self, record, click):
        found = self.differences(record, click)
        if not found:
            return "right", found
        kinds = {difference.split()[0] for difference in found}
        is_it = not kinds & {"name", "frame"} or (not kinds & {"name", "type"} and self.name)
        is_kin = record["elementName"] in self.around | self.inside
        return ("near" if is_it or is_kin else "wrong"), found
