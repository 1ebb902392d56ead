#pragma once
// CMessageRing: whole MIDI messages of any length, with their times, passed
// from one producer thread to one consumer thread.
//
// The producer may be a realtime thread (JACK calls back on one), where
// nothing may wait or allocate: pushing is a few copies and one atomic store,
// and a full ring refuses the message instead of waiting. CFIFO
// (foundation/FIFO.h) holds elements of one fixed size; messages here run
// from one byte to a long system exclusive dump, so they are packed into a
// ring of bytes instead.
//
// TryPush on the producer's thread, TryPop on the consumer's, IsEmpty on
// either.

#include "foundation/Types.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

namespace NSTonewell
{
class CMessageRing
{
public:
    // The room in bytes is rounded up to a power of two of at least 64.
    explicit CMessageRing(std::size_t capacity);
    CMessageRing(const CMessageRing&) = delete;
    CMessageRing& operator=(const CMessageRing&) = delete;

    // False when the message doesn't fit now; nothing is written then. An
    // empty message or one longer than GetMaxMessageSize never fits.
    bool TryPush(u64 time, const u8* data, std::size_t size) noexcept;

    // Moves the oldest message into data (resized to fit); false when empty.
    bool TryPop(u64& time, std::vector<u8>& data);

    bool IsEmpty() const noexcept;
    std::size_t GetMaxMessageSize() const noexcept;

private:
    struct THeader
    {
        u64 fTime;
        u64 fSize;
    };

    static std::size_t RecordSize(std::size_t size) noexcept;
    void CopyIn(u64 position, const void* source, std::size_t size) noexcept;
    void CopyOut(u64 position, void* target, std::size_t size) const noexcept;

    std::unique_ptr<u8[]> fBytes;
    const std::size_t fCapacity;
    // Positions grow without end; the mask makes them offsets.
    alignas(64) std::atomic<u64> fHead; // written by the producer
    alignas(64) std::atomic<u64> fTail; // written by the consumer
};
} // namespace NSTonewell
