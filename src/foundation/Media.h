#pragma once
// Random-access byte streams. Multi-byte values in a stream are big-endian on
// every platform, so a stream written on one machine reads the same on another.
//
// CMedia is the base of memory buffers, windows on other streams and files
// (foundation/FileHandling.h). A misuse (a read past the end, a position past
// the size) is an assertion failure first; the operation then throws, so that a
// program that goes on after the report never reads memory it does not own.
//
// A stream belongs to its caller and is never shared between threads. The
// 7-bit packing functions keep no state and may be called on any thread, MIDI
// threads included.

#include "foundation/Types.h"

#include <span>
#include <vector>

namespace NSCorbelan
{
class CMedia
{
public:
    virtual ~CMedia() = default;

    // True when the stream is sound. Checked on entry and exit of the public
    // operations below.
    virtual bool Invariant() const = 0;
    virtual u32 GetSize() const = 0;
    virtual u32 GetPosition() const = 0;
    // 0 up to and including the size.
    virtual void SetPosition(u32 position) = 0;
    // Both leave the position at position plus count.
    virtual void ReadAt(u32 position, u32 count, void* destination) = 0;
    virtual void WriteAt(u32 position, u32 count, const void* source) = 0;

    // At the current position. A count of 0 is allowed, a null buffer is not.
    void Read(u32 count, void* destination);
    void Write(u32 count, const void* source);
    // Reads at position and puts the current position back.
    void PeekAt(u32 position, u32 count, void* destination);
    // Moves count bytes from other's position to this one's, in chunks of at
    // most kCopyChunkSize bytes.
    void CopyFrom(u32 count, CMedia& other);

    u8 ReadByte();
    void WriteByte(u8 value);
    bool ReadBool();
    void WriteBool(bool value);
    u16 ReadU16();
    void WriteU16(u16 value);
    u32 ReadU32();
    void WriteU32(u32 value);

    // Bytes left between the position and the end.
    u32 GetRemaining() const;

    static constexpr u32 kCopyChunkSize = 8192;

protected:
    // Asserts the invariant at entry and, when no exception is on its way, at exit.
    class CInvariantCheck
    {
    public:
        explicit CInvariantCheck(const CMedia& media);
        ~CInvariantCheck();
        CInvariantCheck(const CInvariantCheck&) = delete;
        CInvariantCheck& operator=(const CInvariantCheck&) = delete;

    private:
        const CMedia& fMedia;
        int fUncaught;
    };

    // Shared checks of the concrete classes: each asserts, then throws.
    static void CheckPosition(u32 position, u32 size);
    static void CheckReadRange(u32 position, u32 count, u32 size, const void* destination);
    static void CheckWriteRange(u32 position, u32 count, u32 capacity, const void* source);
};

// A view of a fixed block that the caller owns. Writes may extend the size up
// to the capacity; a block given as const is read-only.
class CMemoryMedia : public CMedia
{
public:
    CMemoryMedia(void* block, u32 capacity, u32 size);
    explicit CMemoryMedia(std::span<const u8> block);

    bool Invariant() const override;
    u32 GetSize() const override;
    u32 GetPosition() const override;
    void SetPosition(u32 position) override;
    void ReadAt(u32 position, u32 count, void* destination) override;
    void WriteAt(u32 position, u32 count, const void* source) override;

private:
    u8* fBlock;
    u32 fPosition = 0;
    u32 fCapacity;
    u32 fSize;
    bool fReadOnly;
};

// Owns a block that grows as it is written: a write past the end extends the
// size. The block grows as std::vector does, geometrically.
class COwnedMemoryMedia : public CMedia
{
public:
    COwnedMemoryMedia() = default;
    explicit COwnedMemoryMedia(std::vector<u8> content);

    bool Invariant() const override;
    u32 GetSize() const override;
    u32 GetPosition() const override;
    void SetPosition(u32 position) override;
    void ReadAt(u32 position, u32 count, void* destination) override;
    void WriteAt(u32 position, u32 count, const void* source) override;

    const std::vector<u8>& GetContent() const { return fBlock; }

private:
    std::vector<u8> fBlock;
    u32 fPosition = 0;
};

// A window on another stream, with a position of its own. The parent's
// position is left as it was by every operation of the window. A read-only
// window refuses writes; its parent still has to be a non-const stream because
// reading moves a stream's position.
class CPartialMedia : public CMedia
{
public:
    enum class EAccess
    {
        kReadWrite,
        kReadOnly
    };

    // The window from start to the parent's current position.
    CPartialMedia(CMedia& parent, u32 start, EAccess access = EAccess::kReadWrite);
    // Start and length must lie inside the parent.
    CPartialMedia(CMedia& parent, u32 start, u32 length, EAccess access = EAccess::kReadWrite);

    bool Invariant() const override;
    u32 GetSize() const override;
    u32 GetPosition() const override;
    void SetPosition(u32 position) override;
    void ReadAt(u32 position, u32 count, void* destination) override;
    void WriteAt(u32 position, u32 count, const void* source) override;

private:
    CMedia& fParent;
    bool fWritable;
    u32 fStart;
    u32 fLength;
    u32 fPosition = 0;
};

// 7-bit packing carries 8-bit data through 7-bit channels such as system
// exclusive messages. Each group of 7 source bytes (zero-padded at the end)
// becomes 8 bytes: the 7 bytes with their top bit cleared, then one byte that
// collects the 7 top bits, source byte 0's at value 64 down to byte 6's at 1.

// The smallest multiple of 8 that holds ceil(count / 7) groups.
u32 GetPacked7BitSize(u32 count);
// Writes exactly GetPacked7BitSize(source.size()) bytes to destination, which
// must be at least that long.
void Pack7Bit(std::span<const u8> source, std::span<u8> destination);
// Unpacks destination.size() bytes; the pad bytes of the last group are
// dropped. No packed byte may have its top bit set.
void Unpack7Bit(std::span<const u8> packed, std::span<u8> destination);
} // namespace NSCorbelan
