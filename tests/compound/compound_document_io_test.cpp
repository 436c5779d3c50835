#include <gtest/gtest.h>

#include <memory>

#include "support/cfb_writer.h"
#include "tessivo/compound/compound_document.h"
#include "tessivo/compound/compound_document_io.h"
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

TEST(CompoundDocumentIOTest, ResultCodes) {
    const CfbImage image = smallDocument();
    EXPECT_EQ(openResult(image.bytes), kCompoundOpened);
    EXPECT_EQ(openResult(Bytes(image.bytes.begin(), image.bytes.begin() + 511)), kCompoundTooShort);
    EXPECT_EQ(openResult(Bytes(1, 0xD0)), kCompoundTooShort);
    Bytes header(image.bytes.begin(), image.bytes.begin() + 512);
    header[0] = 0;
    EXPECT_EQ(openResult(header), kCompoundBadSignature);
    for (std::size_t i = 0; i < 8; ++i) {
        CfbImage bad = image;
        bad.setU8(i, bad.bytes[i] ^ 0x01);
        EXPECT_EQ(openResult(bad.bytes), kCompoundBadSignature) << "signature byte " << i;
    }
}

// Header fields out of range, and tables or a directory that cannot be loaded.
TEST(CompoundDocumentIOTest, BrokenHeaderFieldsGiveInvalid) {
    struct Case {
        const char* field;
        std::size_t offset;
        std::uint32_t value;
        bool wide;
    };
    for (auto c : {Case{"masterShift 6", 30, 6, false}, Case{"masterShift 31", 30, 31, false},
                   Case{"smallShift above masterShift", 32, 10, false}, Case{"no table sectors", 44, 0, true},
                   Case{"table count above master capacity", 44, 110, true}, Case{"threshold 4095", 56, 4095, true},
                   Case{"threshold 2048", 56, 2048, true}, Case{"master count with few tables", 72, 1, true},
                   Case{"first table sector past the end", 76, 5000, true}, Case{"no directory", 48, 0xFFFFFFFE, true},
                   Case{"more table sectors than the file holds", 44, 40, true}}) {
        CfbImage bad = smallDocument();
        if (c.wide)
            bad.setU32(c.offset, c.value);
        else
            bad.setU16(c.offset, static_cast<std::uint16_t>(c.value));
        EXPECT_EQ(openResult(bad.bytes), kCompoundInvalid) << c.field;
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
        EXPECT_EQ(handler->sectorArray(), image.streamSectors("big"));
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
