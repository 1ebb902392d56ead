#include "foundation/Media.h"

#include "foundation/Assert.h"
#include "foundation/Exceptions.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <limits>

namespace NSCorbelan
{
namespace
{
constexpr u32 kGroupSource = 7;
constexpr u32 kGroupPacked = 8;
constexpr u8 kLow7Bits = 0x7F;
constexpr u8 kTopBit = 0x80;

// position + count without wrapping: a sum past 4 GiB can never be in range.
u64 EndOf(u32 position, u32 count)
{
    return u64{position} + u64{count};
}

void FailAssertion(const char* file, i32 line)
{
    ::SAssert(file, line);
}
} // namespace

// ---- CMedia -----------------------------------------------------------------

CMedia::CInvariantCheck::CInvariantCheck(const CMedia& media)
    : fMedia(media), fUncaught(std::uncaught_exceptions())
{
    BF_ASSERT(fMedia.Invariant());
}

CMedia::CInvariantCheck::~CInvariantCheck()
{
    // Leaving by exception says nothing of the state: the failure that is on its
    // way is the report.
    if (std::uncaught_exceptions() == fUncaught && !fMedia.Invariant())
        FailAssertion(__FILE__, __LINE__);
}

void CMedia::CheckPosition(u32 position, u32 size)
{
    if (position <= size)
        return;
    FailAssertion(__FILE__, __LINE__);
    BF_THROW_SITE();
    throw NSException::XBadInputProgrammingError();
}

void CMedia::CheckReadRange(u32 position, u32 count, u32 size, const void* destination)
{
    if (count > 0 && destination == nullptr)
    {
        FailAssertion(__FILE__, __LINE__);
        BF_THROW_SITE();
        throw NSException::XBadInputProgrammingError();
    }
    if (EndOf(position, count) <= size)
        return;
    FailAssertion(__FILE__, __LINE__);
    BF_THROW_SITE();
    throw NSException::XRead();
}

void CMedia::CheckWriteRange(u32 position, u32 count, u32 capacity, const void* source)
{
    if (count > 0 && source == nullptr)
    {
        FailAssertion(__FILE__, __LINE__);
        BF_THROW_SITE();
        throw NSException::XBadInputProgrammingError();
    }
    if (EndOf(position, count) <= capacity)
        return;
    FailAssertion(__FILE__, __LINE__);
    BF_THROW_SITE();
    throw NSException::XWrite();
}

// A null buffer is refused only when bytes would move through it: an empty
// vector's data() may be null, and moving nothing through it is harmless.
void CMedia::Read(u32 count, void* destination)
{
    CInvariantCheck check(*this);
    ReadAt(GetPosition(), count, destination);
}

void CMedia::Write(u32 count, const void* source)
{
    CInvariantCheck check(*this);
    WriteAt(GetPosition(), count, source);
}

void CMedia::PeekAt(u32 position, u32 count, void* destination)
{
    CInvariantCheck check(*this);
    const u32 saved = GetPosition();
    ReadAt(position, count, destination);
    SetPosition(saved);
}

void CMedia::CopyFrom(u32 count, CMedia& other)
{
    CInvariantCheck check(*this);
    std::array<u8, kCopyChunkSize> buffer;
    while (count > 0)
    {
        const u32 chunk = std::min(count, kCopyChunkSize);
        other.Read(chunk, buffer.data());
        Write(chunk, buffer.data());
        count -= chunk;
    }
}

u8 CMedia::ReadByte()
{
    u8 value = 0;
    Read(1, &value);
    return value;
}

void CMedia::WriteByte(u8 value)
{
    Write(1, &value);
}

bool CMedia::ReadBool()
{
    return ReadByte() != 0;
}

void CMedia::WriteBool(bool value)
{
    WriteByte(value ? 1 : 0);
}

u16 CMedia::ReadU16()
{
    u8 bytes[2];
    Read(2, bytes);
    return static_cast<u16>((bytes[0] << 8) | bytes[1]);
}

void CMedia::WriteU16(u16 value)
{
    const u8 bytes[2] = {static_cast<u8>(value >> 8), static_cast<u8>(value)};
    Write(2, bytes);
}

u32 CMedia::ReadU32()
{
    u8 bytes[4];
    Read(4, bytes);
    return (u32{bytes[0]} << 24) | (u32{bytes[1]} << 16) | (u32{bytes[2]} << 8) | u32{bytes[3]};
}

void CMedia::WriteU32(u32 value)
{
    const u8 bytes[4] = {static_cast<u8>(value >> 24), static_cast<u8>(value >> 16),
                         static_cast<u8>(value >> 8), static_cast<u8>(value)};
    Write(4, bytes);
}

u32 CMedia::GetRemaining() const
{
    const u32 size = GetSize();
    const u32 position = GetPosition();
    return position < size ? size - position : 0;
}

// ---- CMemoryMedia -----------------------------------------------------------

CMemoryMedia::CMemoryMedia(void* block, u32 capacity, u32 size)
    : fBlock(static_cast<u8*>(block)), fCapacity(capacity), fSize(size), fReadOnly(false)
{
    BF_ASSERT(Invariant());
}

CMemoryMedia::CMemoryMedia(std::span<const u8> block)
    // The block is never written through: fReadOnly guards every write.
    : fBlock(const_cast<u8*>(block.data())), fCapacity(static_cast<u32>(block.size())),
      fSize(fCapacity), fReadOnly(true)
{
    BF_ASSERT(block.size() <= std::numeric_limits<u32>::max());
    BF_ASSERT(Invariant());
}

bool CMemoryMedia::Invariant() const
{
    return fSize <= fCapacity && fPosition <= fSize && (fBlock != nullptr || fCapacity == 0);
}

u32 CMemoryMedia::GetSize() const
{
    return fSize;
}

u32 CMemoryMedia::GetPosition() const
{
    return fPosition;
}

void CMemoryMedia::SetPosition(u32 position)
{
    CheckPosition(position, fSize);
    fPosition = position;
}

void CMemoryMedia::ReadAt(u32 position, u32 count, void* destination)
{
    CheckReadRange(position, count, fSize, destination);
    if (count > 0)
        std::memcpy(destination, fBlock + position, count);
    fPosition = position + count;
}

void CMemoryMedia::WriteAt(u32 position, u32 count, const void* source)
{
    CheckWriteRange(position, count, fReadOnly ? 0 : fCapacity, source);
    if (count > 0)
        std::memcpy(fBlock + position, source, count);
    fPosition = position + count;
    fSize = std::max(fSize, fPosition);
}

// ---- COwnedMemoryMedia ------------------------------------------------------

COwnedMemoryMedia::COwnedMemoryMedia(std::vector<u8> content) : fBlock(std::move(content))
{
    BF_ASSERT(Invariant());
}

bool COwnedMemoryMedia::Invariant() const
{
    return fBlock.size() <= std::numeric_limits<u32>::max() && fPosition <= fBlock.size();
}

u32 COwnedMemoryMedia::GetSize() const
{
    return static_cast<u32>(fBlock.size());
}

u32 COwnedMemoryMedia::GetPosition() const
{
    return fPosition;
}

void COwnedMemoryMedia::SetPosition(u32 position)
{
    CheckPosition(position, GetSize());
    fPosition = position;
}

void COwnedMemoryMedia::ReadAt(u32 position, u32 count, void* destination)
{
    CheckReadRange(position, count, GetSize(), destination);
    if (count > 0)
        std::memcpy(destination, fBlock.data() + position, count);
    fPosition = position + count;
}

void COwnedMemoryMedia::WriteAt(u32 position, u32 count, const void* source)
{
    CheckWriteRange(position, count, std::numeric_limits<u32>::max(), source);
    const u32 end = position + count;
    if (end > fBlock.size())
        fBlock.resize(end);
    if (count > 0)
        std::memcpy(fBlock.data() + position, source, count);
    fPosition = end;
}

// ---- CPartialMedia ----------------------------------------------------------

namespace
{
u32 LengthUpToPosition(const CMedia& parent, u32 start)
{
    const u32 end = parent.GetPosition();
    BF_ASSERT(start <= end);
    return start <= end ? end - start : 0;
}
} // namespace

CPartialMedia::CPartialMedia(CMedia& parent, u32 start, EAccess access)
    : CPartialMedia(parent, start, LengthUpToPosition(parent, start), access)
{
}

CPartialMedia::CPartialMedia(CMedia& parent, u32 start, u32 length, EAccess access)
    : fParent(parent), fWritable(access == EAccess::kReadWrite), fStart(start), fLength(length)
{
    const u32 parentSize = fParent.GetSize();
    if (EndOf(fStart, fLength) > parentSize)
    {
        // Clip the window to the parent, so that a program that goes on after
        // the report stays inside it.
        FailAssertion(__FILE__, __LINE__);
        fStart = std::min(fStart, parentSize);
        fLength = parentSize - fStart;
    }
}

bool CPartialMedia::Invariant() const
{
    return fPosition <= fLength && EndOf(fStart, fLength) <= fParent.GetSize();
}

u32 CPartialMedia::GetSize() const
{
    return fLength;
}

u32 CPartialMedia::GetPosition() const
{
    return fPosition;
}

void CPartialMedia::SetPosition(u32 position)
{
    CheckPosition(position, fLength);
    fPosition = position;
}

void CPartialMedia::ReadAt(u32 position, u32 count, void* destination)
{
    CheckReadRange(position, count, fLength, destination);
    const u32 saved = fParent.GetPosition();
    fParent.ReadAt(fStart + position, count, destination);
    fParent.SetPosition(saved);
    fPosition = position + count;
}

void CPartialMedia::WriteAt(u32 position, u32 count, const void* source)
{
    CheckWriteRange(position, count, fWritable ? fLength : 0, source);
    const u32 saved = fParent.GetPosition();
    fParent.WriteAt(fStart + position, count, source);
    fParent.SetPosition(saved);
    fPosition = position + count;
}

// ---- 7-bit packing ----------------------------------------------------------

u32 GetPacked7BitSize(u32 count)
{
    const u32 groups = count / kGroupSource + (count % kGroupSource != 0 ? 1 : 0);
    return groups * kGroupPacked;
}

void Pack7Bit(std::span<const u8> source, std::span<u8> destination)
{
    const u32 count = static_cast<u32>(source.size());
    const u32 packedSize = GetPacked7BitSize(count);
    BF_ASSERT(destination.size() >= packedSize);
    if (destination.size() < packedSize)
        return;
    for (u32 group = 0; group * kGroupSource < count; ++group)
    {
        u8* out = destination.data() + group * kGroupPacked;
        u8 topBits = 0;
        for (u32 i = 0; i < kGroupSource; ++i)
        {
            const u32 index = group * kGroupSource + i;
            const u8 byte = index < count ? source[index] : 0;
            out[i] = byte & kLow7Bits;
            if (byte & kTopBit)
                topBits |= static_cast<u8>(1u << (kGroupSource - 1 - i));
        }
        out[kGroupSource] = topBits;
    }
    for (u32 i = 0; i < packedSize; ++i)
        BF_ASSERT((destination[i] & kTopBit) == 0);
}

void Unpack7Bit(std::span<const u8> packed, std::span<u8> destination)
{
    const u32 count = static_cast<u32>(destination.size());
    const u32 packedSize = GetPacked7BitSize(count);
    BF_ASSERT(packed.size() >= packedSize);
    if (packed.size() < packedSize)
        return;
    for (u32 i = 0; i < packedSize; ++i)
        BF_ASSERT((packed[i] & kTopBit) == 0);
    for (u32 index = 0; index < count; ++index)
    {
        const u32 group = index / kGroupSource;
        const u32 i = index % kGroupSource;
        const u8* in = packed.data() + group * kGroupPacked;
        const bool top = (in[kGroupSource] >> (kGroupSource - 1 - i)) & 1;
        destination[index] = static_cast<u8>((in[i] & kLow7Bits) | (top ? kTopBit : 0));
    }
}
} // namespace NSCorbelan
