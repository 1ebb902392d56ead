// CVersion from text and from its binary forms. Whatever is accepted must
// come back unchanged through the form that the program writes itself.

#include "FuzzSupport.h"

#include "foundation/Exceptions.h"
#include "foundation/Media.h"
#include "foundation/Version.h"

#include <span>

namespace
{
using NSCorbelan::CVersion;
using NSFuzzing::Require;

void FromText(std::string_view bytes)
{
    try
    {
        const CVersion version = CVersion::FromText(bytes);
        Require(CVersion::FromText(version.GetText()) == version, "a version survives its text");
        Require(CVersion::FromText(version.GetText16()) == version, "a version survives its 16-bit text");
    }
    catch (const NSException::XBadFormat&)
    {
    }
    try
    {
        CVersion::FromText(NSFuzzing::TextOf(bytes));
    }
    catch (const NSException::XBadFormat&)
    {
    }
}

void FromBinary(std::string_view bytes)
{
    NSCorbelan::CMemoryMedia media(std::span(reinterpret_cast<const u8*>(bytes.data()), bytes.size()));
    try
    {
        const CVersion version = CVersion::Read(media);
        Require(version.GetStage() <= CVersion::kStageRelease, "a read stage is known");
        for (const bool longForm : {false, true})
        {
            NSCorbelan::COwnedMemoryMedia written;
            longForm ? version.WriteLong(written) : version.Write(written);
            Require(written.GetSize() == (longForm || !version.FitsShortForm() ? CVersion::kLongFormSize
                                                                                : CVersion::kShortFormSize),
                    "a version takes the size of its form");
            written.SetPosition(0);
            Require(CVersion::Read(written) == version, "a version survives its binary form");
        }
    }
    catch (const NSException::XBadFormat&)
    {
    }
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    NSFuzzing::InstallQuietAssertions();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size)
{
    const std::string_view bytes = NSFuzzing::BytesOf(data, size);
    FromText(bytes);
    FromBinary(bytes);
    return 0;
}
