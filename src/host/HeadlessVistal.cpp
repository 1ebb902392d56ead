#include "host/HeadlessVistal.h"

#include "foundation/Failures.h"
#include "foundation/TextPackage.h"

#include <algorithm>
#include <cstdio>

class CHeadlessVistal::CWindow final : public IVistalWindow
{
public:
    explicit CWindow(u32 type) : fType(type) {}

    // Its behaviour may be what calls: the window is forgotten here and
    // freed with the toolkit.
    u32 IVistalWindow_Close() override
    {
        fClosed = true;
        return kVistalOK;
    }

    u32 fType;
    bool fClosed = false;
    std::unique_ptr<IDocumentWindowBehavior> fBehavior;
};

CHeadlessVistal::CHeadlessVistal(const COutputFrameClock& frames) : fLoop(frames) {}

CHeadlessVistal::~CHeadlessVistal() = default;

u32 CHeadlessVistal::Run(IVistalRunBehavior& behaviour)
{
    fRunning = &behaviour;
    const u32 status = fLoop.Run(behaviour);
    fRunning = nullptr;
    return status;
}

u32 CHeadlessVistal::IVistal_PostCustomEvent(u32 event, u32 data)
{
    return fLoop.PostCustomEvent(event, data);
}

u32 CHeadlessVistal::IVistal_UpdateCommands() { return kVistalOK; }

std::size_t CHeadlessVistal::GetWindowCount() const
{
    return static_cast<std::size_t>(std::count_if(
        fWindows.begin(), fWindows.end(), [](const auto& window) { return !window->fClosed; }));
}

u32 CHeadlessVistal::IVistal_RequestQuit()
{
    fLoop.RequestQuit();
    return kVistalOK;
}

u32 CHeadlessVistal::IVistal_ShowAlert(const TAlertRecord& record, IAlertListener& listener)
{
    const std::string caption = NSTextPackage::UTF8FromText16(AlertRecordText(record.caption));
    const std::string body = NSTextPackage::UTF8FromText16(AlertRecordText(record.body));
    std::fprintf(stderr, "%s%s%s\n", caption.c_str(), caption.empty() ? "" : ": ", body.c_str());
    return listener.IAlertListener_ButtonPressed(kAlertPressedFirst);
}

u32 CHeadlessVistal::IVistal_ShowOpenDialog(const TOpenDialogRequest&, IOpenDialogListener& listener)
{
    return listener.IOpenDialogListener_Chosen({});
}

u32 CHeadlessVistal::IVistal_Yield()
{
    if (fRunning != nullptr)
        fLoop.DeliverPendingEvents(*fRunning);
    return kVistalOK;
}

u32 CHeadlessVistal::IVistal_CreateDocumentWindow(IDocumentWindowCreator& creator, u32 windowType,
                                                  u32)
{
    auto window = std::make_unique<CWindow>(windowType);
    IDocumentWindowBehavior* behavior = nullptr;
    const u32 status = creator.IDocumentWindowCreator_Create(*window, &behavior);
    if (status != kVistalOK)
        return status;
    window->fBehavior.reset(behavior);
    fWindows.push_back(std::move(window));
    return kVistalOK;
}
