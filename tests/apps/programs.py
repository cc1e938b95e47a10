"""The programs and what is done with each. A step is one of

  click ROLE:NAME [#N]   (also right, double, fast: eight clicks in a second)   type TEXT   key KEYS
  click                  into the middle of a window that is not on the accessibility bus
  each N ROLE            clicks on the first N of a role
  find ROLE:NAME         wait SECONDS
"""

import os
import pathlib
from dataclasses import dataclass, field

HERE = pathlib.Path(__file__).resolve().parent


@dataclass
class Program:
    arguments: list
    steps: list
    page: str = ""  # of this folder, which a web server of the session offers
    variables: dict = field(default_factory=dict)
    scale_arguments: str = ""  # with {scale}
    scale_variable: str = ""
    is_logical: bool = True  # its coordinates grow with the scale
    on_bus: bool = True
    reach: int = 1000000  # pixels from the left edge that a click goes at most: long rows are empty on the right

    def command(self, scale, page):
        scaled = [self.scale_arguments.format(scale=scale)] if self.scale_arguments and scale != 1 else []
        home = os.environ["HOME"]
        return [self.arguments[0], *scaled, *(part.format(home=home, here=HERE, page=page) for part in self.arguments[1:])]

    def environment(self, scale):
        scaled = {self.scale_variable: f"{scale:g}"} if self.scale_variable and scale != 1 else {}
        return {**self.variables, **scaled}


def lines(text):
    return [line.strip() for line in text.strip().splitlines() if line.strip()]


WEB = """
    find link:Fares
    click push button:Order now
    click push button:Count
    click push button:Painted button
    click entry:City
    type abc
    click entry:Search trips
    click password text:Secret
    click check box:Window seat
    click check box:Bicycle
    click radio button:Second
    click combo box:Meal
    click menu item:Salad
    click spin button:Seats
    click slider:Speed
    click entry:Remarks
    click link:Fares
    right link:How to get there
    key Escape
    click heading:Book a trip
    click column header:Price
    click table cell:Express
    click table cell:Night train
    click page tab:Winter
    click tree item:Stations
    click image:A map
    click push button:Take it
    click link:More offers
    double push button:Order now
    fast push button:Order now
    click push button:Reload
    find link:Fares
    click link:Fares
"""

