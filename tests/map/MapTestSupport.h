#pragma once
// A small surface for map tests: its items and state names, and a reader run
// over a file text.

#include "TestItems.h"
#include "map/MapReader.h"

#include <memory>
#include <string>

namespace NSMapTesting
{
// Items: 0 "Fader 1" (value), 1 "Button A" (button, states "Off" and "Blink"),
// 2 "Keys" (keyboard), 3 "Encoder" (delta), 4 "Display" (text output only).
std::shared_ptr<const NSKinvar::TItemList> MakeItems();
using NSTesting::MakeItem;
NSKinvar::TStateNames MakeStateNames();

// The five header lines for "Acme" "Box", each with its line feed.
std::string Header();

struct TReadResult
{
    bool fThrew = false;
    std::string fErrorText; // as UTF-8
    std::shared_ptr<NSKinvar::VControlSurfaceMap> fMap;
};

// Reads a whole file given as UTF-8 text against the test surface, or against
// other items (without states).
TReadResult ReadMapText(const std::string& text);
TReadResult ReadMapText(const std::string& text, std::shared_ptr<const NSKinvar::TItemList> items);

// Makes sure the program's text table is loaded.
void LoadTexts();
} // namespace NSMapTesting
