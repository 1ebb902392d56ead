#include "foundation/Media.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <vector>

using namespace NSCorbelan;

namespace
{

TEST(Packed7Bit, RandomDataRoundTripsAndStaysInsideTheComputedSize)
{
    std::mt19937 random(1234);
    for (const u32 count : {0u, 1u, 6u, 7u, 8u, 13u, 14u, 15u, 1000u, 16383u})
    {
        std::vector<u8> source(count);
        for (u8& byte : source)
            byte = static_cast<u8>(random());
        const u32 packedSize = GetPacked7BitSize(count);
        constexpr u8 kGuard = 0xA5; // has its top bit set, so a packed byte can't be it
        std::vector<u8> packed(packedSize + 16, kGuard);
        Pack7Bit(source, std::span<u8>(packed));
        for (u32 i = packedSize; i < packed.size(); ++i)
            ASSERT_EQ(packed[i], kGuard) << "packing " << count << " wrote past its size";

        std::vector<u8> unpacked(count + 16, kGuard);
        Unpack7Bit(std::span<const u8>(packed.data(), packedSize),
                   std::span<u8>(unpacked.data(), count));
        EXPECT_TRUE(std::equal(source.begin(), source.end(), unpacked.begin())) << count;
        for (u32 i = count; i < unpacked.size(); ++i)
            ASSERT_EQ(unpacked[i], kGuard) << "unpacking " << count << " wrote a pad byte";
    }
}

} // namespace
