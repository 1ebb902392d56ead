# The real workbench under Xvfb, driven through the accessibility tree as a
# screen reader's user would: "MIDI Test" opens the window, both popups choose
# Loopback A, and "90 3c 7f" sent comes back in the received text.
#     midi_test_window.py <bin/brassfold>   (under xvfb-run and dbus-run-session)
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


def find(root, role, name=None):
    return next((n for n in walk(root) if n.getRoleName() == role and name in (None, n.name)), None)


def wait_for(what, found, timeout=10):
    deadline = time.monotonic() + timeout
    while not found():
        if time.monotonic() > deadline:
            sys.exit(f"no {what} within {timeout} s")
        time.sleep(0.05)
    return found()


def press(node, action="Press"):
    actions = node.queryAction()
    actions.doAction([actions.getName(i) for i in range(actions.nActions)].index(action))


def drive(workbench):
    # The desktop is asked anew each time: it lists the applications it knew of.
    app = wait_for("workbench", lambda: next(
        (a for a in pyatspi.Registry.getDesktop(0) if a and a.name == "Brassfold"), None))
    press(wait_for("menu item", lambda: find(app, "menu item", "MIDI Test")))
    window = wait_for("MIDI Test window", lambda: find(app, "dialog", "MIDI Test"))
    popups = [n for n in walk(window) if n.getRoleName() == "combo box"]
    labels = [[r.getTarget(0).name for r in p.getRelationSet()
               if r.getRelationType() == pyatspi.RELATION_LABELLED_BY] for p in popups]
    assert labels == [["In-port"], ["Out-port"]], labels
    for popup in popups:
        # The popup lists the ports as it opens; the first after the prompt is Loopback A.
        press(popup, "ShowMenu")
        time.sleep(0.3)
        for key in (0xFF54, 0xFF0D):  # Down, Return
            pyatspi.Registry.generateKeyboardEvent(key, None, pyatspi.KEY_SYM)
            time.sleep(0.1)
        wait_for("Loopback A chosen", lambda: popup.name == "Loopback A")
    names = [n.name for n in walk(window) if n.getRoleName() == "label"]
    assert names == ["In-port", "OK", "Out-port", "OK", "Received messages:"], names

    find(window, "text", "MIDI message").queryEditableText().setTextContents("90 3c 7f")
    press(find(window, "push button", "Send"))
    received = find(window, "text", "Received messages").queryText()
    wait_for("received line", lambda: received.getText(0, -1) == "Msg: 90 3c 7f \n")
    press(find(app, "menu item", "Quit"))
    assert workbench.wait(timeout=10) == 0


if __name__ == "__main__":
    env = dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", BRASSFOLD_MIDI="loopback")
    workbench = subprocess.Popen([sys.argv[1]], env=env)
    try:
        drive(workbench)
    finally:
        if workbench.poll() is None:
            workbench.kill()
