#include "foundation/Media.h"

#include "foundation/Exceptions.h"

#include "AssertionRecorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <vector>

using namespace NSCorbelan;
using NSTesting::CExpectAssertions;

namespace
{
// Each concrete stream, made writable over 64 bytes of room, with 4 bytes of content.
struct TMemoryMaker
{
    std::array<u8, 64> fBlock{1, 2, 3, 4};
    std::unique_ptr<CMedia> Make() { return std::make_unique<CMemoryMedia>(fBlock.data(), 64, 4); }
};

struct TOwnedMaker
{
    std::unique_ptr<CMedia> Make()
    {
        return std::make_unique<COwnedMemoryMedia>(std::vector<u8>{1, 2, 3, 4});
    }
};

// A window that starts 10 bytes into its parent and ends 4 bytes after it.
struct TPartialMaker
{
    COwnedMemoryMedia fParent{std::vector<u8>(80, 0xEE)};
    std::unique_ptr<CMedia> Make()
    {
        const std::array<u8, 4> content{1, 2, 3, 4};
        fParent.WriteAt(10, 4, content.data());
        fParent.SetPosition(14);
        auto window = std::make_unique<CPartialMedia>(fParent, 10);
        fParent.SetPosition(0);
        return window;
    }
};

template <class TMaker> class MediaTest : public testing::Test
{
protected:
    // Widens a window to 64 bytes of room, so every class has space to write.
    std::unique_ptr<CMedia> MakeWithRoom()
    {
        if constexpr (std::is_same_v<TMaker, TPartialMaker>)
            return std::make_unique<CPartialMedia>(fMaker.fParent, 10, 64);
        else
            return fMaker.Make();
    }

    TMaker fMaker;
};

using MediaKinds = testing::Types<TMemoryMaker, TOwnedMaker, TPartialMaker>;
TYPED_TEST_SUITE(MediaTest, MediaKinds);

TYPED_TEST(MediaTest, ReadsNumbersHighByteFirst)
{
    auto media = this->fMaker.Make();
    EXPECT_EQ(media->GetSize(), 4u);
    EXPECT_EQ(media->ReadU16(), 0x0102);
    EXPECT_EQ(media->GetPosition(), 2u);
    media->SetPosition(0);
    EXPECT_EQ(media->ReadU32(), 0x01020304u);
    media->SetPosition(1);
    EXPECT_EQ(media->ReadByte(), 2);
    EXPECT_TRUE(media->ReadBool());
}

TYPED_TEST(MediaTest, WritesNumbersHighByteFirstAndReadsThemBack)
{
    auto media = this->MakeWithRoom();
    media->SetPosition(0);
    media->WriteU32(0xA1B2C3D4);
    media->WriteU16(0xE5F6);
    media->WriteByte(0x07);
    media->WriteBool(true);
    media->WriteBool(false);
    EXPECT_EQ(media->GetPosition(), 9u);

    std::array<u8, 9> raw{};
    media->PeekAt(0, 9, raw.data());
    EXPECT_EQ(raw, (std::array<u8, 9>{0xA1, 0xB2, 0xC3, 0xD4, 0xE5, 0xF6, 0x07, 0x01, 0x00}));
    EXPECT_EQ(media->GetPosition(), 9u) << "PeekAt must put the position back";

    media->SetPosition(0);
    EXPECT_EQ(media->ReadU32(), 0xA1B2C3D4u);
    EXPECT_EQ(media->ReadU16(), 0xE5F6);
    EXPECT_EQ(media->ReadByte(), 0x07);
    EXPECT_TRUE(media->ReadBool());
    EXPECT_FALSE(media->ReadBool());
}

TYPED_TEST(MediaTest, PositionAndReadsStopAtTheSize)
{
    auto media = this->fMaker.Make();
    media->Read(0, nullptr); // a null buffer is refused only when bytes would move
    media->Write(0, nullptr);
    CExpectAssertions expect;
    EXPECT_THROW(media->Read(1, nullptr), NSException::XBadInputProgrammingError);
    media->SetPosition(4);
    u8 byte = 0;
    media->Read(0, &byte);
    EXPECT_THROW(media->SetPosition(5), NSException::XBadInputProgrammingError);
    EXPECT_EQ(media->GetPosition(), 4u);
    media->SetPosition(3);
    EXPECT_THROW(media->ReadU16(), NSException::XRead);
    EXPECT_EQ(expect.Count(), 3u);
}

// Records the size of every read, to see the chunks CopyFrom moves.
class CReadSpy : public COwnedMemoryMedia
{
public:
    using COwnedMemoryMedia::COwnedMemoryMedia;
    void ReadAt(u32 position, u32 count, void* destination) override
    {
        fReads.push_back(count);
        COwnedMemoryMedia::ReadAt(position, count, destination);
    }
    std::vector<u32> fReads;
};

TEST(Packed7Bit, TopBitsGatherInTheEighthByteFromValue64Down)
{
    const std::array<u8, 1> single{0xFF};
    std::array<u8, 8> packed{};
    Pack7Bit(single, packed);
    EXPECT_EQ(packed, (std::array<u8, 8>{0x7F, 0, 0, 0, 0, 0, 0, 0x40}));

    const std::array<u8, 7> group{0x80, 0x01, 0x82, 0x03, 0x84, 0x05, 0x86};
    Pack7Bit(group, packed);
    EXPECT_EQ(packed, (std::array<u8, 8>{0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x55}));
}

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
