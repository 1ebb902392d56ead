#include "foundation/Version.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/Media.h"

#include <array>
#include <charconv>

namespace NSCorbelan
{
namespace
{
constexpr std::string_view kStageLetters = "dabf";
constexpr std::string_view kBuildPrefix = " (build ";
constexpr std::array<u8, 5> kLongFormMarker = {0xBC, 0xFF, 0xFF, 0xFF, 0xFF};
constexpr u32 kByteLimit = 0xFF;

[[noreturn]] void ThrowBadFormat()
{
    BF_THROW_SITE();
    throw NSException::XBadFormat();
}

// Reads the text's parts from the front; every step refuses what GetText
// could not have written.
class CVersionTextReader
{
public:
    explicit CVersionTextReader(std::string_view text) : fRest(text) {}

    u32 Number()
    {
        u32 value = 0;
        const auto [end, error] = std::from_chars(fRest.data(), fRest.data() + fRest.size(), value);
        if (error != std::errc() || end == fRest.data())
            ThrowBadFormat();
        fRest.remove_prefix(static_cast<std::size_t>(end - fRest.data()));
        return value;
    }

    bool Skip(std::string_view expected)
    {
        if (!fRest.starts_with(expected))
            return false;
        fRest.remove_prefix(expected.size());
        return true;
    }

    // The stage letter's index, or kStageRelease when none follows.
    u32 Stage()
    {
        if (fRest.empty())
            return CVersion::kStageRelease;
        const auto index = kStageLetters.find(fRest.front());
        if (index == std::string_view::npos)
            return CVersion::kStageRelease;
        fRest.remove_prefix(1);
        return static_cast<u32>(index);
    }

    void Expect(std::string_view expected)
    {
        if (!Skip(expected))
            ThrowBadFormat();
    }

    void ExpectEnd() const
    {
        if (!fRest.empty())
            ThrowBadFormat();
    }

private:
    std::string_view fRest;
};
} // namespace

CVersion::CVersion(u32 major, u32 minor, u32 bugFix, u32 stage, u32 stageRevision, u32 build)
    : fMajor(major), fMinor(minor), fBugFix(bugFix), fStage(stage), fStageRevision(stageRevision),
      fBuild(build)
{
    BF_ASSERT(stage <= kStageRelease);
    if (fStage > kStageRelease)
        fStage = kStageRelease;
}

std::string CVersion::GetText() const
{
    std::string text = std::to_string(fMajor);
    text.append(".").append(std::to_string(fMinor));
    if (fBugFix != 0)
        text.append(".").append(std::to_string(fBugFix));
    if (fStage < kStageRelease)
        text.append(1, kStageLetters[fStage]).append(std::to_string(fStageRevision));
    if (fBuild != 0)
        text.append(kBuildPrefix).append(std::to_string(fBuild)).append(")");
    return text;
}

// The text is ASCII, so each byte is one code unit.
TText16 CVersion::GetText16() const
{
    const std::string text = GetText();
    return TText16(text.begin(), text.end());
}

CVersion CVersion::FromText(std::string_view text)
{
    CVersionTextReader reader(text);
    CVersion version;
    version.fMajor = reader.Number();
    reader.Expect(".");
    version.fMinor = reader.Number();
    if (reader.Skip("."))
        version.fBugFix = reader.Number();
    version.fStage = reader.Stage();
    if (version.fStage < kStageRelease)
        version.fStageRevision = reader.Number();
    if (reader.Skip(kBuildPrefix))
    {
        version.fBuild = reader.Number();
        reader.Expect(")");
    }
    reader.ExpectEnd();
    return version;
}

CVersion CVersion::FromText(const TText16& text)
{
    std::string narrow;
    for (const char16 unit : text)
    {
        if (unit > 0x7F)
            ThrowBadFormat();
        narrow += static_cast<char>(unit);
    }
    return FromText(narrow);
}

CVersion CVersion::Read(CMedia& media)
{
    if (media.GetRemaining() < kShortFormSize)
        ThrowBadFormat();
    std::array<u8, kShortFormSize> head;
    media.Read(kShortFormSize, head.data());
    CVersion version;
    if (head == kLongFormMarker)
    {
        if (media.GetRemaining() < kLongFormSize - kShortFormSize)
            ThrowBadFormat();
        version.fMajor = media.ReadU32();
        version.fMinor = media.ReadU32();
        version.fBugFix = media.ReadU32();
        version.fStage = media.ReadU32();
        version.fStageRevision = media.ReadU32();
        version.fBuild = media.ReadU32();
    }
    else
    {
        version.fMajor = head[0];
        version.fMinor = head[1];
        version.fBugFix = head[2];
        version.fStage = head[3];
        version.fStageRevision = head[4];
    }
    if (version.fStage > kStageRelease)
        ThrowBadFormat();
    return version;
}

bool CVersion::FitsShortForm() const
{
    return fMajor <= kByteLimit && fMinor <= kByteLimit && fBugFix <= kByteLimit &&
           fStageRevision <= kByteLimit && fBuild == 0;
}

void CVersion::Write(CMedia& media) const
{
    if (!FitsShortForm())
    {
        WriteLong(media);
        return;
    }
    const std::array<u8, kShortFormSize> bytes = {static_cast<u8>(fMajor), static_cast<u8>(fMinor),
                                                  static_cast<u8>(fBugFix), static_cast<u8>(fStage),
                                                  static_cast<u8>(fStageRevision)};
    media.Write(kShortFormSize, bytes.data());
}

void CVersion::WriteLong(CMedia& media) const
{
    media.Write(kShortFormSize, kLongFormMarker.data());
    for (const u32 field : {fMajor, fMinor, fBugFix, fStage, fStageRevision, fBuild})
        media.WriteU32(field);
}
} // namespace NSCorbelan
