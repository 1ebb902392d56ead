#pragma once
// The workbench program on Qt: main() of bin/brassfold in one call.
//
// Without a display to show windows on (no DISPLAY, WAYLAND_DISPLAY or
// QT_QPA_PLATFORM) it says so in one line, naming xvfb-run, and returns 1.
// Otherwise it makes the QApplication, the toolkit adapter and the windows,
// and runs the run behaviour (RunWorkbench): 0 after a quit, -1 when
// anything escaped.

int RunQtWorkbench(int argc, char** argv);
