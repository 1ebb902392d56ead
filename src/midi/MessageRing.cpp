#include "midi/MessageRing.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace NSTonewell
{
CMessageRing::CMessageRing(std::size_t capacity)
    : fBytes(), fCapacity(std::bit_ceil(std::max<std::size_t>(capacity, 64))), fHead(0), fTail(0)
{
    fBytes = std::make_unique<u8[]>(fCapacity);
}

std::size_t CMessageRing::RecordSize(std::size_t size) noexcept
{
    return sizeof(THeader) + (size + 7) / 8 * 8;
}

std::size_t CMessageRing::GetMaxMessageSize() const noexcept
{
    return fCapacity / 2 - sizeof(THeader);
}

bool CMessageRing::IsEmpty() const noexcept
{
    return fHead.load(std::memory_order_acquire) == fTail.load(std::memory_order_acquire);
}

bool CMessageRing::TryPush(u64 time, const u8* data, std::size_t size) noexcept
{
    if (size == 0 || size > GetMaxMessageSize())
        return false;
    const u64 head = fHead.load(std::memory_order_relaxed);
    const u64 tail = fTail.load(std::memory_order_acquire);
    if (fCapacity - (head - tail) < RecordSize(size))
        return false;
    const THeader header{time, size};
    CopyIn(head, &header, sizeof header);
    CopyIn(head + sizeof header, data, size);
    fHead.store(head + RecordSize(size), std::memory_order_release);
    return true;
}

bool CMessageRing::TryPop(u64& time, std::vector<u8>& data)
{
    const u64 tail = fTail.load(std::memory_order_relaxed);
    if (fHead.load(std::memory_order_acquire) == tail)
        return false;
    THeader header;
    CopyOut(tail, &header, sizeof header);
    time = header.fTime;
    data.resize(header.fSize);
    CopyOut(tail + sizeof header, data.data(), header.fSize);
    fTail.store(tail + RecordSize(header.fSize), std::memory_order_release);
    return true;
}

void CMessageRing::CopyIn(u64 position, const void* source, std::size_t size) noexcept
{
    const std::size_t offset = position & (fCapacity - 1);
    const std::size_t first = std::min(size, fCapacity - offset);
    std::memcpy(fBytes.get() + offset, source, first);
    std::memcpy(fBytes.get(), static_cast<const u8*>(source) + first, size - first);
}

void CMessageRing::CopyOut(u64 position, void* target, std::size_t size) const noexcept
{
    const std::size_t offset = position & (fCapacity - 1);
    const std::size_t first = std::min(size, fCapacity - offset);
    std::memcpy(target, fBytes.get() + offset, first);
    std::memcpy(static_cast<u8*>(target) + first, fBytes.get(), size - first);
}
} // namespace NSTonewell
