#pragma once
// What the control surface selection dialog shows and chooses, without
// widgets: one popup row for each surface model of the loaded codecs, and for
// the chosen model one port popup for each of its input and output ports,
// labelled with the model's own port names; each port popup offers "-" (no
// port) and then the ports of the port hub.
//
// Only the first 16 models change the labels: choosing a later one leaves the
// labels and popups of the model shown before, and "Choose" then reads as
// many popups as the chosen model has ports. This limit is deliberate.
//
// The user interface thread.

#include "codec/CodecSurfaces.h"
#include "codec/KinvarCodec.h"
#include "foundation/Types.h"
#include "midi/MIDIHub.h"

#include <array>
#include <vector>

// The most rows that a popup of the dialog holds.
inline constexpr std::size_t kMaxPopupRows = 32767;
inline constexpr u32 kPortRowCount = NSKinvarCodec::kMaxPortCount;
// The first text of every port popup: no port.
inline constexpr const char16* kNoPortRow = u"-";

struct TSurfaceChoice
{
    TCodecPtr fCodec;
    NSKinvarCodec::TControlSurfaceInfo fInfo;
    std::vector<NSMIDIHub::CMIDIPortSpec> fInPorts;
    std::vector<NSMIDIHub::CMIDIPortSpec> fOutPorts;
};

class CSelectionDialogModel
{
public:
    using TPortLabels = std::array<TText16, kPortRowCount>;
    using TPorts = std::vector<NSMIDIHub::CMIDIPortSpec>;

    // With no model in surfaces, writes "You must first select a
    // .luacodef-file!" to the log and throws std::bad_exception: the dialog
    // does not open. Shows the labels of the first model.
    CSelectionDialogModel(const TCodecSurfaceList& surfaces, const TPorts& inPorts, const TPorts& outPorts);

    // "Manufacturer Model", one a model.
    const std::vector<TText16>& GetSurfaceRows() const { return fSurfaceRows; }
    // "-", then the ports' names in the hub's order.
    const std::vector<TText16>& GetInPortRows() const { return fInPortRows; }
    const std::vector<TText16>& GetOutPortRows() const { return fOutPortRows; }

    // The surface popup's new row: below 16, the labels and the shown
    // popups become that model's; else nothing changes.
    void SelectSurface(u32 row);
    const TPortLabels& GetInLabels() const { return fInLabels; }
    const TPortLabels& GetOutLabels() const { return fOutLabels; }
    u32 GetShownInCount() const { return fShownInCount; }
    u32 GetShownOutCount() const { return fShownOutCount; }

    // "Choose": the model of surfaceRow in surfaces, and for each of its ports
    // the port of that popup's row in the port lists as they are now (row 0 no
    // port, row n port n - 1). A row past the end of its list is a failed
    // assertion and XProgrammingError.
    static TSurfaceChoice Choose(const TCodecSurfaceList& surfaces, u32 surfaceRow,
                                 const std::array<u32, kPortRowCount>& inRows,
                                 const std::array<u32, kPortRowCount>& outRows, const TPorts& inPorts,
                                 const TPorts& outPorts);

private:
    std::vector<TText16> fSurfaceRows;
    std::vector<TPortLabels> fInPortNames;
    std::vector<TPortLabels> fOutPortNames;
    std::vector<u32> fInPortCounts;
    std::vector<u32> fOutPortCounts;
    std::vector<TText16> fInPortRows;
    std::vector<TText16> fOutPortRows;
    TPortLabels fInLabels;
    TPortLabels fOutLabels;
    u32 fShownInCount = 0;
    u32 fShownOutCount = 0;
};
