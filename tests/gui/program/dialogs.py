#!/usr/bin/python3
"""The workbench's modal windows in the real program, through the
accessibility tree: the about box, "Validate Map File" with a map typed into
the file dialog and the outcome's alert, and the auto-detect progress dialog,
which is up for only as long as the loaded models take to probe. Runs as
workbench_test.py does (see run-workbench-test)."""
import os
import sys
import time

import pyatspi
from gi.repository import GLib

from workbench_test import click, fail, find_named, run_workbench, start, wait_for


def gone(application, role, name):
    return True if find_named(application, role, name) is None else None


def about_box(application, frame):
    start(frame, "menu item", "About Brassfold...")
    box = wait_for("about box", lambda: find_named(application, "alert", "About Brassfold"))
    start(box, "push button", "OK")
    wait_for("about box closed", lambda: gone(application, "alert", "About Brassfold"))


def validate_map(application, frame):
    click(frame, "menu item", "Load MIDI Codecs")
    start(frame, "menu item", "Validate Map File")
    dialog = wait_for("file dialog", lambda: find_named(application, "dialog", "Select Map File"))
    map_file = os.path.join(sys.argv[2], "Thistlemarrow Software", "Kinvar", "Maps", "Quillfeather QF-8.kinvarmap")
    wait_for("file name field", lambda: find_named(dialog, "text", "File name:")).queryEditableText() \
        .setTextContents(map_file)
    start(dialog, "push button", "Open")
    alert = wait_for("map's outcome", lambda: pyatspi.findDescendant(
        application, lambda a: a.getRoleName() == "label" and a.name == "Kinvar map is ok!", True))
    start(alert.parent, "push button", "Close")
    wait_for("outcome closed", lambda: gone(application, "label", "Kinvar map is ok!"))


def auto_detect_progress(application, frame):
    """The dialog comes and goes within a fraction of a second on the loopback
    cables, quicker than a look at the tree, and its objects are gone by the
    time an event about them is read: the window events carry its title."""
    heard = []

    def listen(event):
        if event.any_data == "Auto-detect":
            heard.append(event.type)

    for kind in ("window:activate", "window:deactivate"):
        pyatspi.Registry.registerEventListener(listen, kind)
    start(frame, "menu item", "AutoDetect")
    deadline = time.time() + 20
    while "window:deactivate" not in heard and time.time() < deadline:
        GLib.MainContext.default().iteration(False)
        time.sleep(0.01)
    for kind in ("window:activate", "window:deactivate"):
        pyatspi.Registry.deregisterEventListener(listen, kind)
    if heard[:2] != ["window:activate", "window:deactivate"]:
        fail("the auto-detect progress dialog did not come and go: %s" % heard)


def dialogs(application, frame):
    about_box(application, frame)
    validate_map(application, frame)
    auto_detect_progress(application, frame)


if __name__ == "__main__":
    run_workbench(dialogs)
