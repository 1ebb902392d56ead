#include "gui/SelectionDialogModel.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"
#include "foundation/LogText.h"

#include <algorithm>
#include <exception>

using namespace NSKinvarCodec;
using NSMIDIHub::CMIDIPortSpec;

namespace
{
using TPortLabels = CSelectionDialogModel::TPortLabels;

TPortLabels LabelsOf(const char16 (&names)[kMaxPortCount][kMaxPortNameLength + 1])
{
    TPortLabels labels;
    for (u32 i = 0; i < kPortRowCount; ++i)
        labels[i] = GetRecordText(names[i]);
    return labels;
}

std::vector<TText16> PortRows(const CSelectionDialogModel::TPorts& ports)
{
    std::vector<TText16> rows{kNoPortRow};
    for (std::size_t i = 0; i < ports.size() && i < kMaxPopupRows; ++i)
        rows.push_back(ports[i].GetDisplayName());
    return rows;
}

std::vector<CMIDIPortSpec> ChoosePorts(u32 count, const std::array<u32, kPortRowCount>& rows,
                                       const CSelectionDialogModel::TPorts& ports)
{
    std::vector<CMIDIPortSpec> chosen;
    for (u32 i = 0; i < count && i < kPortRowCount; ++i)
    {
        // The list may have shrunk since the dialog opened.
        BF_ASSERT(rows[i] <= ports.size());
        if (rows[i] > ports.size())
            throw XProgrammingError();
        chosen.push_back(rows[i] == 0 ? CMIDIPortSpec() : ports[rows[i] - 1]);
    }
    return chosen;
}
} // namespace

CSelectionDialogModel::CSelectionDialogModel(const TCodecSurfaceList& surfaces, const TPorts& inPorts,
                                             const TPorts& outPorts)
{
    if (surfaces.empty())
    {
        AddToLog(u"You must first select a .luacodef-file!");
        throw std::bad_exception();
    }
    for (std::size_t i = 0; i < surfaces.size() && i < kMaxPopupRows; ++i)
    {
        const TControlSurfaceInfo& info = surfaces[i].second;
        fSurfaceRows.push_back(GetRecordText(info.fManufacturer) + u" " + GetRecordText(info.fModel));
        fOutPortNames.push_back(LabelsOf(info.fOutPortNames));
        fInPortNames.push_back(LabelsOf(info.fInPortNames));
        fInPortCounts.push_back(info.fInPortCount);
        fOutPortCounts.push_back(info.fOutPortCount);
    }
    fInPortRows = PortRows(inPorts);
    fOutPortRows = PortRows(outPorts);
    fInLabels.fill(u"In");
    fOutLabels.fill(u"Out");
    SelectSurface(0);
}

void CSelectionDialogModel::SelectSurface(u32 row)
{
    if (row >= kPortRowCount || row >= fSurfaceRows.size())
        return;
    fInLabels = fInPortNames[row];
    fOutLabels = fOutPortNames[row];
    fShownInCount = std::min(fInPortCounts[row], kPortRowCount);
    fShownOutCount = std::min(fOutPortCounts[row], kPortRowCount);
}

TSurfaceChoice CSelectionDialogModel::Choose(const TCodecSurfaceList& surfaces, u32 surfaceRow,
                                             const std::array<u32, kPortRowCount>& inRows,
                                             const std::array<u32, kPortRowCount>& outRows,
                                             const TPorts& inPorts, const TPorts& outPorts)
{
    BF_ASSERT(surfaceRow < surfaces.size());
    if (surfaceRow >= surfaces.size())
        throw XProgrammingError();
    const auto& [codec, info] = surfaces[surfaceRow];
    return {codec, info, ChoosePorts(info.fInPortCount, inRows, inPorts),
            ChoosePorts(info.fOutPortCount, outRows, outPorts)};
}
