#include "host/AppCommands.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"
#include "foundation/FileHandling.h"
#include "foundation/LogText.h"
#include "foundation/TextPackage.h"
#include "foundation/TextResource.h"
#include "generic/GenericMidiCodec.h"
#include "host/CodecDebugger.h"
#include "host/CodecModules.h"
#include "map/MapValidation.h"

#include <functional>

using namespace NSKinvarCodec;
namespace fs = std::filesystem;

namespace
{
constexpr char16 kScriptHostName[] = u"LuaHost.kinvarcodec";

constexpr u32 kCodecLoadFailedText = 20;

// The open-file request of one kind of file, opening in the first data folder
// of that kind, if there is one.
TOpenDialogRequest FileRequest(const char16* prompt, const char16* extension, u32 dialogId,
                               const TFolderList& folders)
{
    TOpenDialogRequest request;
    request.fPrompt = prompt;
    request.fFileTypes.push_back({extension, extension, kTextFileType});
    request.fFlags = 0;
    request.fDialogId = dialogId;
    if (!folders.empty())
        request.fStartFolder = folders.front();
    return request;
}

const TControlSurfaceInfo& FindLoadedModel(const TText16& manufacturer, const TText16& model)
{
    for (const TCodecSurface& entry : gCodecSurfaces)
        if (GetRecordText(entry.second.fManufacturer) == manufacturer &&
            GetRecordText(entry.second.fModel) == model)
            return entry.second;
    BF_ASSERT(false);
    throw NSException::XNotFound();
}

void OpenDetectedPanels(IWorkbenchWindows& windows,
                        const std::vector<NSKinvarSetupUtils::TDetectedSurfaces>& probeResults)
{
    for (const NSKinvarSetupUtils::TDetectedSurfaces& model : probeResults)
        for (const NSKinvarSetupUtils::VDetectedKinvarControlSurface& found : model)
        {
            // The model is looked up by its names alone, whatever codec found it.
            const TControlSurfaceInfo surfaceInfo = FindLoadedModel(found.fManufacturer, found.fModel);
            windows.IWorkbenchWindows_OpenHardwarePanel(found.fCodec, surfaceInfo, found.fInPorts,
                                                        found.fOutPorts);
        }
}
} // namespace

fs::path GetScriptHostModule() { return GetTestCodecFolder() / fs::path(kScriptHostName); }

void AppendCodecSurfaces(const TCodecPtr& codec)
{
    for (const TControlSurfaceInfo& info : GetControlSurfacesForCodec(codec))
        gCodecSurfaces.emplace_back(codec, info);
}

namespace
{
void ChooseCodecFileWith(IVistal& vistal, const std::function<fs::path()>& findScriptHost)
{
    const std::vector<fs::path> filesSelected = DoBlockingAppModalOpenDialog(
        vistal, FileRequest(u"Select Codec File", u".luacodec", 123, GetLuaCodecFolders()));
    if (filesSelected.empty())
        return;
    const fs::path& codecAddress = filesSelected.front();
    const fs::path scriptHostModule = findScriptHost();
    const TCodecPtr codec = LoadCodec(scriptHostModule, codecAddress);
    // The loader is silent about a module it can't load; the user learns
    // which one before the listing's assertion stops the command.
    if (!codec)
        AddToLog(NSTextPackage::SubstituteParameters(GetText(kCodecLoadFailedText), 0,
                                                     {scriptHostModule.u16string()}));
    AppendCodecSurfaces(codec);
}
} // namespace

void ChooseCodecFile(IVistal& vistal) { ChooseCodecFileWith(vistal, &GetScriptHostModule); }

void ChooseCodecFile(IVistal& vistal, const fs::path& scriptHostModule)
{
    ChooseCodecFileWith(vistal, [&] { return scriptHostModule; });
}

void AutoDetect(IWorkbenchWindows& windows)
{
    std::unique_ptr<IAutoDetectProgressDialog> dialog = windows.IWorkbenchWindows_OpenAutoDetectProgress();
    BF_ASSERT(dialog != nullptr);
    if (!dialog)
        throw XProgrammingError();
    try
    {
        const auto probeResults = NSKinvarSetupUtils::AutodetectControlSurfaces(gCodecSurfaces, &dialog->GetProgress());
        OpenDetectedPanels(windows, probeResults);
    }
    catch (...)
    {
        dialog->Close();
        throw;
    }
    dialog->Close();
}

void LoadMIDICodecs()
{
    const TCodecPtr codec(NSGenericMidiCodec::CreateGenericMidiCodec(), codec_deleter());
    ThrowCodecResult(codec->ICodec2_SetDebugger(&NSKinvar::GetWorkbenchCodecDebugger()));
    AppendCodecSurfaces(codec);
}

void ValidateMapFileCommand(IVistal& vistal)
{
    const std::vector<fs::path> filesSelected =
        DoBlockingAppModalOpenDialog(vistal, FileRequest(u"Select Map File", u".kinvarmap", 124,
                                                         GetMapFolders()));
    if (filesSelected.empty())
        return;
    NSKinvar::ValidateMapFile(gCodecSurfaces, filesSelected.front());
}

CDummyDocumentWindow::CDummyDocumentWindow(IVistalWindow& window, IVistal& vistal)
    : fWindow(window), fVistal(vistal)
{
}

u32 CDummyDocumentWindow::IDocumentWindowBehavior_Opened() { return kVistalOK; }
u32 CDummyDocumentWindow::IDocumentWindowBehavior_Resized() { return kVistalOK; }

u32 CDummyDocumentWindow::IDocumentWindowBehavior_Activated(u32 active)
{
    return active != 0 ? fVistal.IVistal_UpdateCommands() : kVistalOK;
}

u32 CDummyDocumentWindow::IDocumentWindowBehavior_QueryCommand(u32, u32* enabled)
{
    *enabled = 0;
    return kVistalOK;
}

u32 CDummyDocumentWindow::IDocumentWindowBehavior_MenuCommand(u32) { return kVistalOK; }
u32 CDummyDocumentWindow::IDocumentWindowBehavior_Draw() { return kVistalOK; }
u32 CDummyDocumentWindow::IDocumentWindowBehavior_KeyDown(u32) { return kVistalOK; }

u32 CDummyDocumentWindow::IDocumentWindowBehavior_QueryModified(u32* modified)
{
    *modified = 0;
    return kVistalOK;
}

u32 CDummyDocumentWindow::IDocumentWindowBehavior_CloseRequested()
{
    return fWindow.IVistalWindow_Close();
}

u32 CDummyWindowCreator::IDocumentWindowCreator_Create(IVistalWindow& window,
                                                       IDocumentWindowBehavior** behavior)
{
    return GuardEdge(kVistalEdge, [&] { *behavior = new CDummyDocumentWindow(window, fVistal); });
}

void OpenDummyDocumentWindow(IVistal& vistal)
{
    CDummyWindowCreator creator(vistal);
    ThrowVistalResult(vistal.IVistal_CreateDocumentWindow(creator, kDummyDocumentWindowType, 1));
    ThrowVistalResult(vistal.IVistal_UpdateCommands());
}
