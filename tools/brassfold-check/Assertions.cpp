#include "Assertions.h"

#include "foundation/Assert.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace NSCheckTool
{
namespace
{
using TSite = std::pair<std::string, i32>;

struct THeldSite
{
    TSite fSite;
    bool fDropped = false;
};

TAssertionHook gShow = nullptr;
CHeldAssertions* gCurrentHold = nullptr;
std::vector<THeldSite> gHeld;
// The sites of the tool's own reads, shown or dropped: a codec's scan of the
// same files meets them again.
std::vector<TSite> gSeen;

void Show(const TSite& site)
{
    if (gShow != nullptr)
        gShow(site.first.c_str(), site.second);
}

void FilterAssertion(const char* file, i32 line)
{
    if (gCurrentHold == nullptr)
        Show({file, line});
    else
        gHeld.push_back({{file, line}});
}

// Whether the site was met by an own read, which then counts as met again.
bool TakeSeen(const TSite& site)
{
    const auto found = std::find(gSeen.begin(), gSeen.end(), site);
    if (found == gSeen.end())
        return false;
    gSeen.erase(found);
    return true;
}
} // namespace

CAssertionFilter::CAssertionFilter()
{
    gShow = GetAssertionHook();
    SetAssertionHook(&FilterAssertion);
}

CAssertionFilter::~CAssertionFilter() { SetAssertionHook(gShow); }

CHeldAssertions::CHeldAssertions(EKind kind) : fKind(kind), fOuter(gCurrentHold), fFirst(gHeld.size())
{
    gCurrentHold = this;
}

CHeldAssertions::~CHeldAssertions()
{
    const std::vector<THeldSite> held(gHeld.begin() + std::ptrdiff_t(fFirst), gHeld.end());
    gHeld.resize(fFirst);
    gCurrentHold = fOuter; // what this hold shows, an outer one holds in turn
    for (const THeldSite& site : held)
    {
        if (fKind == EKind::kOwnRead)
            gSeen.push_back(site.fSite);
        const bool repeated = fKind == EKind::kRepeatRead && TakeSeen(site.fSite);
        if (!site.fDropped && !repeated && fKind != EKind::kSilent)
            FilterAssertion(site.fSite.first.c_str(), site.fSite.second);
    }
}

void CHeldAssertions::DropLast()
{
    if (gHeld.size() > fFirst)
        gHeld.back().fDropped = true;
}
} // namespace NSCheckTool
