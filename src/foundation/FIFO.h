#pragma once
// CFIFO: a bounded queue for one writer thread and one reader thread at a time,
// with no lock of its own. Elements are copied in and out of a ring allocated
// at construction; an atomic count tells each side how much is there.
//
// The count changes only after the element has been moved, with release order,
// and each side reads it with acquire order: the reader never sees an element
// that isn't complete, and the writer never overwrites one that is still being
// read. Several writers (or several readers) must serialise among themselves.
//
// Push may be called on the writer's thread (a MIDI thread, say), Pop on the
// reader's; GetSize and GetCapacity on any thread.

#include "foundation/Types.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <stdexcept>

template <class T> class CFIFO
{
public:
    // A capacity of 0 is refused with a text-less std::invalid_argument.
    explicit CFIFO(std::size_t capacity)
        : fBuffer(MakeBuffer(capacity)), fCapacity(capacity), fReadIndex(0), fWriteIndex(0),
          fCount(0)
    {
    }

    CFIFO(const CFIFO&) = delete;
    CFIFO& operator=(const CFIFO&) = delete;

    // Writer's side. A full queue throws a text-less std::overflow_error and
    // keeps what it holds.
    void Push(const T& element)
    {
        if (fCount.load(std::memory_order_acquire) >= fCapacity)
            throw std::overflow_error("");
        fBuffer[fWriteIndex] = element;
        fWriteIndex = Advance(fWriteIndex);
        fCount.fetch_add(1, std::memory_order_release);
    }

    // Reader's side. An empty queue throws a text-less std::underflow_error.
    T Pop()
    {
        if (fCount.load(std::memory_order_acquire) < 1)
            throw std::underflow_error("");
        T element = fBuffer[fReadIndex];
        fReadIndex = Advance(fReadIndex);
        fCount.fetch_sub(1, std::memory_order_release);
        return element;
    }

    // How many elements wait; exact on the reader's and the writer's thread,
    // a snapshot anywhere else.
    std::size_t GetSize() const { return fCount.load(std::memory_order_acquire); }
    std::size_t GetCapacity() const { return fCapacity; }

private:
    static std::unique_ptr<T[]> MakeBuffer(std::size_t capacity)
    {
        if (capacity == 0)
            throw std::invalid_argument("");
        return std::make_unique<T[]>(capacity);
    }

    std::size_t Advance(std::size_t index) const { return index + 1 == fCapacity ? 0 : index + 1; }

    std::unique_ptr<T[]> fBuffer;
    const std::size_t fCapacity;
    std::size_t fReadIndex;  // the reader's alone
    std::size_t fWriteIndex; // the writer's alone
    std::atomic<std::size_t> fCount;
};
