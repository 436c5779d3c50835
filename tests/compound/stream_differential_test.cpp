// The one-pass stream reader against a reading in 16-byte pieces: same bytes,
// same messages in the same order, on written and on damaged documents.
#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "compound/reference_reader.h"
#include "support/cfb_writer.h"
#include "tessivo/compound/mole.h"
#include "tessivo/foundation/log.h"

namespace tessivo {
namespace {

using testing::CfbImage;
using testing::CfbWriter;
using testing::pattern;

CfbImage mixedDocument(unsigned sectorShift) {
    CfbWriter::Options o;
    o.sectorShift = sectorShift;
    CfbWriter w(o);
    std::uint8_t seed = 1;
    for (std::size_t size : {0, 1, 15, 16, 17, 63, 64, 65, 700, 4095, 4096, 4097, 9000}) {
        w.addStream("s" + std::to_string(size), pattern(size, seed++));
    }
    w.addStream("__attach_version1.0_#00000000/__substg1.0_37010102", pattern(3000, seed++));
    w.addStream("__attach_version1.0_#00000000/__substg1.0_3701000D/inner", pattern(5000, seed++));
    return w.build();
}

// Every path a listing names, streams or not.
std::vector<icu::UnicodeString> allPaths(const CompoundDocument& doc) {
    std::vector<icu::UnicodeString> paths;
    std::function<void(const icu::UnicodeString&, int)> walk = [&](const icu::UnicodeString& path, int depth) {
        if (depth > 8) return;
        for (const auto& name : doc.entries(path)) {
            paths.push_back(path + name);
            if (doc.isDirectory(path + name) && !name.isEmpty()) walk(path + name + u"/", depth + 1);
        }
    };
    walk(u"/", 0);
    paths.push_back(u"/");
    paths.push_back(u"/missing");
    return paths;
}

void expectSameAsReference(const Bytes& bytes, const std::string& what) {
    auto mole = Mole::initWithData(bytes);
    if (!mole) return;
    for (const auto& path : allPaths(mole->compoundDocument())) {
        LogCapture fastLog;
        auto fast = mole->getStream(path);
        const auto fastLines = fastLog.lines();
        fastLog.clear();
        auto slow = testing::referenceGetStream(mole->compoundDocument(), path);
        EXPECT_EQ(fast, slow) << what << " " << toUtf8(path);
        EXPECT_EQ(fastLines, fastLog.lines()) << what << " " << toUtf8(path);
    }
}

TEST(StreamDifferentialTest, WrittenDocuments) {
    expectSameAsReference(mixedDocument(9).bytes, "512-byte sectors");
    expectSameAsReference(mixedDocument(12).bytes, "4096-byte sectors");
}

TEST(StreamDifferentialTest, DamagedChains) {
    const CfbImage base = mixedDocument(9);
    const std::pair<const char*, std::function<void(CfbImage&)>> damages[] = {
        {"big chain cycle", [](CfbImage& d) { d.setFatEntry(d.streamSectors("s9000")[5], d.streamSectors("s9000")[1]); }},
        {"big sector number past the end of the data",
         [](CfbImage& d) { d.setFatEntry(d.streamSectors("s4097")[3], 0xFFFFFF00u / 4); }},
        {"small chain cycle", [](CfbImage& d) { d.setMiniFatEntry(d.streamSectors("s700")[2], d.streamSectors("s700")[0]); }},
        {"small area cut short", [](CfbImage& d) { d.setFatEntry(d.miniStreamSectors[1], testing::kEndOfChain); }},
        {"small area not found", [](CfbImage& d) { d.setEntryField("", 116, 0x7FFFFFF0); }},
        {"declared sizes swapped across the threshold",
         [](CfbImage& d) {
             d.setEntryField("s9000", 120, 100);
             d.setEntryField("s65", 120, 5000);
         }},
    };
    for (const auto& [what, damage] : damages) {
        CfbImage d = base;
        damage(d);
        expectSameAsReference(d.bytes, what);
    }
    for (std::uint16_t smallShift : {0, 2, 3, 4, 5, 7, 9}) {
        CfbImage d = base;
        d.setU16(32, smallShift);
        expectSameAsReference(d.bytes, "small sector shift " + std::to_string(smallShift));
    }
    for (std::size_t cut = 512 * 8; cut < base.bytes.size(); cut += 1000) {
        expectSameAsReference(Bytes(base.bytes.begin(), base.bytes.begin() + cut), "cut at " + std::to_string(cut));
    }
}

TEST(StreamDifferentialTest, RandomDamage) {
    const CfbImage base = mixedDocument(9);
    std::mt19937 random(20261122);
    for (int round = 0; round < 60; ++round) {
        CfbImage d = base;
        for (int flips = 0; flips < 4; ++flips) {
            // Damage the tables and the directory, where reading is decided.
            const std::size_t area = random() % 3;
            std::size_t offset;
            if (area == 0)
                offset = d.sectorOffset(d.fatSectors[0]) + random() % 512;
            else if (area == 1)
                offset = d.sectorOffset(d.miniFatSectors[0]) + random() % 512;
            else
                offset = d.entryOffset(random() % 16) + 64 + random() % 64;
            d.setU8(offset, static_cast<std::uint8_t>(random()));
        }
        expectSameAsReference(d.bytes, "round " + std::to_string(round));
    }
}

}  // namespace
}  // namespace tessivo
