#include <gtest/gtest.h>

#include "tessivo/compound/limits.h"
#include "tessivo/compound/sector_alloc_table.h"
#include "tessivo/foundation/log.h"

namespace tessivo {
namespace {

SectorAllocTable tableOf(const std::vector<std::uint32_t>& entries) {
    Bytes bytes;
    for (auto e : entries)
        for (int i = 0; i < 4; ++i) bytes.push_back((e >> (8 * i)) & 0xFF);
    SectorAllocTable t;
    t.allocationLoad(bytes, bytes.size());
    return t;
}

TEST(SectorAllocTableTest, ResizeAndSetValue) {
    SectorAllocTable t;
    EXPECT_EQ(t.allocationCount(), 128u);
    t.allocationResize(3);
    EXPECT_EQ(t.allocationCount(), 3u);
    t.allocationSetValue(7, 10);
    EXPECT_EQ(t.allocationCount(), 11u);
    EXPECT_EQ(t.entry(10), 7u);
    EXPECT_EQ(t.entry(5), compound::kFreeSect);
    t.allocationSetValue(9, 2);
    EXPECT_EQ(t.entry(2), 9u);
}

TEST(SectorAllocTableTest, LoadIgnoresTrailingPartialWord) {
    SectorAllocTable t;
    const Bytes bytes = {1, 0, 0, 0, 2, 0, 0, 0, 9, 9};
    t.allocationLoad(bytes, bytes.size());
    EXPECT_EQ(t.allocationCount(), 2u);
    EXPECT_EQ(t.entry(1), 2u);
}

// Bytes past the end of the data read as zeros: the entries past the loaded
// bytes are zeros (a word cut by the end keeps its bytes), computed rather
// than stored, and every one of them leads to sector 0.
TEST(SectorAllocTableTest, LoadLongerThanItsBytesEndsInZeroEntries) {
    SectorAllocTable t;
    const Bytes bytes = {2, 0, 0, 0, 0x40, 0x42, 0x0F};  // 2, then 0x0F4240 (1,000,000) cut short
    t.allocationLoad(bytes, 4 * 1000001);
    EXPECT_EQ(t.allocationCount(), 1000001u);
    EXPECT_EQ(t.entry(1), 1000000u);
    EXPECT_EQ(t.entry(2), 0u);
    EXPECT_EQ(t.entry(1000000), 0u);
    EXPECT_EQ(t.entry(1000001), compound::kFreeSect);
    LogCapture log;
    EXPECT_EQ(t.allocationFollow(1), (std::vector<std::uint32_t>{1, 1000000, 0, 2}));
    EXPECT_EQ(log.lines(), std::vector<std::string>{"OLE: Circular reference detected at sector 0"});
    log.clear();
    EXPECT_EQ(t.allocationFollow(999999), (std::vector<std::uint32_t>{999999, 0, 2}));
    EXPECT_EQ(t.allocationFollow(0), (std::vector<std::uint32_t>{0, 2}));
    t.allocationSetValue(7, 5);
    EXPECT_EQ(t.entry(5), 7u);
    EXPECT_EQ(t.entry(6), 0u);
}

TEST(SectorAllocTableTest, FollowStopsAtEveryEndMarkerAndPastTheTable) {
    using namespace compound;
    for (std::uint32_t end : {kDifSect, kFatSect, kEndOfChain, kFreeSect, 5u}) {
        auto t = tableOf({2, end, 1, kEndOfChain});
        LogCapture log;
        EXPECT_EQ(t.allocationFollow(0), (std::vector<std::uint32_t>{0, 2, 1})) << end;
        EXPECT_TRUE(log.lines().empty());
    }
}

TEST(SectorAllocTableTest, StartBeyondTableIsEmptyWithoutMessage) {
    auto t = tableOf({compound::kEndOfChain});
    LogCapture log;
    EXPECT_TRUE(t.allocationFollow(1).empty());
    EXPECT_TRUE(t.allocationFollow(compound::kEndOfChain).empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST(SectorAllocTableTest, CycleIsCutAndLoggedOnce) {
    auto t = tableOf({1, 2, 3, 1});
    LogCapture log;
    EXPECT_EQ(t.allocationFollow(0), (std::vector<std::uint32_t>{0, 1, 2, 3}));
    EXPECT_EQ(log.lines(), std::vector<std::string>{"OLE: Circular reference detected at sector 1"});
    // The visited set does not leak into the next walk.
    log.clear();
    EXPECT_EQ(t.allocationFollow(2), (std::vector<std::uint32_t>{2, 3, 1}));
    EXPECT_EQ(log.lines(), std::vector<std::string>{"OLE: Circular reference detected at sector 2"});
    log.clear();
    EXPECT_EQ(tableOf({0}).allocationFollow(0), std::vector<std::uint32_t>{0});
    EXPECT_EQ(log.lines(), std::vector<std::string>{"OLE: Circular reference detected at sector 0"});
}

TEST(SectorAllocTableTest, ChainIsCutAtMaximumLength) {
    const std::uint32_t max = compound::kMaxChainLengthSectors;
    for (std::uint32_t length : {max - 1, max, max + 1}) {
        std::vector<std::uint32_t> entries(length);
        for (std::uint32_t i = 0; i < length; ++i) entries[i] = i + 1 < length ? i + 1 : compound::kEndOfChain;
        auto t = tableOf(entries);
        LogCapture log;
        EXPECT_EQ(t.allocationFollow(0).size(), std::min(length, max));
        EXPECT_EQ(log.lines().size(), length >= max ? 1u : 0u) << length;
        if (length >= max) {
            EXPECT_EQ(log.lines()[0],
                      "OLE: Sector chain exceeded maximum length (0xFFFFF). Possible corruption or circular reference.");
        }
    }
}

}  // namespace
}  // namespace tessivo
