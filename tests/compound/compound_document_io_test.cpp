#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "support/cfb_writer.h"
#include "tessivo/compound/compound_document.h"
#include "tessivo/compound/compound_document_io.h"
#include "tessivo/compound/limits.h"
#include "tessivo/foundation/log.h"

namespace tessivo {
namespace {

using testing::CfbImage;
using testing::CfbWriter;

CfbImage smallDocument() {
    CfbWriter w;
    w.addStream("__substg1.0_0037001F", testing::utf16le("Hello"));
    w.addStream("big", Bytes(5000, 0xAB));
    return w.build();
}

// More big-sector table sectors than the data needs, so that master sectors list those past the first 109.
CfbImage withExtraTables(std::uint32_t extra, unsigned shift = 9) {
    CfbWriter::Options o;
    o.sectorShift = shift;
    o.extraFatSectors = extra;
    CfbWriter w(o);
    w.addStream("big", Bytes(9000, 7));
    w.addStream("small", Bytes(300, 8));
    return w.build();
}

std::unique_ptr<CompoundDocumentIO> opened(const Bytes& bytes) {
    auto io = std::make_unique<CompoundDocumentIO>(ByteView(bytes));
    io->open();
    return io;
}

int openResult(const Bytes& bytes) { return opened(bytes)->result(); }

// Each refusal rule, on a document that breaks only that rule, with the
// located fault it records: deleting a rule lets its case through to
// another check (or to opening), which records another fault.
TEST(CompoundDocumentIOTest, EachRefusalRecordsItsLocatedFault) {
    const CfbImage image = smallDocument();
    ASSERT_EQ(image.bytes.size(), 7680u);
    struct Case {
        const char* rule;
        std::function<Bytes(CfbImage)> damage;
        int result;
        Fault fault;
    };
    const auto patched = [](std::size_t offset, std::uint32_t value, bool wide = true) {
        return [=](CfbImage d) {
            if (wide)
                d.setU32(offset, value);
            else
                d.setU16(offset, static_cast<std::uint16_t>(value));
            return d.bytes;
        };
    };
    // A big-sector table of 14 sectors that are all its first one, so that
    // only 512 bytes of the data are left, and the chain of the stream "big"
    // (10 sectors) as the small-sector table's or the directory's.
    const auto sharedTables = [](std::size_t startField) {
        return [=](CfbImage d) {
            d.setU32(44, 14);
            for (std::size_t i = 0; i < 14; ++i) d.setU32(76 + 4 * i, d.fatSectors[0]);
            d.setU32(startField, d.streamSectors("big")[0]);
            return d.bytes;
        };
    };
    const Case cases[] = {
        {"fewer than 512 bytes", [](CfbImage d) { return Bytes(d.bytes.begin(), d.bytes.begin() + 511); },
         kCompoundTooShort, {"header", "length", 0, "at least 512 bytes", "511 bytes"}},
        {"signature", patched(4, 0xE1A1B1A1), kCompoundBadSignature,
         {"header", "signature", 0, "D0 CF 11 E0 A1 B1 1A E1", "D0 CF 11 E0 A1 B1 A1 E1"}},
        {"threshold", patched(56, 2048), kCompoundInvalid, {"header", "threshold", 56, "4096", "2048"}},
        {"no table sectors", patched(44, 0), kCompoundInvalid,
         {"header", "allocationTableCount", 44, "at least 1", "0"}},
        {"110 table sectors without a master sector", patched(44, 110), kCompoundInvalid,
         {"header", "allocationTableCount", 44, "at most 109 (109 + 127 per master sector)", "110"}},
        {"master sectors with fewer than 109 tables", patched(72, 1), kCompoundInvalid,
         {"header", "masterSectorAllocationTableCount", 72, "0 with 1 table sectors", "1"}},
        {"smallShift above masterShift", patched(32, 10, false), kCompoundInvalid,
         {"header", "smallShift", 32, "at most masterShift 9", "10"}},
        {"masterShift below 7", [&](CfbImage d) { d.setU16(30, 6); d.setU16(32, 6); return d.bytes; },
         kCompoundInvalid, {"header", "masterShift", 30, "7 to 30", "6"}},
        {"masterShift above 30", patched(30, 31, false), kCompoundInvalid,
         {"header", "masterShift", 30, "7 to 30", "31"}},
        {"more table sectors than the data hold", patched(44, 15), kCompoundInvalid,
         {"header", "allocationTableCount", 44, "at most the 14 sectors of 512 bytes that start within the data",
          "15"}},
        {"table sector past the end", patched(76, 14), kCompoundInvalid,
         {"allocation table", "sector list entry 0", 76, "a sector that starts within the data (below 14)", "14"}},
        {"small-sector table sharing sectors", sharedTables(60), kCompoundInvalid,
         {"small-sector table", "sector chain", 60, "at most 512 bytes in sectors that no other table holds",
          "5120 bytes"}},
        {"directory sharing sectors",
         [&](CfbImage d) {
             d.setU32(60, compound::kEndOfChain);
             return sharedTables(48)(d);
         },
         kCompoundInvalid,
         {"directory", "sector chain", 48, "at most 512 bytes in sectors that no other table holds", "5120 bytes"}},
        {"no directory", patched(48, compound::kEndOfChain), kCompoundInvalid,
         {"header", "directoryEntryStart", 48, "a sector of the big-sector table (below 128)", "4294967294"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.rule);
        const auto io = opened(c.damage(image));
        EXPECT_EQ(io->result(), c.result);
        ASSERT_TRUE(io->fault());
        EXPECT_EQ(io->fault()->describe(), c.fault.describe());
    }
    EXPECT_EQ(opened(image.bytes)->fault(), std::nullopt);

    CompoundDocument empty;
    LogCapture quiet;
    empty.initializeWithData({});
    EXPECT_EQ(empty.result(), kCompoundNoComponent);
    EXPECT_EQ(empty.fault(), (Fault{"data", "length", 0, "at least 512 bytes", "0 bytes"}));
}

TEST(CompoundDocumentIOTest, TableSectorPastTheEndInAMasterSectorIsLocatedThere) {
    CfbImage image = withExtraTables(120);
    ASSERT_EQ(image.difatSectors.size(), 1u);
    const std::size_t entry = image.sectorOffset(image.difatSectors[0]) + 4 * 5;
    image.setU32(entry, 100000);
    const auto io = opened(image.bytes);
    EXPECT_EQ(io->result(), kCompoundInvalid);
    ASSERT_TRUE(io->fault());
    EXPECT_EQ(io->fault()->field, "sector list entry 114");
    EXPECT_EQ(io->fault()->offset, entry);
    EXPECT_EQ(io->fault()->found, "100000");
}

TEST(CompoundDocumentIOTest, ResultCodesPerSignatureByte) {
    const CfbImage image = smallDocument();
    EXPECT_EQ(openResult(image.bytes), kCompoundOpened);
    EXPECT_EQ(openResult(Bytes(1, 0xD0)), kCompoundTooShort);
    for (std::size_t i = 0; i < 8; ++i) {
        CfbImage bad = image;
        bad.setU8(i, bad.bytes[i] ^ 0x01);
        EXPECT_EQ(openResult(bad.bytes), kCompoundBadSignature) << "signature byte " << i;
    }
}

TEST(CompoundDocumentIOTest, DirectoryPastTheEndReadsAsEmptyEntries) {
    CfbWriter w;
    w.addStream("a", Bytes(10, 1));
    CfbImage image = w.build();
    // Cut the file where the directory begins: its sector reads as zeros.
    Bytes cut(image.bytes.begin(), image.bytes.begin() + image.sectorOffset(image.directorySectors.front()));
    const auto io = opened(cut);
    EXPECT_EQ(io->result(), kCompoundOpened);
    EXPECT_EQ(io->directoryTree().entryCount(), 4u);
    EXPECT_FALSE(io->directoryTree().entry(0)->valid);
}

// A document cut inside its directory opens: the directory keeps its length,
// the entries past the cut are empty, and what lies in the data is read.
TEST(CompoundDocumentIOTest, CutInsideTheDirectoryOpens) {
    CfbWriter w;
    for (int i = 0; i < 40; ++i) w.addStream("s" + std::to_string(i), Bytes(5000, static_cast<std::uint8_t>(i)));
    const CfbImage image = w.build();
    ASSERT_EQ(image.directorySectors.size(), 11u);
    const std::size_t cut = image.sectorOffset(image.directorySectors[1]);
    ASSERT_LT(cut, 11 * 512u) << "more directory than data";
    const Bytes bytes(image.bytes.begin(), image.bytes.begin() + static_cast<std::ptrdiff_t>(cut));
    const auto io = opened(bytes);
    ASSERT_EQ(io->result(), kCompoundOpened);
    EXPECT_EQ(io->directoryTree().entryCount(), 44u);
    EXPECT_EQ(io->directoryTree().decodedEntryCount(), 4u);
    EXPECT_FALSE(io->directoryTree().entry(43)->valid);
}

TEST(CompoundDocumentIOTest, OpenReturnValueFollowsResult) {
    const CfbImage image = smallDocument();
    CompoundDocumentIO good{ByteView(image.bytes)};
    EXPECT_TRUE(good.open());
    EXPECT_TRUE(good.open()) << "opening twice reloads";
    EXPECT_TRUE(good.isOpened());

    const Bytes shortData(100, 0);
    CompoundDocumentIO tooShort{ByteView(shortData)};
    EXPECT_FALSE(tooShort.open());

    CfbImage bad = smallDocument();
    bad.setU32(76, 5000);
    CompoundDocumentIO failed{ByteView(bad.bytes)};
    EXPECT_TRUE(failed.open()) << "a failed load with result 3 reports true";
    EXPECT_EQ(failed.result(), kCompoundInvalid);
}

TEST(CompoundDocumentIOTest, FacadeWithoutDataReportsNoReader) {
    CompoundDocument doc;
    LogCapture log;
    doc.initializeWithData({});
    EXPECT_FALSE(doc.open());
    EXPECT_EQ(doc.result(), kCompoundNoComponent);
    EXPECT_TRUE(doc.entries(u"/").empty());
    EXPECT_FALSE(doc.isDirectory(u"/"));
    Stream s(doc, u"x");
    EXPECT_TRUE(s.fail());
    EXPECT_EQ(s.size(), 0u);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "Error: Cannot initialize CompoundDocument with nil or empty data",
                               "Error: CompoundDocumentIO (io) is nil in open",
                               "Error: CompoundDocumentIO (io) is nil in result",
                               "Error: CompoundDocumentIO (io) is nil in entries:",
                               "Error: CompoundDocumentIO (io) is nil in isDirectory:",
                               "Error: CompoundDocument->io is nil in Stream initialize",
                               "Error: StreamHandler (io) or entry is nil in size",
                           }));
}

