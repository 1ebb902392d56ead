#!/usr/bin/python3
"""The real bin/brassfold on a private Xvfb and session bus, read and driven
through the accessibility tree (AT-SPI) as a screen reader or an automation
tool would: "Load MIDI Codecs", "Create ControlSurface", the in port chosen
with the pointer, "Choose"; then the panel's controls by item name, with
their places and values, a value set and a box pressed; then "Quit".

    panel_accessibility.py BRASSFOLD EXAMPLES_FOLDER

Exits 77 (skipped) where Xvfb, dbus-run-session or pyatspi is missing."""
import importlib.util
import os
import shutil
import subprocess
import sys
import time

SKIP = 77


def start_xvfb():
    """A display that no one else uses: Xvfb picks the number itself."""
    read, write = os.pipe()
    server = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x1024x24",
                               "-nolisten", "tcp", "-noreset"], pass_fds=(write,), stderr=subprocess.DEVNULL)
    os.close(write)
    number = b""
    while not number.endswith(b"\n"):
        number += os.read(read, 16)
    return server, ":" + number.decode().strip()


def wait_for(find, seconds=10):
    end = time.time() + seconds
    while time.time() < end:
        found = find()
        if found:
            return found
        time.sleep(0.1)
    raise AssertionError("timed out")


def main(program, examples):
    if not shutil.which("Xvfb"):
        print("SKIP: Xvfb is missing (Debian package xvfb)")
        return SKIP
    if importlib.util.find_spec("pyatspi") is None:
        print("SKIP: pyatspi is missing (Debian package python3-pyatspi)")
        return SKIP
    server, display = start_xvfb()
    # The accessibility registry starts on the bus and generates the pointer's clicks there.
    os.environ["DISPLAY"] = display
    subprocess.run(["dbus-update-activation-environment", "DISPLAY=" + display], check=True)
    import pyatspi
    env = dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", QT_QPA_PLATFORM="xcb",
               BRASSFOLD_MIDI="loopback", XDG_DATA_DIRS=examples)
    workbench = subprocess.Popen([program], env=env)
    try:
        app = wait_for(lambda: next((a for a in pyatspi.Registry.getDesktop(0) if a and a.name == "Brassfold"), None))

        def named(root, name, role=None):
            return wait_for(lambda: pyatspi.findDescendant(
                root, lambda o: o.name == name and (role is None or o.getRoleName() == role)))

        def press(control):
            control.queryAction().doAction(0)

        def click(control):
            box = control.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
            pyatspi.Registry.generateMouseEvent(box.x + box.width // 2, box.y + box.height // 2, "b1c")

        press(named(app, "Load MIDI Codecs", "menu item"))
        press(named(app, "Create ControlSurface", "menu item"))
        dialog = named(app, "Select Control Surface", "dialog")
        label = named(dialog, "MIDI Input", "label")
        popup = next(r.getTarget(0) for r in label.getRelationSet()
                     if r.getRelationType() == pyatspi.RELATION_LABEL_FOR)
        click(popup)
        click(wait_for(lambda: pyatspi.findDescendant(
            popup, lambda o: o.name == "Loopback A" and o.getState().contains(pyatspi.STATE_SHOWING))))
        wait_for(lambda: popup.name == "Loopback A")
        press(named(dialog, "Choose", "push button"))

        panel = named(app, "Harrowgate Devices, Wheelhouse 8", "frame")
        encoders = [named(panel, "Encoder %d" % i, "spin button") for i in (1, 2)]
        places = [e.queryComponent().getExtents(pyatspi.WINDOW_COORDS) for e in encoders]
        assert (places[0].x, places[0].y) == (5, 45) and (places[1].x, places[1].y) == (68, 45), places
        assert encoders[0].queryValue().currentValue == 0
        encoders[0].queryValue().currentValue = 3
        wait_for(lambda: named(panel, "3", "label"))
        push = named(panel, "Push 1", "check box")
        assert not push.getState().contains(pyatspi.STATE_CHECKED)
        press(push)
        wait_for(lambda: push.getState().contains(pyatspi.STATE_CHECKED))
        assert named(panel, "MIDI bytes/s", "label").queryValue().currentValue == 0

        press(named(app, "Quit", "menu item"))
        assert workbench.wait(20) == 0
        return 0
    finally:
        if workbench.poll() is None:
            workbench.kill()
        server.kill()


if __name__ == "__main__":
    if "BRASSFOLD_PRIVATE_BUS" not in os.environ:
        if not shutil.which("dbus-run-session"):
            print("SKIP: dbus-run-session is missing (Debian package dbus-daemon)")
            sys.exit(SKIP)
        os.environ["BRASSFOLD_PRIVATE_BUS"] = "1"
        os.execvp("dbus-run-session", ["dbus-run-session", "--", sys.executable] + sys.argv)
    sys.exit(main(*sys.argv[1:3]))