PROGRAMS = {
    "gtk3": Program(["gtk3-widget-factory"], lines("""
        click check box:checkbutton
        click check box:checkbutton #1
        click radio button:radiobutton #1
        click toggle button:togglebutton
        double toggle button:togglebutton
        fast toggle button:togglebutton
        click text:*
        type abc
        click combo box:Left
        click menu item:Left
        click combo box:*
        key Escape
        click push button:link button
        each 4 table column header
        click table cell:Otto
        click table cell:Redenbacher
        each 6 page tab
        each 2 slider
        each 2 spin button
        click label:Inset
        click toggle button:Menu
        click push button:Get Busy
        key Escape
        click push button:Sans Regular
        key Escape
        click radio button:Page 2
        click radio button:Page 3
        click radio button:Page 1
    """), scale_variable="GDK_SCALE"),
    "gtk4": Program(["gtk4-widget-factory"], lines("""
        click check box:checkbutton
        click check box:checkbutton #1
        click check box:radiobutton
        click toggle button:togglebutton
        double toggle button:togglebutton
        fast toggle button:togglebutton
        each 2 entry
        type abc
        each 2 combo box
        key Escape
        click link:link button
        each 4 push button
        each 4 label
        each 3 page tab
        each 2 slider
        each 2 spin button
        each 2 switch
        click menu button:*
        key Escape
    """), variables={"GSK_RENDERER": "cairo"}, scale_variable="GDK_SCALE"),
    "featherpad": Program(["featherpad"], lines("""
        click text:*
        type Hello there
        click menu item:File
        click menu item:Save As...
        click push button:Cancel
        click menu item:Edit
        click menu item:Undo
        click menu item:Options
        click menu item:Preferences
        each 3 page tab
        click check box:*
        click check box:* #1
        click push button:Close
        click menu item:Search
        click menu item:Find
        click combo box:*
        type there
        click push button:New
        click page tab:Untitled
        click page tab:Untitled #1
        click push button:Find
        click push button:Side-Pane
        each 2 list item
        right text:*
        key Escape
        click menu item:Help
        click menu item:About
    """), scale_variable="QT_SCALE_FACTOR"),
    "qt6ct": Program(["qt6ct"], lines("""
        click radio button:Custom
        click radio button:Default
        click combo box:airy
        each 2 list item
        click combo box:Fusion
        click list item:Windows
        click label:Style:
        click page tab:Tab 2
        click page tab:Tab 1
        click push button:PushButton
        click page tab:Fonts
        click page tab:Icon Theme
        each 2 tree item
        each 2 table cell
        click page tab:Interface
        each 2 combo box
        key Escape
        each 2 check box
        click spin button:*
        click page tab:Style Sheets
        each 2 push button
        click page tab:Troubleshooting
        click page tab:Appearance
        click push button:Apply
        click push button:Cancel
    """), variables={"QT_QPA_PLATFORMTHEME": "qt6ct"}, scale_variable="QT_SCALE_FACTOR"),
    "chromium": Program(["chromium", "--no-sandbox", "--no-first-run", "--force-renderer-accessibility", "--disable-gpu",
                         "--user-data-dir={home}/chromium", "{page}"], lines(WEB), page="page.html",
                        scale_arguments="--force-device-scale-factor={scale}", is_logical=False),
    "firefox": Program(["firefox-esr", "--no-remote", "--new-instance", "{page}"], lines(WEB), page="page.html",
                       scale_variable="GDK_SCALE"),
    "falkon": Program(["falkon", "--no-sandbox", "{page}"], lines(WEB), page="page.html", scale_variable="QT_SCALE_FACTOR",
                      variables={"QTWEBENGINE_DISABLE_SANDBOX": "1"}),
    "writer": Program(["soffice", "--norestore", "--nologo", "--nofirststartwizard", "--writer"], lines("""
        click paragraph:*
        type Hello there
        click menu:File
        click menu:New
        key Escape Escape
        click menu:Edit
        click menu item:Select All
        click menu:Format
        click menu item:Character...
        each 3 page tab
        click push button:Cancel
        click toggle button:Bold
        click toggle button:Italic
        click combo box:*
        key Escape
        each 3 push button
        key Escape
        click menu:Help
        click menu item:About LibreOffice
        click push button:Close
    """), scale_variable="GDK_SCALE"),
    "calc": Program(["soffice", "--norestore", "--nologo", "--nofirststartwizard", "--calc"], lines("""
        click table cell:B3
        type 42
        key Return
        click table cell:C5
        click table cell:D7
        double table cell:B2
        key Escape
        click menu:Insert
        click menu item:Function...
        click push button:Cancel
        click menu:Sheet
        key Escape
        click toggle button:Bold
        each 3 push button
        key Escape
        click page tab:Sheet1
    """), scale_variable="GDK_SCALE"),
    "swing": Program(["java", "-Djavax.accessibility.assistive_technologies=org.GNOME.Accessibility.AtkWrapper",
                      "{here}/Swing.java"], lines("""
        click push button:Order now
        click check box:Window seat
        click radio button:First class
        click toggle button:Bicycle
        click label:Where to
        click text:City
        type abc
        click combo box:*
        each 2 list item
        key Escape
        click slider:*
        click spin button:*
        click menu:File
        click menu item:Open trip
        click menu:File
        click check menu item:Keep trip
        click menu:File
        click menu:More
        click menu item:Print trip
        click page tab:Table
        each 2 table cell
        each 2 table column header
        click page tab:Tree
        each 3 tree item
        each 3 label
        click page tab:Text
        click text:Notes
        type xyz
        click page tab:Controls
        double push button:Order now
        fast push button:Order now
    """), scale_variable="GDK_SCALE"),
    "xterm": Program(["xterm"], lines("""
        click
        type ls
        key Return
        click
        type pwd
        key Return
        click
    """), on_bus=False),
}
