// Cut messages are read as far as they go: every corpus message cut at every
// 512-byte boundary gives the result code, outcome and text of the same cut
// padded back to the file's length with zero bytes, since sectors past the
// end of the data read as zeros. The reader tells the two apart only where
// the rules for opening do:
// - a sector of the big-sector table that starts past the end of the data
//   refuses the cut document (result 3), where the padded one reads zeros;
// - the tables and the directory are loaded sector by sector up to the first
//   sector that starts past the end, a sector cut short by the end as far as
//   it goes (so the sectors after it move up): where such a sector comes
//   before one that starts within the data, the two load different bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>

#include <unistd.h>

#include "support/cfb_writer.h"
#include "support/corpus.h"
#include "support/shrinking_file.h"
#include "tessivo/compound/compound_document_io.h"
#include "tessivo/compound/mole.h"
#include "tessivo/foundation/log.h"
#include "tessivo/importer/importer.h"

namespace tessivo::importer {
namespace {

constexpr std::size_t kStep = 512;

// Why the cut at length cut may be read differently from the padded
// document, or nullptr when it must not be.
const char* openingDistinguishes(CompoundDocumentIO& padded, std::uint64_t cut) {
    const std::uint64_t size = padded.bigSectorSize();
    const auto startsPastCut = [&](std::uint32_t sector) { return (std::uint64_t{sector} + 1) * size >= cut; };
    const auto blocks = padded.getSectorBlocks(true);
    if (std::any_of(blocks.begin(), blocks.end(), startsPastCut)) return "big-sector table past the end";
    const SectorAllocTable& table = padded.masterSectorAllocationTable();
    for (const auto& chain : {blocks, table.walk(padded.header().smallSectorAllocationTableStart).sectors.toVector(),
                              table.walk(padded.header().directoryEntryStart).sectors.toVector()}) {
        const auto shortSector = std::find_if(chain.begin(), chain.end(), [&](std::uint32_t s) {
            return (std::uint64_t{s} + 2) * size > cut;
        });
        if (shortSector != chain.end() &&
            std::any_of(shortSector + 1, chain.end(), [&](std::uint32_t s) { return !startsPastCut(s); }))
            return "table sector past the end before one within it";
    }
    return nullptr;
}

int resultCode(ByteView bytes) {
    int code = -1;
    Mole::initWithData(bytes, &code);
    return code;
}

TEST(TruncatedCorpus, CutsReadAsTheirZeroPaddedTwins) {
    const auto files = testing::corpusFiles(".msg");
    if (files.empty()) GTEST_SKIP() << "no corpus (TESSIVO_CORPUS)";
    LogCapture quiet;
    int cuts = 0, distinguished = 0, withText = 0;
    for (const auto& file : files) {
        SCOPED_TRACE(file.string());
        const Bytes original = testing::readFile(file);
        if (resultCode(original) != kCompoundOpened) continue;
        // Zeroed from the end one step at a time, so that each cut's twin costs one step.
        Bytes padded = original;
        for (std::size_t cut = (original.size() - 1) / kStep * kStep, zeroedFrom = original.size(); cut > 0;
             zeroedFrom = cut, cut -= kStep) {
            std::fill(padded.begin() + static_cast<std::ptrdiff_t>(cut),
                      padded.begin() + static_cast<std::ptrdiff_t>(zeroedFrom), 0);
            quiet.clear();
            ++cuts;
            const ByteView cutBytes(original.data(), cut);
            CompoundDocumentIO twinReader{ByteView(padded)};
            twinReader.open();
            ASSERT_EQ(twinReader.result(), kCompoundOpened) << "cut " << cut;
            if (const char* why = openingDistinguishes(twinReader, cut)) {
                ++distinguished;
                if (std::string(why) == "big-sector table past the end") {
                    EXPECT_EQ(resultCode(cutBytes), kCompoundInvalid) << "cut " << cut;
                }
                continue;
            }
            const Result fromCut = extractText(cutBytes);
            const Result fromTwin = extractText(ByteView(padded));
            EXPECT_EQ(fromCut.outcome, fromTwin.outcome) << "cut " << cut;
            EXPECT_TRUE(fromCut.wholeText() == fromTwin.wholeText()) << "cut " << cut;
            // Documents that open have result code 0; compare the others' codes.
            if (fromCut.outcome == Outcome::NotMessage || fromTwin.outcome == Outcome::NotMessage) {
                EXPECT_EQ(resultCode(cutBytes), resultCode(padded)) << "cut " << cut;
            }
            withText += fromCut.outcome == Outcome::Text;
        }
    }
    std::printf("%d cuts: %d read as their twins (%d with text), %d told apart by the rules for opening\n", cuts,
                cuts - distinguished, withText, distinguished);
}

// A file that another process cuts short and writes again while the
// importer reads it: never a crash, always text (whole, or as far as the
// reader got) or a clear reason.
TEST(ShrinkingFile, ImporterGivesTextOrAReason) {
    testing::CfbWriter w;
    std::string words;
    for (int i = 0; i < 100000; ++i) words += "heron ";
    w.addStream("__substg1.0_1000001F", testing::utf16le(words));
    const auto dir = std::filesystem::temp_directory_path() / ("shrinking-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    LogCapture quiet;
    {
        testing::ShrinkingFile file(dir / "a.msg", w.build().bytes);
        int texts = 0;
        for (int i = 0; i < 100; ++i) {
            const Result result = extractText(file.path().string());
            if (result.outcome == Outcome::Text) {
                ++texts;
                EXPECT_TRUE(result.text.isEmpty() || result.text.startsWith(u"heron ") || result.text.charAt(0) == 0);
            } else {
                EXPECT_FALSE(result.reason.empty() && result.outcome != Outcome::NoBody);
            }
            Dictionary attributes;
            importFile(kContentTypeMsg, file.path().string(), attributes);
            quiet.clear();
        }
        std::printf("%d of 100 reads gave text while the file was rewritten %u times\n", texts, file.rounds());
    }
    std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace tessivo::importer
