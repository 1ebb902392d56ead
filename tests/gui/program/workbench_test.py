#!/usr/bin/python3
"""The real workbench, driven through its accessibility tree as a screen reader
would: its windows, menus and controls by name, "Quit" with exit status 0 and
no failed assertion. Runs in a display and session bus of its own
(run-workbench-test): workbench_test.py <brassfold> <examples folder>"""
import os
import subprocess
import sys
import tempfile
import time

import pyatspi
from gi.repository import Atspi, GLib

TIMEOUT = 20


def fail(message):
    sys.exit("FAIL: " + message)


def wait_for(what, find):
    deadline = time.time() + TIMEOUT
    while time.time() < deadline:
        # Looked at afresh each time: new applications and windows appear.
        pyatspi.Registry.getDesktop(0).clear_cache()
        found = find()
        if found is not None:
            return found
        time.sleep(0.2)
    fail("no " + what + " within %d s" % TIMEOUT)


def find_named(root, role, name):
    """The first accessible below root with that role name and name."""
    return pyatspi.findDescendant(root, lambda a: a.getRoleName() == role and a.name == name, True)


def workbench():
    for application in pyatspi.Registry.getDesktop(0):
        if application is not None and application.name == "Brassfold":
            return application
    return None


def click(root, role, name):
    accessible = wait_for(role + " '" + name + "'", lambda: find_named(root, role, name))
    accessible.queryAction().doAction(0)


def start(root, role, name):
    """Clicks without waiting for the click to be done: an action that opens a
    modal dialog answers only when the dialog has closed."""
    accessible = wait_for(role + " '" + name + "'", lambda: find_named(root, role, name))
    Atspi.set_timeout(300, -1)
    try:
        accessible.queryAction().doAction(0)
    except GLib.GError:
        pass  # no answer yet: the dialog is up
    finally:
        Atspi.set_timeout(-1, -1)


def accessibility_bus_ready():
    """Qt looks for the accessibility bus once, at start: it must be there first."""
    asked = subprocess.run(["dbus-send", "--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus",
                            "org.a11y.Bus.GetAddress"], capture_output=True)
    return True if asked.returncode == 0 else None


def run_workbench(steps):
    """Starts the workbench, lets steps(application, main window) drive it,
    quits it by its menu and fails on a failed assertion or a bad status."""
    brassfold, examples = sys.argv[1], sys.argv[2]
    bus = subprocess.Popen(["/usr/libexec/at-spi-bus-launcher", "--launch-immediately"])
    wait_for("accessibility bus", accessibility_bus_ready)
    home = tempfile.mkdtemp()
    env = dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", BRASSFOLD_MIDI="loopback",
               XDG_DATA_DIRS=examples, XDG_DATA_HOME=home, XDG_RUNTIME_DIR=home)
    program = subprocess.Popen([brassfold], env=env, stderr=subprocess.PIPE, text=True)
    try:
        application = wait_for("application 'Brassfold'", workbench)
        frame = wait_for("main window", lambda: find_named(application, "frame", "Brassfold"))
        steps(application, frame)
        click(frame, "menu item", "Quit")
        status = program.wait(timeout=TIMEOUT)
    finally:
        if program.poll() is None:
            program.kill()
        errors = program.stderr.read()
        bus.terminate()
    if "ASSERT failure" in errors:
        fail("an assertion failed:\n" + errors)
    if status != 0:
        fail("exit status %d:\n%s" % (status, errors))
    print("PASS: the workbench was found, driven and quit through its accessibility tree")


def menus_and_log_window(application, frame):
    for menu in ("File", "Test"):
        wait_for("menu '" + menu + "'", lambda: find_named(frame, "menu item", menu))
    wait_for("hint of the empty list", lambda: find_named(frame, "label", "No surface models"))
    click(frame, "menu item", "Load MIDI Codecs")
    wait_for("listed example", lambda: find_named(frame, "label", "Quillfeather Instruments QF-8 Fader Box"))
    click(frame, "menu item", "Show Log Window")
    log = wait_for("log window", lambda: find_named(application, "frame", "Log"))
    for button in ("Clear", "Save..."):
        wait_for("button '" + button + "'", lambda: find_named(log, "push button", button))
    wait_for("log text", lambda: find_named(log, "text", "Log text"))


if __name__ == "__main__":
    run_workbench(menus_and_log_window)
