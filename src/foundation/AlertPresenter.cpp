#include "foundation/AlertPresenter.h"

#include "foundation/DiagnosticText.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace
{
constexpr u32 kVistalInvalidArgument = 12002;

// Writes to standard error what a dialog would show, and answers at once: the
// sink of processes that have no GUI, and of the workbench before its GUI runs.
class CStandardErrorPresenter final : public IAlertPresenter
{
public:
    u32 IAlertPresenter_ShowAlert(const TAlertRecord& record, IAlertListener& listener) override;
    EBoxAnswer IAlertPresenter_ShowBox(const char* caption, const char* text,
                                       EBoxButtons buttons) noexcept override;
};

std::string ReadableUTF8(TText16 text)
{
    std::replace(text.begin(), text.end(), kParagraphSeparator, u'\n');
    return UTF8FromText16Lenient(text);
}

const char* IconWord(u32 icon)
{
    switch (icon)
    {
    case kAlertIconStop:
        return "STOP";
    case kAlertIconNote:
        return "NOTE";
    case kAlertIconWarn:
        return "WARN";
    default:
        return "NONE";
    }
}

u32 CStandardErrorPresenter::IAlertPresenter_ShowAlert(const TAlertRecord& record,
                                                       IAlertListener& listener)
{
    if (!IsValidAlertRecord(record))
        return kVistalInvalidArgument;
    // Appended piece by piece: chains of operator+ trip a false -Wrestrict of GCC 12.
    std::string text = "Alert [";
    text.append(IconWord(record.icon)).append("]");
    if (record.caption[0] != 0)
        text.append(" ").append(ReadableUTF8(AlertRecordText(record.caption)));
    text.append("\n").append(ReadableUTF8(AlertRecordText(record.body))).append("\nButtons:");
    for (const auto* button : {&record.button1, &record.button2, &record.button3})
    {
        if ((*button)[0] != 0)
            text.append(" [").append(ReadableUTF8(AlertRecordText(*button))).append("]");
    }
    text += " -> answered with the first\n";
    std::fputs(text.c_str(), stderr);
    return listener.IAlertListener_ButtonPressed(kAlertPressedFirst);
}

EBoxAnswer CStandardErrorPresenter::IAlertPresenter_ShowBox(const char* caption, const char* text,
                                                            EBoxButtons buttons) noexcept
{
    try
    {
        std::string out = std::string(caption) + ": " + text;
        for (std::size_t at = out.find("\r\n"); at != std::string::npos; at = out.find("\r\n", at))
            out.erase(at, 1);
        std::replace(out.begin(), out.end(), '\r', '\n');
        EBoxAnswer answer = EBoxAnswer::kOK;
        if (buttons == EBoxButtons::kAbortRetryIgnore)
        {
            const char* mode = std::getenv("BRASSFOLD_ASSERT");
            const bool abort = mode != nullptr && std::strcmp(mode, "abort") == 0;
            answer = abort ? EBoxAnswer::kAbort : EBoxAnswer::kIgnore;
            out += abort ? "\n-> Abort (BRASSFOLD_ASSERT=abort)"
                         : "\n-> Ignore (set BRASSFOLD_ASSERT=abort to halt instead)";
        }
        out += "\n";
        std::fputs(out.c_str(), stderr);
        return answer;
    }
    catch (...)
    {
        return buttons == EBoxButtons::kAbortRetryIgnore ? EBoxAnswer::kIgnore : EBoxAnswer::kOK;
    }
}

std::atomic<IAlertPresenter*> gPresenter{nullptr};

bool IsTerminated(const char16 (&field)[kAlertTextCapacity])
{
    return std::find(std::begin(field), std::end(field), char16{0}) != std::end(field);
}
} // namespace

bool IsValidAlertRecord(const TAlertRecord& record)
{
    if (record.icon < kAlertIconNone || record.icon > kAlertIconWarn)
        return false;
    for (const auto* field :
         {&record.caption, &record.body, &record.button1, &record.button2, &record.button3})
    {
        if (!IsTerminated(*field))
            return false;
    }
    return record.button1[0] != 0 && !(record.button3[0] != 0 && record.button2[0] == 0);
}

TText16 AlertRecordText(const char16 (&field)[kAlertTextCapacity])
{
    const auto end = std::find(std::begin(field), std::end(field), char16{0});
    return TText16(std::begin(field), end);
}

IAlertPresenter& GetAlertPresenter()
{
    // Never destroyed: an assertion late in process exit still finds it.
    static CStandardErrorPresenter& standardError = *new CStandardErrorPresenter;
    IAlertPresenter* presenter = gPresenter.load();
    return presenter != nullptr ? *presenter : standardError;
}

void SetAlertPresenter(IAlertPresenter* presenter)
{
    gPresenter.store(presenter);
}
