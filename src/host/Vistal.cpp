#include "host/Vistal.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/Failures.h"

#include <atomic>

namespace
{
// Read by MIDI threads (the hub posts through it), set on the main thread.
std::atomic<IVistal*> gVistal{nullptr};

class COpenDialogResult final : public IOpenDialogListener
{
public:
    u32 IOpenDialogListener_Chosen(const std::vector<std::filesystem::path>& files) override
    {
        fFiles = files;
        return kVistalOK;
    }
    std::vector<std::filesystem::path> fFiles;
};

TFileType CutToLimits(TFileType type)
{
    if (type.fDescription.size() > kFileTypeDescriptionLimit)
        type.fDescription.resize(kFileTypeDescriptionLimit);
    if (type.fExtension.size() > kFileTypeExtensionLimit)
        type.fExtension.resize(kFileTypeExtensionLimit);
    return type;
}
} // namespace

IVistal& GetVistal()
{
    IVistal* vistal = gVistal.load(std::memory_order_acquire);
    BF_ASSERT(vistal != nullptr);
    if (vistal == nullptr)
        throw XProgrammingError();
    return *vistal;
}

bool HasVistal() { return gVistal.load(std::memory_order_acquire) != nullptr; }

void SetVistal(IVistal* vistal) { gVistal.store(vistal, std::memory_order_release); }

CVistalInstallation::CVistalInstallation(IVistal& vistal)
    : fPrevious(gVistal.exchange(&vistal, std::memory_order_acq_rel))
{
}

CVistalInstallation::~CVistalInstallation() { SetVistal(fPrevious); }

std::vector<std::filesystem::path> DoBlockingAppModalOpenDialog(IVistal& vistal,
                                                                const TOpenDialogRequest& request)
{
    TOpenDialogRequest cut = request;
    for (TFileType& type : cut.fFileTypes)
        type = CutToLimits(type);
    COpenDialogResult result;
    ThrowVistalResult(vistal.IVistal_ShowOpenDialog(cut, result));
    return result.fFiles;
}

CVistalAlertPresenter::CVistalAlertPresenter(IVistal& vistal, IAlertPresenter& boxes)
    : fVistal(vistal), fBoxes(boxes)
{
}

u32 CVistalAlertPresenter::IAlertPresenter_ShowAlert(const TAlertRecord& record,
                                                     IAlertListener& listener)
{
    return fVistal.IVistal_ShowAlert(record, listener);
}

EBoxAnswer CVistalAlertPresenter::IAlertPresenter_ShowBox(const char* caption, const char* text,
                                                          EBoxButtons buttons) noexcept
{
    return fBoxes.IAlertPresenter_ShowBox(caption, text, buttons);
}