TEST(CompoundDocumentIOTest, MasterSectorsExtendTheTableList) {
    for (unsigned shift : {9u, 12u}) {
        const CfbImage image = withExtraTables(shift == 9 ? 240 : 120, shift);
        ASSERT_GT(image.fatSectors.size(), 109u);
        ASSERT_EQ(image.difatSectors.size(), shift == 9 ? 2u : 1u);
        const auto io = opened(image.bytes);
        ASSERT_EQ(io->result(), kCompoundOpened);
        EXPECT_EQ(io->getSectorBlocks(true), image.fatSectors);
        EXPECT_EQ(io->masterSectorAllocationTable().allocationCount(), image.fatSectors.size() * image.sectorSize / 4);
        auto handler = io->streamHandler(u"big");
        ASSERT_TRUE(handler);
        EXPECT_EQ(handler->sectorArray().toVector(), image.streamSectors("big"));
    }
}

TEST(CompoundDocumentIOTest, SectorListWithoutReloadTakesCachedEntriesInOrder) {
    const CfbImage image = withExtraTables(240);
    ASSERT_EQ(image.difatSectors.size(), 2u);
    const auto io = opened(image.bytes);
    const auto reloaded = io->getSectorBlocks(true);
    const auto cached = io->getSectorBlocks(false);
    ASSERT_EQ(cached.size(), reloaded.size());
    // The cache also holds the link word of the first master sector, so the
    // entries from there on are one place late.
    EXPECT_TRUE(std::equal(reloaded.begin(), reloaded.begin() + 109 + 127, cached.begin()));
    EXPECT_EQ(cached[109 + 127], image.difatSectors[1]);
    EXPECT_EQ(cached[109 + 128], reloaded[109 + 127]);
}

