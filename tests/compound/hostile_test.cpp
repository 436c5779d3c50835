// Damaged and cut documents must never crash, hang or run away with memory:
// every prefix at sector steps, random byte flips, and the real corpus.
#include <gtest/gtest.h>

#include <random>

#include "support/cfb_writer.h"
#include "support/compound_walk.h"
#include "support/corpus.h"
#include "tessivo/compound/mole.h"
#include "tessivo/foundation/log.h"

namespace tessivo {
namespace {

using testing::CfbImage;
using testing::CfbWriter;

// Opens the document and reads everything a reader can ask for, its
// messages dropped (damaged streams may log a line per 16 bytes).
void walkEverything(ByteView bytes) {
    const LogSink previous = setLogSink([](std::string_view) {});
    if (auto mole = Mole::initWithData(bytes)) testing::readEverything(*mole);
    setLogSink(previous);
}

CfbImage messageLikeDocument(unsigned shift, std::uint32_t extraFat) {
    CfbWriter::Options o;
    o.sectorShift = shift;
    o.extraFatSectors = extraFat;
    CfbWriter w(o);
    w.addStream("__substg1.0_0037001F", testing::utf16le("Subject line"));
    w.addStream("__substg1.0_1000001F", Bytes(6000, 'x'));
    w.addStream("__properties_version1.0", Bytes(32 + 16 * 4, 0));
    w.addStream("__recip_version1.0_#00000000/__substg1.0_3001001F", testing::utf16le("Ann"));
    w.addStream("__attach_version1.0_#00000000/__substg1.0_37010102", Bytes(5000, 0x55));
    w.addStorage("__nameid_version1.0");
    return w.build();
}

TEST(HostileTest, EveryPrefixOfWrittenDocuments) {
    for (auto [shift, extra] : {std::pair{9u, 0u}, std::pair{12u, 0u}, std::pair{9u, 120u}}) {
        const CfbImage image = messageLikeDocument(shift, extra);
        for (std::size_t cut = 0; cut <= image.bytes.size(); cut += 512) {
            // An exact-size copy, so that a read past the end is caught.
            const Bytes prefix(image.bytes.begin(), image.bytes.begin() + cut);
            walkEverything(prefix);
        }
    }
}

TEST(HostileTest, RandomByteFlipsInStructures) {
    const CfbImage image = messageLikeDocument(9, 0);
    std::mt19937 random(1122);
    for (int round = 0; round < 400; ++round) {
        CfbImage d = image;
        const int flips = 1 + random() % 6;
        for (int i = 0; i < flips; ++i) {
            std::size_t offset;
            switch (random() % 4) {
            case 0: offset = random() % 512; break;
            case 1: offset = d.sectorOffset(d.fatSectors[0]) + random() % 512; break;
            case 2: offset = d.sectorOffset(d.miniFatSectors[0]) + random() % 512; break;
            default: offset = d.sectorOffset(d.directorySectors[random() % d.directorySectors.size()]) + random() % 512;
            }
            d.setU8(offset, static_cast<std::uint8_t>(random()));
        }
        walkEverything(d.bytes);
    }
}

TEST(HostileTest, LargeDeclaredSizesAndShifts) {
    // Big sectors of 1 GB in a small file must not be allocated.
    CfbImage d = messageLikeDocument(9, 0);
    d.setU16(30, 30);
    walkEverything(d.bytes);
    d = messageLikeDocument(9, 0);
    d.setU32(44, 0xFFFFFFFF);
    d.setU32(72, 0xFFFFFFFF);
    walkEverything(d.bytes);
    d = messageLikeDocument(9, 0);
    for (const auto& [path, index] : d.entryIndex)
        if (!path.empty()) d.setEntryField(path, 120, 0xFFFFFFFF);
    walkEverything(d.bytes);
}

TEST(HostileTest, CorpusPrefixes) {
    const auto files = testing::corpusFiles(".msg");
    if (files.empty()) GTEST_SKIP() << "no corpus (TESSIVO_CORPUS)";
    for (const auto& file : files) {
        const Bytes bytes = testing::readFile(file);
        for (std::size_t cut = 0; cut < bytes.size(); cut += 512 * 15)
            walkEverything(Bytes(bytes.begin(), bytes.begin() + cut));
    }
}

TEST(CorpusTest, EveryMessageOpens) {
    const auto files = testing::corpusFiles(".msg");
    if (files.empty()) GTEST_SKIP() << "no corpus (TESSIVO_CORPUS)";
    for (const auto& file : files) {
        const Bytes bytes = testing::readFile(file);
        int code = -1;
        auto mole = Mole::initWithData(bytes, &code);
        EXPECT_EQ(code, 0) << file;
        if (!mole) continue;
        LogCapture log;
        const Array listing = mole->getDirectory();
        EXPECT_FALSE(listing.empty()) << file;
        for (const auto& record : listing) {
            const Dictionary& d = *record.dictionary();
            if (!d.contains(u"entrysize")) continue;
            auto bytes = mole->getStream(*d.get(u"entryname")->string());
            ASSERT_TRUE(bytes) << file;
            EXPECT_GE(static_cast<std::int64_t>(bytes->size()), d.get(u"entrysize")->toInt64()) << file;
        }
        EXPECT_TRUE(log.lines().empty()) << file << ": " << (log.lines().empty() ? "" : log.lines()[0]);
    }
}

}  // namespace
}  // namespace tessivo
