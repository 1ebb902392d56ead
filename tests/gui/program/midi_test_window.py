#!/usr/bin/python3
"""The MIDI test window of the real workbench, through the accessibility
tree: "MIDI Test" opens it, both popups choose Loopback A from the ports
that they list as they open, and "90 3c 7f" sent comes back in the received
text. Runs as workbench_test.py does (see run-workbench-test)."""
import time

import pyatspi

from workbench_test import click, fail, find_named, run_workbench, wait_for


def labels_of(accessible):
    return [relation.getTarget(0).name for relation in accessible.getRelationSet()
            if relation.getRelationType() == pyatspi.RELATION_LABELLED_BY]


def choose_first_port(popup):
    actions = popup.queryAction()
    actions.doAction([actions.getName(i) for i in range(actions.nActions)].index("ShowMenu"))
    time.sleep(0.3)
    for key in (0xFF54, 0xFF0D):  # Down past the prompt, Return
        pyatspi.Registry.generateKeyboardEvent(key, None, pyatspi.KEY_SYM)
        time.sleep(0.1)
    wait_for("Loopback A chosen", lambda: True if popup.name == "Loopback A" else None)


def midi_test_window(application, frame):
    click(frame, "menu item", "MIDI Test")
    window = wait_for("MIDI Test window", lambda: find_named(application, "dialog", "MIDI Test"))
    popups = pyatspi.findAllDescendants(window, lambda a: a.getRoleName() == "combo box")
    if [labels_of(popup) for popup in popups] != [["In-port"], ["Out-port"]]:
        fail("the popups are not labelled In-port and Out-port")
    for popup in popups:
        choose_first_port(popup)
    statuses = pyatspi.findAllDescendants(window, lambda a: a.getRoleName() == "label" and a.name == "OK")
    if len(statuses) != 2:
        fail("the ports' statuses are not both OK")
    wait_for("message field", lambda: find_named(window, "text", "MIDI message")).queryEditableText() \
        .setTextContents("90 3c 7f")
    click(window, "push button", "Send")
    received = find_named(window, "text", "Received messages").queryText()
    wait_for("received line", lambda: True if received.getText(0, -1) == "Msg: 90 3c 7f \n" else None)


if __name__ == "__main__":
    run_workbench(midi_test_window)
