#pragma once
// The log window's pending text. Writers on any thread append to it under one
// lock; the user interface thread's idle step takes it over to the window. The
// window itself lives in the GUI layer; the text waits here so that the debug
// channel and the codec text getters can reach it from every layer.

#include "foundation/Types.h"

#include <functional>
#include <vector>

// Appends text to the pending text under the lock. Callable from any thread,
// MIDI threads included.
void AddToLog(const TText16& text);
// One line: the program's own text of that id (GetProgramText) with its
// placeholders filled, and a line feed. Any thread.
void AddLineToLog(u32 textId, const std::vector<TText16>& parameters);

// When text is pending, hands it to deliver and clears it; returns whether
// there was any. deliver runs under the lock, so that nothing overtakes a
// piece on its way to the window; a long delivery holds up the writers.
// Callable from any thread; the log window calls it from its idle step.
bool FlushPendingLog(const std::function<void(const TText16&)>& deliver);

// Takes the pending text and leaves it empty. Callable from any thread.
TText16 TakePendingLog();
