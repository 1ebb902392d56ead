#include "host/OutputTraffic.h"

#include "foundation/Assert.h"

void COutputTraffic::Append(u64 now, u32 bytes)
{
    fStats.push_back({now, bytes});
    while (!fStats.empty() && now - fStats.front().fTime > kOutputTrafficKeptMicroseconds)
        fStats.pop_front();
}

std::pair<u32, u32> COutputTraffic::GetRates(u64 now, i64 milliseconds) const
{
    BF_ASSERT(milliseconds > 0);
    if (milliseconds <= 0)
        return {0, 0};
    const u64 window = static_cast<u64>(milliseconds) * 1000;
    u64 frames = 0;
    u64 bytes = 0;
    for (auto stat = fStats.rbegin(); stat != fStats.rend(); ++stat)
    {
        if (now - stat->fTime > window)
            break;
        ++frames;
        bytes += stat->fBytes;
    }
    const u64 ms = static_cast<u64>(milliseconds);
    return {static_cast<u32>(frames * 1000 / ms), static_cast<u32>(bytes * 1000 / ms)};
}
