// Real TNEF streams: every one opens, and cut or flipped copies of them
// never crash, hang or trip a sanitizer.
#include <gtest/gtest.h>

#include <random>

#include "support/corpus.h"
#include "tessivo/foundation/log.h"
#include "tessivo/tnef/read_tnef.h"
#include "tessivo/tnef/tnef_decoder.h"

namespace tessivo {
namespace {

// The corpus files that hold TNEF streams (winmail.dat among them).
std::vector<std::filesystem::path> tnefFiles() {
    auto files = testing::corpusFiles(".tnef");
    const auto dat = testing::corpusFiles(".dat");
    files.insert(files.end(), dat.begin(), dat.end());
    return files;
}

void readEverything(ByteView bytes) {
    LogCapture quiet;
    if (auto reader = ReadTNEF::initWithData(bytes)) reader->returnFullDictionary();
    ReadTNEF::getSummaryForMessage(bytes);
}

TEST(TNEFCorpusTest, EveryStreamOpens) {
    const auto files = tnefFiles();
    if (files.empty()) GTEST_SKIP() << "no corpus (TESSIVO_CORPUS)";
    for (const auto& file : files) {
        SCOPED_TRACE(file.string());
        const Bytes bytes = testing::readFile(file);
        LogCapture log;
        EXPECT_TRUE(TNEFDecoder().processTNEF(bytes));
        EXPECT_TRUE(ReadTNEF::initWithData(bytes));
        EXPECT_TRUE(ReadTNEF::getSummaryForMessage(bytes));
    }
}

TEST(TNEFCorpusTest, EveryPrefixOfSmallStreams) {
    const auto files = tnefFiles();
    if (files.empty()) GTEST_SKIP() << "no corpus (TESSIVO_CORPUS)";
    std::size_t read = 0;
    for (const auto& file : files) {
        const Bytes bytes = testing::readFile(file);
        if (bytes.size() > 3500) continue;
        // Exact-size copies, so that a read past the end is caught.
        for (std::size_t cut = 0; cut <= bytes.size(); ++cut, ++read)
            readEverything(Bytes(bytes.begin(), bytes.begin() + cut));
    }
    EXPECT_GT(read, 10000u);
}

TEST(TNEFCorpusTest, RandomByteFlips) {
    const auto files = tnefFiles();
    if (files.empty()) GTEST_SKIP() << "no corpus (TESSIVO_CORPUS)";
    std::mt19937 random(1212);
    for (const auto& file : files) {
        const Bytes original = testing::readFile(file);
        if (original.size() > 40000) continue;
        for (int round = 0; round < 60; ++round) {
            Bytes bytes = original;
            const int flips = 1 + random() % 8;
            // Mostly in the first kilobytes, where the message records and property blocks lie.
            for (int i = 0; i < flips; ++i)
                bytes[random() % std::min<std::size_t>(bytes.size(), 1 + random() % 4096)] = random();
            readEverything(bytes);
        }
    }
}

}  // namespace
}  // namespace tessivo
