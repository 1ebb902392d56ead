#!/usr/bin/python3
"""The workbench's main road through the accessibility tree, as an automation
tool would take it: "Load MIDI Codecs", "Create ControlSurface", Loopback A
for the popup labelled "MIDI Input", "Choose"; then the panel's controls read
by item name, with their places and values, a value set and a box pressed.
Runs as workbench_test.py does (see run-workbench-test)."""
import pyatspi

from midi_test_window import choose_first_port, labels_of
from workbench_test import click, fail, find_named, run_workbench, wait_for


def hardware_panel(application, frame):
    click(frame, "menu item", "Load MIDI Codecs")
    click(frame, "menu item", "Create ControlSurface")
    dialog = wait_for("selection dialog", lambda: find_named(application, "dialog", "Select Control Surface"))
    choose_first_port(next(popup for popup in pyatspi.findAllDescendants(
        dialog, lambda a: a.getRoleName() == "combo box") if labels_of(popup) == ["MIDI Input"]))
    click(dialog, "push button", "Choose")

    panel = wait_for("panel", lambda: find_named(application, "frame", "Harrowgate Devices, Wheelhouse 8"))
    encoders = [wait_for("encoder", lambda: find_named(panel, "spin button", "Encoder %d" % i)) for i in (1, 2)]
    places = [tuple(e.queryComponent().getExtents(pyatspi.WINDOW_COORDS))[:2] for e in encoders]
    if places != [(5, 45), (68, 45)] or encoders[0].queryValue().currentValue != 0:
        fail("the encoders stand at %s with %s" % (places, encoders[0].queryValue().currentValue))
    encoders[0].queryValue().currentValue = 3
    wait_for("the number 3 beside Encoder 1", lambda: find_named(panel, "label", "3"))
    push = find_named(panel, "check box", "Push 1")
    click(panel, "check box", "Push 1")
    wait_for("Push 1 ticked", lambda: True if push.getState().contains(pyatspi.STATE_CHECKED) else None)
    if find_named(panel, "label", "MIDI bytes/s").queryValue().currentValue != 0:
        fail("bytes went out on a surface without an output port")


if __name__ == "__main__":
    run_workbench(hardware_panel)
