#include <gtest/gtest.h>

#include <array>

#include "tessivo/foundation/byte_reader.h"

namespace tessivo {
namespace {

TEST(ByteReaderTest, ReadsLittleEndianAndRefusesShortReads) {
    const std::array<std::uint8_t, 7> data{0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07};
    ByteReader r(data);
    EXPECT_EQ(r.u16le(), 0x0201);
    EXPECT_EQ(r.u32le(), 0x06050403u);
    EXPECT_EQ(r.u16le(), std::nullopt);
    EXPECT_EQ(r.position(), 6u);
    EXPECT_EQ(r.u8(), 0x07);
    EXPECT_TRUE(r.atEnd());
    EXPECT_FALSE(r.bytes(1));
}

TEST(ByteReaderTest, OffsetReadsAreBoundsChecked) {
    const std::array<std::uint8_t, 8> data{1, 0, 0, 0, 2, 0, 0, 0};
    EXPECT_EQ(readU64le(data, 0), 0x0000000200000001ULL);
    EXPECT_EQ(readU32le(data, 5), std::nullopt);
    EXPECT_EQ(readU32le(data, SIZE_MAX), std::nullopt);
    EXPECT_EQ(readU64le(data, SIZE_MAX - 2), std::nullopt);
}

TEST(CheckedArithmeticTest, DetectsOverflow) {
    EXPECT_EQ(checkedAdd<std::uint32_t>(0xFFFFFFFF, 1), std::nullopt);
    EXPECT_EQ(checkedMul<std::uint64_t>(1ULL << 40, 1ULL << 30), std::nullopt);
    EXPECT_EQ(checkedMul<std::uint64_t>(512, 3), 1536u);
}

}  // namespace
}  // namespace tessivo
