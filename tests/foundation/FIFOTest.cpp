#include "foundation/FIFO.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{
// Keeps the order across many wraps of the indices, with the queue at every
// fill level from empty to full.
TEST(FIFOTest, KeepsOrderAcrossWraps)
{
    CFIFO<int> fifo(3);
    int next = 0;
    int expected = 0;
    for (int round = 0; round < 10; ++round)
    {
        const int fill = 1 + round % 3;
        for (int i = 0; i < fill; ++i)
            fifo.Push(next++);
        EXPECT_EQ(static_cast<std::size_t>(fill), fifo.GetSize());
        for (int i = 0; i < fill; ++i)
            EXPECT_EQ(expected++, fifo.Pop());
        EXPECT_EQ(0u, fifo.GetSize());
    }
}

TEST(FIFOTest, ZeroCapacityFullAndEmptyQueuesRefuseAndKeepWhatTheyHold)
{
    EXPECT_THROW(CFIFO<int>(0), std::invalid_argument);
    CFIFO<std::string> fifo(2);
    EXPECT_THROW(fifo.Pop(), std::underflow_error);
    fifo.Push("a");
    fifo.Push("b");
    try
    {
        fifo.Push("c");
        FAIL() << "a push into a full queue must throw";
    }
    catch (const std::overflow_error& e)
    {
        EXPECT_STREQ("", e.what());
    }
    EXPECT_EQ(2u, fifo.GetSize());
    EXPECT_EQ("a", fifo.Pop());
    EXPECT_EQ("b", fifo.Pop());
    EXPECT_THROW(fifo.Pop(), std::underflow_error);
}

} // namespace
