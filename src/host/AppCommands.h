#pragma once
// The commands of the "Test" menu that are not windows of their own, and the
// dummy document window that the workbench opens at start. All run on the
// user interface thread; what they throw becomes the menu command's status.
//
// gCodecSurfaces (host/CodecModules.h) is the list they fill and read: every
// model of every codec loaded so far, in load order. It only grows: loading
// the same codec twice lists its models twice.

#include "codec/CodecSurfaces.h"
#include "host/Vistal.h"
#include "host/WorkbenchWindows.h"

#include <filesystem>

// "Choose Codec File": the user picks a ".luacodec" script, the script host
// module is loaded for it, and the codec's models are appended to
// gCodecSurfaces. A cancelled dialog changes nothing. A script host that
// can't be loaded stops at GetControlSurfacesForCodec's assertion.
void ChooseCodecFile(IVistal& vistal, const std::filesystem::path& scriptHostModule);
// With the module of GetScriptHostModule, looked for once a file is chosen.
void ChooseCodecFile(IVistal& vistal);
// "LuaHost.kinvarcodec" in the folder of GetTestCodecFolder.
std::filesystem::path GetScriptHostModule();

// "AutoDetect": probes for every model of gCodecSurfaces, with the progress
// dialog open meanwhile, and opens a hardware panel for each surface found,
// in the order found, with the record of the first entry of gCodecSurfaces
// that has its manufacturer and model.
void AutoDetect(IWorkbenchWindows& windows);

// "Load MIDI Codecs": the generic MIDI codec, made by its factory, whose
// models are appended as those of "Choose Codec File" are.
void LoadMIDICodecs();

// Appends one entry for each model of codec, in the codec's order.
void AppendCodecSurfaces(const TCodecPtr& codec);

// "Validate Map File": the user picks a ".kinvarmap" file, which is proven
// against the loaded codecs (map/MapValidation.h). A cancelled dialog does
// nothing.
void ValidateMapFileCommand(IVistal& vistal);

// The dummy document window: the one document window from the start, which
// has no content and brings the menus up to date when it comes to the front.
class CDummyDocumentWindow final : public IDocumentWindowBehavior
{
public:
    CDummyDocumentWindow(IVistalWindow& window, IVistal& vistal);

    u32 IDocumentWindowBehavior_Opened() override;
    u32 IDocumentWindowBehavior_Resized() override;
    u32 IDocumentWindowBehavior_Activated(u32 active) override;
    u32 IDocumentWindowBehavior_QueryCommand(u32 command, u32* enabled) override;
    u32 IDocumentWindowBehavior_MenuCommand(u32 command) override;
    u32 IDocumentWindowBehavior_Draw() override;
    u32 IDocumentWindowBehavior_KeyDown(u32 key) override;
    u32 IDocumentWindowBehavior_QueryModified(u32* modified) override;
    u32 IDocumentWindowBehavior_CloseRequested() override;

private:
    IVistalWindow& fWindow;
    IVistal& fVistal;
};

class CDummyWindowCreator final : public IDocumentWindowCreator
{
public:
    explicit CDummyWindowCreator(IVistal& vistal) : fVistal(vistal) {}
    u32 IDocumentWindowCreator_Create(IVistalWindow& window, IDocumentWindowBehavior** behavior) override;

private:
    IVistal& fVistal;
};

// Opens the dummy document window and brings the menus up to date.
void OpenDummyDocumentWindow(IVistal& vistal);
