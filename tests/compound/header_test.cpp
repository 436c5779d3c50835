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
    EXPECT_EQ(h.masterSectors[108], compound::kFreeSect);
    EXPECT_TRUE(h.isValid());
}

// Each case sets two fields of a valid header: the threshold must be 4096, the
// table count must fit the header's slots plus the master sectors, and the
// sector shifts must lie within bounds.
TEST(HeaderTest, ValidityRules) {
    using Field = std::uint64_t Header::*;
    const Field tables = &Header::allocationTableCount, masters = &Header::masterSectorAllocationTableCount,
                big = &Header::masterShift, small = &Header::smallShift, threshold = &Header::threshold;
    struct Case {
        Field first;
        std::uint64_t firstValue;
        Field second;
        std::uint64_t secondValue;
        bool valid;
    };
    for (auto c : {Case{threshold, 4095, small, 6, false}, Case{threshold, 8192, small, 6, false},
                   Case{threshold, 0, small, 6, false}, Case{tables, 0, masters, 0, false},
                   Case{tables, 1, masters, 0, true}, Case{tables, 108, masters, 0, true},
                   Case{tables, 108, masters, 1, false}, Case{tables, 109, masters, 0, true},
                   Case{tables, 109, masters, 3, true}, Case{tables, 110, masters, 0, false},
                   Case{tables, 110, masters, 1, true}, Case{tables, 236, masters, 1, true},
                   Case{tables, 237, masters, 1, false}, Case{tables, 237, masters, 2, true},
                   Case{tables, 0xFFFFFFFF, masters, 0xFFFFFFFF, true}, Case{big, 6, small, 6, false},
                   Case{big, 7, small, 6, true}, Case{big, 30, small, 6, true}, Case{big, 31, small, 6, false},
                   Case{big, 9, small, 10, false}, Case{big, 9, small, 9, true}, Case{big, 9, small, 0, true}}) {
        Header h = validHeader();
        h.*c.first = c.firstValue;
        h.*c.second = c.secondValue;
        EXPECT_EQ(h.isValid(), c.valid) << c.firstValue << ", " << c.secondValue;
    }
}

TEST(HeaderTest, IndexesPastTheEndWarn) {
    Header h = validHeader();
    LogCapture log;
    EXPECT_EQ(h.getIdent(7), 0xE1);
    EXPECT_EQ(h.getIdent(8), 0);
    EXPECT_EQ(h.getBBsectors(108), compound::kFreeSect);
    EXPECT_EQ(h.getBBsectors(109), compound::kFreeSect);
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