TEST(CompoundDocumentIOTest, HugeMasterCountIsWalkedWithoutHanging) {
    CfbImage image = withExtraTables(120);
    ASSERT_EQ(image.difatSectors.size(), 1u);
    // Four billion master sectors: after the first the table is complete and
    // every further one only rewrites the last entry with its first word.
    image.setU32(72, 0xFFFFFFFF);
    const auto io = opened(image.bytes);
    EXPECT_EQ(io->result(), kCompoundOpened);
    const auto blocks = io->getSectorBlocks(true);
    ASSERT_EQ(blocks.size(), image.fatSectors.size());
    EXPECT_TRUE(std::equal(blocks.begin(), blocks.end() - 1, image.fatSectors.begin()));
}

TEST(CompoundDocumentIOTest, LoadSectorsCutsAtTheEndAndFailsPastIt) {
    const CfbImage image = smallDocument();
    const auto io = opened(image.bytes);
    const std::uint32_t last = static_cast<std::uint32_t>(image.bytes.size() / 512 - 2);
    Bytes buffer(1024, 0xEE);
    bool error = true;
    const std::uint32_t twoLast[] = {last, last};
    EXPECT_EQ(io->loadSectors(twoLast, buffer.data(), 700, error), 700u);
    EXPECT_FALSE(error);
    const std::uint32_t pastEnd[] = {last, last + 1};
    EXPECT_EQ(io->loadSectors(pastEnd, buffer.data(), 1024, error), 0u);
    EXPECT_TRUE(error);
    EXPECT_EQ(io->loadSector(last, nullptr, 512), 0u);
    EXPECT_EQ(io->loadSector(last, buffer.data(), 0), 0u);
    EXPECT_FALSE(io->dataIntoBuffer(buffer.data(), image.bytes.size() - 4, 5));
    EXPECT_TRUE(io->dataIntoBuffer(buffer.data(), image.bytes.size() - 4, 4));
}

