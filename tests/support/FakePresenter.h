#pragma once
// A presenter that records what it is asked to show and answers as told, for
// the duration of one test.

#include "foundation/AlertPresenter.h"

#include <string>
#include <vector>

namespace NSTesting
{
class CFakePresenter final : public IAlertPresenter
{
public:
    CFakePresenter() : fBefore(&GetAlertPresenter()) { SetAlertPresenter(this); }
    ~CFakePresenter() override { SetAlertPresenter(fBefore); }
    CFakePresenter(const CFakePresenter&) = delete;
    CFakePresenter& operator=(const CFakePresenter&) = delete;

    u32 IAlertPresenter_ShowAlert(const TAlertRecord& record, IAlertListener& listener) override
    {
        fAlerts.push_back(record);
        if (fOnAlert)
            fOnAlert();
        if (fStatus != 12000)
            return fStatus;
        return listener.IAlertListener_ButtonPressed(fPressed);
    }

    EBoxAnswer IAlertPresenter_ShowBox(const char* caption, const char* text,
                                       EBoxButtons buttons) noexcept override
    {
        fBoxes.push_back({caption, text, buttons});
        if (fOnBox)
            fOnBox();
        return fAnswer;
    }

    struct TBox
    {
        std::string fCaption;
        std::string fText;
        EBoxButtons fButtons;
    };

    // What to answer.
    u32 fPressed = kAlertPressedFirst;
    u32 fStatus = 12000;
    EBoxAnswer fAnswer = EBoxAnswer::kIgnore;
    void (*fOnAlert)() = nullptr;
    void (*fOnBox)() = nullptr;

    // What was shown.
    std::vector<TAlertRecord> fAlerts;
    std::vector<TBox> fBoxes;

private:
    IAlertPresenter* fBefore;
};
} // namespace NSTesting
