"""The real workbench under Xvfb, driven through the accessibility tree as a
screen reader user would: "MIDI Test" opens the window, both popups choose
Loopback A, and "90 3c 7f" sent comes back in the received text.

    midi_test_window.py <bin/brassfold>    (under xvfb-run and dbus-run-session)
Exits 77 (skipped) where the accessibility bindings are missing."""
import os
import subprocess
import sys
import time

try:
    import pyatspi
except ImportError:
    print("pyatspi is missing (python3-pyatspi); skipped")
    sys.exit(77)


def walk(node):
    yield node
    for child in node:
        if child is not None:
            yield from walk(child)


def wait_for(what, find, timeout=10):
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        found = find()
        if found:
            return found
        time.sleep(0.05)
    sys.exit(f"no {what} within {timeout} s")


def find(root, role, name=None):
    return next((n for n in walk(root) if n.getRoleName() == role and name in (None, n.name)), None)


def labelled_by(node):
    return [r.getTarget(0).name for r in node.getRelationSet()
            if r.getRelationType() == pyatspi.RELATION_LABELLED_BY]


def press(node, action="Press"):
    actions = node.queryAction()
    names = [actions.getName(i) for i in range(actions.nActions)]
    actions.doAction(names.index(action))


def key(symbol):
    pyatspi.Registry.generateKeyboardEvent(symbol, None, pyatspi.KEY_SYM)
    time.sleep(0.1)


def main(program):
    env = dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", BRASSFOLD_MIDI="loopback")
    workbench = subprocess.Popen([program], env=env)
    try:
        drive(workbench, pyatspi.Registry.getDesktop(0))
    finally:
        if workbench.poll() is None:
            workbench.kill()


def drive(workbench, desktop):
    app = wait_for("workbench", lambda: next((a for a in desktop if a and a.name == "Brassfold"), None))
    press(wait_for("menu item", lambda: find(app, "menu item", "MIDI Test")))
    window = wait_for("MIDI Test window", lambda: find(app, "dialog", "MIDI Test"))

    popups = [n for n in walk(window) if n.getRoleName() == "combo box"]
    assert [labelled_by(p) for p in popups] == [["In-port"], ["Out-port"]], popups
    for popup in popups:
        # The popup lists the ports as it opens; the first after the prompt is Loopback A.
        press(popup, "ShowMenu")
        time.sleep(0.3)
        key(0xFF54)  # Down
        key(0xFF0D)  # Return
        wait_for("Loopback A chosen", lambda: popup.name == "Loopback A")
    assert [n.name for n in walk(window) if n.getRoleName() == "label"] == [
        "In-port", "OK", "Out-port", "OK", "Received messages:"]

    find(window, "text", "MIDI message").queryEditableText().setTextContents("90 3c 7f")
    press(find(window, "push button", "Send"))
    received = find(window, "text", "Received messages").queryText()
    wait_for("received line", lambda: received.getText(0, -1) == "Msg: 90 3c 7f \n")

    press(find(app, "menu item", "Quit"))
    assert workbench.wait(timeout=10) == 0


if __name__ == "__main__":
    main(sys.argv[1])
