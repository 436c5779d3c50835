#include <gtest/gtest.h>

#include "support/cfb_writer.h"
#include "tessivo/compound/header.h"
#include "tessivo/foundation/log.h"

namespace tessivo {
namespace {

Header validHeader() {
    testing::CfbWriter w;
    w.addStream("a", Bytes(10, 1));
    Header h;
    h.oleLoad(w.build().bytes);
    return h;
}

TEST(HeaderTest, LoadsFieldsFromWrittenDocument) {
    testing::CfbWriter::Options o;
    o.sectorShift = 12;
    o.extraFatSectors = 2;
    testing::CfbWriter w(o);
    w.addStream("a", Bytes(5000, 1));
    w.addStream("b", Bytes(100, 2));
    auto image = w.build();
    Header h;
    h.oleLoad(image.bytes);
    EXPECT_EQ(h.ident, Header::kSignature);
    EXPECT_EQ(h.masterShift, 12u);
    EXPECT_EQ(h.smallShift, 6u);
    EXPECT_EQ(h.allocationTableCount, image.fatSectors.size());
    EXPECT_EQ(h.directoryEntryStart, image.directorySectors.front());
    EXPECT_EQ(h.threshold, 4096u);
    EXPECT_EQ(h.smallSectorAllocationTableStart, image.miniFatSectors.front());
    EXPECT_EQ(h.smallSectorAllocationTableCount, image.miniFatSectors.size());
    EXPECT_EQ(h.masterSectorAllocationTableStart, testing::kEndOfChain);
    EXPECT_EQ(h.masterSectorAllocationTableCount, 0u);
    EXPECT_EQ(h.masterSectors[0], image.fatSectors[0]);
    EXPECT_EQ(h.masterSectors[108], 0xFFFFFFFFu);
    EXPECT_TRUE(h.isValid());
}

TEST(HeaderTest, DefaultsAfterInitialize) {
    Header h;
    EXPECT_EQ(h.masterShift, 9u);
    EXPECT_EQ(h.smallShift, 6u);
    EXPECT_EQ(h.threshold, 4096u);
    EXPECT_EQ(h.allocationTableCount, 0u);
    EXPECT_EQ(h.getBBsectors(0), 0xFFFFFFFFu);
    // No table sectors: not valid.
    EXPECT_FALSE(h.isValid());
}

TEST(HeaderTest, ThresholdMustBe4096) {
    for (std::uint64_t t : {4095u, 8192u, 0u}) {
        Header h = validHeader();
        h.threshold = t;
        EXPECT_FALSE(h.isValid()) << t;
    }
}

TEST(HeaderTest, TableCountAgainstMasterCount) {
    struct Case {
        std::uint64_t count, masters;
        bool valid;
    };
    for (auto c : {Case{0, 0, false}, Case{1, 0, true}, Case{108, 0, true}, Case{108, 1, false}, Case{109, 0, true},
                   Case{109, 3, true}, Case{110, 0, false}, Case{110, 1, true}, Case{236, 1, true},
                   Case{237, 1, false}, Case{237, 2, true}, Case{0xFFFFFFFF, 0xFFFFFFFF, true}}) {
        Header h = validHeader();
        h.allocationTableCount = c.count;
        h.masterSectorAllocationTableCount = c.masters;
        EXPECT_EQ(h.isValid(), c.valid) << c.count << " tables, " << c.masters << " masters";
    }
}

TEST(HeaderTest, SectorShiftBounds) {
    struct Case {
        std::uint64_t master, small;
        bool valid;
    };
    for (auto c : {Case{6, 6, false}, Case{7, 6, true}, Case{30, 6, true}, Case{31, 6, false}, Case{9, 10, false},
                   Case{9, 9, true}, Case{9, 0, true}}) {
        Header h = validHeader();
        h.masterShift = c.master;
        h.smallShift = c.small;
        EXPECT_EQ(h.isValid(), c.valid) << c.master << "/" << c.small;
    }
}

TEST(HeaderTest, IndexesPastTheEndWarn) {
    Header h = validHeader();
    LogCapture log;
    EXPECT_EQ(h.getIdent(7), 0xE1);
    EXPECT_EQ(h.getIdent(8), 0);
    EXPECT_EQ(h.getBBsectors(108), 0xFFFFFFFFu);
    EXPECT_EQ(h.getBBsectors(109), 0xFFFFFFFFu);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"Warning: getIdent called with index 8 (max: 7)",
                                                      "Warning: getBBsectors called with index 109 (max: 108)"}));
}

TEST(HeaderTest, ShortDataLoadsZeros) {
    Header h;
    const Bytes few = {0xD0, 0xCF};
    h.oleLoad(few);
    EXPECT_EQ(h.ident[0], 0xD0);
    EXPECT_EQ(h.ident[2], 0);
    EXPECT_EQ(h.masterShift, 0u);
    EXPECT_EQ(h.masterSectors[0], 0u);
}

}  // namespace
}  // namespace tessivo
