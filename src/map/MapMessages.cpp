#include "map/MapMessages.h"

#include "foundation/TextPackage.h"
#include "foundation/TextResource.h"

#include <string>

namespace NSKinvar
{
TText16 GetMapMessageText(EMapMessage id) { return GetText(static_cast<u16>(id)); }

TText16 MakeLineMessage(i32 lineNumber, const TText16& message)
{
    const std::string number = std::to_string(lineNumber);
    return NSTextPackage::SubstituteParameters(GetMapMessageText(kMsgLine), 0,
                                               {TText16(number.begin(), number.end()), message}) +
           u'\n';
}

TText16 MakeMissingMessage(const TText16& keyword)
{
    return NSTextPackage::SubstituteParameters(GetMapMessageText(kMsgMissing), 0, {keyword});
}

TText16 MakeMapErrorsHeading() { return GetMapMessageText(kMsgMapFileErrors) + u'\n'; }
} // namespace NSKinvar
