#!/usr/bin/python3
"""The workbench's main road through its accessibility tree, as an automation
tool would take it: "Load MIDI Codecs", "Create ControlSurface", the in port
chosen with the pointer, "Choose"; then the panel's controls read by item
name, with their places and values, a value set and a box pressed; "Quit".
Runs in a display and session bus of its own (run-workbench-test):
panel_test.py <brassfold> <examples folder>"""
import sys

import pyatspi
from workbench_test import click, find_named, running_workbench, wait_for


def point_at(accessible):
    """A click of the pointer in the middle of accessible."""
    box = accessible.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    pyatspi.Registry.generateMouseEvent(box.x + box.width // 2, box.y + box.height // 2, "b1c")


def labelled_by(root, label):
    """What the label of that name names: a popup's name is its current row."""
    text = wait_for("label '" + label + "'", lambda: find_named(root, "label", label))
    return next(relation.getTarget(0) for relation in text.getRelationSet()
                if relation.getRelationType() == pyatspi.RELATION_LABEL_FOR)


def main():
    with running_workbench(sys.argv[1], sys.argv[2]) as application:
        frame = wait_for("main window", lambda: find_named(application, "frame", "Brassfold"))
        click(frame, "menu item", "Load MIDI Codecs")
        click(frame, "menu item", "Create ControlSurface")
        dialog = wait_for("selection dialog", lambda: find_named(application, "dialog", "Select Control Surface"))
        popup = labelled_by(dialog, "MIDI Input")
        point_at(popup)
        point_at(wait_for("row 'Loopback A'", lambda: pyatspi.findDescendant(
            popup, lambda a: a.name == "Loopback A" and a.getState().contains(pyatspi.STATE_SHOWING))))
        wait_for("port chosen", lambda: popup.name == "Loopback A" or None)
        click(dialog, "push button", "Choose")

        panel = wait_for("panel", lambda: find_named(application, "frame", "Harrowgate Devices, Wheelhouse 8"))
        encoders = [wait_for("encoder", lambda: find_named(panel, "spin button", "Encoder %d" % i)) for i in (1, 2)]
        places = [tuple(e.queryComponent().getExtents(pyatspi.WINDOW_COORDS))[:2] for e in encoders]
        assert places == [(5, 45), (68, 45)], places
        assert encoders[0].queryValue().currentValue == 0
        encoders[0].queryValue().currentValue = 3
        wait_for("number 3", lambda: find_named(panel, "label", "3"))
        push = find_named(panel, "check box", "Push 1")
        assert not push.getState().contains(pyatspi.STATE_CHECKED)
        click(panel, "check box", "Push 1")
        wait_for("Push 1 ticked", lambda: push.getState().contains(pyatspi.STATE_CHECKED) or None)
        assert find_named(panel, "label", "MIDI bytes/s").queryValue().currentValue == 0
        click(frame, "menu item", "Quit")
    print("PASS: the panel was opened, read and driven through the accessibility tree")


if __name__ == "__main__":
    main()
