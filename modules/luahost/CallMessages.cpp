#include "CallMessages.h"

#include "foundation/TextPackage.h"

namespace NSLuaHost
{
void CCallMessages::Add(std::string_view line)
{
    if (!fText.empty())
        fText += '\n';
    fText += line;
}

void CCallMessages::Deliver(NSKinvarCodec::ITextGetter* messages) const noexcept
{
    if (messages == nullptr || fText.empty())
        return;
    try
    {
        messages->ITextGetter_Take(NSTextPackage::Text16FromUTF8(fText, u'?').c_str());
    }
    catch (...)
    {
        // Out of memory while wording a message: the status tells the rest.
    }
}
} // namespace NSLuaHost
