#include <gtest/gtest.h>

#include "tessivo/toolkit/bit_wangers.h"

namespace tessivo {
namespace {

TEST(BitWangersTest, LittleEndianReadsAndSwaps) {
    const std::uint8_t bytes[] = {0x78, 0x56, 0x34, 0x12, 0xFF};
    EXPECT_EQ(BitWangers::readU16(bytes), 0x5678);
    EXPECT_EQ(BitWangers::readU32(bytes), 0x12345678u);
    EXPECT_EQ(BitWangers::readU32(ByteView(bytes), 1), 0xFF123456u);
    EXPECT_FALSE(BitWangers::readU32(ByteView(bytes), 2));
    EXPECT_FALSE(BitWangers::readU16(ByteView(bytes), 4));
    EXPECT_EQ(BitWangers::ByteSwap32BitNumber(0x12345678u), 0x78563412u);
}

TEST(BitWangersTest, FormatSize) {
    EXPECT_EQ(BitWangers::formatSize(0), icu::UnicodeString(u"0 bytes"));
    EXPECT_EQ(BitWangers::formatSize(1), icu::UnicodeString(u"1 byte"));
    EXPECT_EQ(BitWangers::formatSize(999), icu::UnicodeString(u"999 bytes"));
    EXPECT_EQ(BitWangers::formatSize(1000), icu::UnicodeString(u"1.0 KB"));
    EXPECT_EQ(BitWangers::formatSize(1234567), icu::UnicodeString(u"1.2 MB"));
    EXPECT_EQ(BitWangers::formatSize(123456789), icu::UnicodeString(u"123 MB"));
    EXPECT_EQ(BitWangers::formatSize(999999), icu::UnicodeString(u"1.0 MB"));
    EXPECT_EQ(BitWangers::formatSize(UINT64_MAX), icu::UnicodeString(u"18.4 EB"));
}

}  // namespace
}  // namespace tessivo