TEST(CompoundDocumentIOTest, SmallSectorsOutsideTheSmallAreaLog) {
    const CfbImage image = smallDocument();
    const auto io = opened(image.bytes);
    Bytes buffer(64, 0xEE);
    LogCapture log;
    EXPECT_EQ(io->loadSmallSector(0, buffer.data(), 64), 64u);
    EXPECT_EQ(buffer[0], 'H');
    EXPECT_EQ(io->loadSmallSector(8, buffer.data(), 64), 0u);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"Error: Sector index 1 out of bounds (max: 1)"});
}

TEST(CompoundDocumentIOTest, EntriesAndIsDirectory) {
    CfbWriter w;
    w.addStream("__recip_version1.0_#00000000/__substg1.0_3001001F", testing::utf16le("Ann"));
    w.addStream("b", Bytes(1, 1));
    w.addStorage("empty");
    const CfbImage image = w.build();
    CompoundDocument doc;
    doc.initializeWithData(image.bytes);
    doc.open();
    ASSERT_EQ(doc.result(), 0);
    auto names = doc.entries(u"/");
    ASSERT_EQ(names.size(), 3u);
    EXPECT_EQ(names[0], icu::UnicodeString(u"b"));
    EXPECT_EQ(names[1], icu::UnicodeString(u"empty"));
    EXPECT_TRUE(doc.entries(u"/b").empty()) << "a stream lists nothing";
    EXPECT_TRUE(doc.entries(u"/empty").empty());
    EXPECT_TRUE(doc.entries(u"/nothing").empty());
    EXPECT_EQ(doc.entries(u"__recip_version1.0_#00000000/").size(), 1u);
    EXPECT_TRUE(doc.isDirectory(u"/"));
    EXPECT_TRUE(doc.isDirectory(u"empty"));
    EXPECT_FALSE(doc.isDirectory(u"b"));
    EXPECT_FALSE(doc.isDirectory(u"nothing"));
}

}  // namespace
}  // namespace tessivo
