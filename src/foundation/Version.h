#pragma once
// A module's version: major.minor.bug-fix, a stage with its revision, and a
// build number.
//
// Text form: "1.3" when the bug-fix level is 0, "1.3.6" otherwise; a stage
// other than the release adds its letter and revision ("1.3.6b7"); a build
// number other than 0 adds " (build 45)". FromText reads every such text back.
//
// Binary forms, written big-endian through a CMedia:
//   short, 5 bytes:  major, minor, bug-fix, stage, stage revision, one byte each.
//                    Only for versions whose fields fit a byte, with build 0.
//   long, 29 bytes:  the marker BC FF FF FF FF, then major, minor, bug-fix,
//                    stage, stage revision and build as six 32-bit words.
// The marker can't start a short form, since a short form's fourth byte is a
// stage (0 to 4), never FF. A stage above 4 in either form is bad format.

#include "foundation/Types.h"

#include <string>
#include <string_view>

namespace NSCorbelan
{
class CMedia;

class CVersion
{
public:
    // Stages index the letters "dabf": development, alpha, beta, final
    // candidate. kStageRelease stands past the letters and prints none.
    static constexpr u32 kStageDevelopment = 0;
    static constexpr u32 kStageAlpha = 1;
    static constexpr u32 kStageBeta = 2;
    static constexpr u32 kStageFinal = 3;
    static constexpr u32 kStageRelease = 4;

    static constexpr u32 kShortFormSize = 5;
    static constexpr u32 kLongFormSize = 29;

    // 0.0.0, release stage.
    CVersion() = default;
    CVersion(u32 major, u32 minor, u32 bugFix = 0, u32 stage = kStageRelease, u32 stageRevision = 0,
             u32 build = 0);

    u32 GetMajor() const { return fMajor; }
    u32 GetMinor() const { return fMinor; }
    u32 GetBugFix() const { return fBugFix; }
    u32 GetStage() const { return fStage; }
    u32 GetStageRevision() const { return fStageRevision; }
    u32 GetBuild() const { return fBuild; }

    // "1.3.6b7 (build 45)"; the text is ASCII.
    std::string GetText() const;
    TText16 GetText16() const;
    // Throws NSException::XBadFormat for anything that GetText could not have made.
    static CVersion FromText(std::string_view text);
    static CVersion FromText(const TText16& text);

    // Reads either binary form. Fewer than 5 bytes left, a long form cut short,
    // or a stage above 4 throw NSException::XBadFormat.
    static CVersion Read(CMedia& media);
    // Writes the short form when the version fits it, else the long form.
    void Write(CMedia& media) const;
    void WriteLong(CMedia& media) const;
    bool FitsShortForm() const;

    friend bool operator==(const CVersion&, const CVersion&) = default;

private:
    u32 fMajor = 0;
    u32 fMinor = 0;
    u32 fBugFix = 0;
    u32 fStage = kStageRelease;
    u32 fStageRevision = 0;
    u32 fBuild = 0;
};
} // namespace NSCorbelan
