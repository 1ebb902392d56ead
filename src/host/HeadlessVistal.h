#pragma once
// IVistal for programs without a GUI (benchmarks, tools): the run loop of
// host/RunLoop.h with no windows to show. Alerts are written to standard
// error and answered with their first button; open-file dialogs are answered
// as cancelled; document windows exist as their behaviours alone, until
// they are closed.

#include "host/RunLoop.h"
#include "host/Vistal.h"

#include <memory>
#include <vector>

class CHeadlessVistal final : public IVistal
{
public:
    explicit CHeadlessVistal(const COutputFrameClock& frames = GetOutputFrameClock());
    ~CHeadlessVistal() override;

    // Runs behaviour until a quit is requested (see CRunLoop::Run).
    u32 Run(IVistalRunBehavior& behaviour);
    CRunLoop& GetRunLoop() { return fLoop; }
    // Document windows that are open.
    std::size_t GetWindowCount() const;

    u32 IVistal_PostCustomEvent(u32 event, u32 data) override;
    u32 IVistal_UpdateCommands() override;
    u32 IVistal_RequestQuit() override;
    u32 IVistal_ShowAlert(const TAlertRecord& record, IAlertListener& listener) override;
    u32 IVistal_ShowOpenDialog(const TOpenDialogRequest& request, IOpenDialogListener& listener) override;
    u32 IVistal_Yield() override;
    u32 IVistal_CreateDocumentWindow(IDocumentWindowCreator& creator, u32 windowType,
                                     u32 flags) override;

private:
    class CWindow;

    CRunLoop fLoop;
    IVistalRunBehavior* fRunning = nullptr;
    std::vector<std::unique_ptr<CWindow>> fWindows;
};
