// Hostile streams made by the writer: whatever sizes and counts they
// declare, reading one of n bytes (its full dictionary, or its summary) must
// stay below 4n + 32 MB of memory. Each read runs in a child process that
// measures the resident memory it adds; the time per megabyte is printed,
// not asserted. Sanitizer builds only read.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "support/tnef_writer.h"
#include "tessivo/foundation/log.h"
#include "tessivo/tnef/read_tnef.h"

#if defined(__SANITIZE_ADDRESS__)
#define TESSIVO_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TESSIVO_ASAN 1
#endif
#endif

namespace tessivo {
namespace {

using namespace testing;

constexpr std::size_t kTargetBytes = 2 << 20;
constexpr double kMB = 1 << 20;

std::size_t statusKiB(const char* field) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.starts_with(field)) return std::stoul(line.substr(std::strlen(field)));
    return 0;
}

using Read = void (*)(const Bytes&);
void fullDictionary(const Bytes& input) { ASSERT_TRUE(ReadTNEF::initWithData(input)); }
void summary(const Bytes& input) { ASSERT_TRUE(ReadTNEF::getSummaryForMessage(input)); }

struct Cost {
    double addedBytes = 0;
    double seconds = 0;
};

// The resident memory that one read adds (the input itself not counted)
// and the time it takes, measured in a child process.
std::optional<Cost> measure(Read readInput, const Bytes& input) {
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) return std::nullopt;
    const pid_t child = fork();
    if (child == 0) {
        silenceLog();
        std::ofstream("/proc/self/clear_refs") << "5";  // the peak starts again from here
        const std::size_t before = statusKiB("VmRSS:");
        const auto start = std::chrono::steady_clock::now();
        readInput(input);
        const Cost cost{(static_cast<double>(statusKiB("VmHWM:")) - static_cast<double>(before)) * 1024,
                        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count()};
        [[maybe_unused]] auto written = write(pipeEnds[1], &cost, sizeof cost);
        _exit(0);
    }
    close(pipeEnds[1]);
    Cost cost;
    const bool got = read(pipeEnds[0], &cost, sizeof cost) == sizeof cost;
    close(pipeEnds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (!got || !WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
    return cost;
}

// Both reads of the stream stay below the bound.
void expectBounded(const char* name, const Bytes& input) {
    SCOPED_TRACE(name);
#ifdef TESSIVO_ASAN
    LogCapture quiet;
    fullDictionary(input);
    summary(input);
#else
    const double n = static_cast<double>(input.size());
    std::printf("%-30s %5.2f MB:", name, n / kMB);
    for (const auto& [what, readInput] : {std::pair<const char*, Read>{"full", fullDictionary}, {"summary", summary}}) {
        const auto cost = measure(readInput, input);
        ASSERT_TRUE(cost) << what << ": the read did not finish";
        const double total = n + cost->addedBytes;
        std::printf("  %s %6.2f MB %7.1f ms/MB", what, total / kMB, cost->seconds * 1000 / (n / kMB));
        EXPECT_LT(total, 4 * n + 32 * kMB) << what;
    }
    std::printf("  (bound %.2f MB)\n", (4 * n + 32 * kMB) / kMB);
#endif
}

// A property block of count properties, each the same bytes.
Bytes repeatedBlock(std::uint32_t count, const Bytes& property, std::size_t extra = 0) {
    Bytes b = le32(count);
    for (std::uint32_t i = 0; i < count; ++i) b.insert(b.end(), property.begin(), property.end());
    b.resize(b.size() + extra);
    return b;
}

TEST(TNEFHostileTest, HugeDeclaredChunkSizes) {
    // Attachments up to the size, then a record declaring 100 MB that is not
    // there: the parse fails and the raw scan reads the attachments instead.
    TnefWriter w;
    w.subject("chunks");
    while (w.size() < kTargetBytes) w.attachment("part.bin", Bytes(1000, 0x5A));
    w.header(kAttAttachData, 104857600);
    expectBounded("declared 100 MB record", w.build());

    // Property values declaring 100 MB, again and again.
    TnefWriter values;
    const MapiBlock lying = MapiBlock().raw(cat({le32(0x10090102), le32(1), le32(0x6400000), Bytes(4, 0)}));
    while (values.size() < kTargetBytes) values.mapi(lying);
    expectBounded("declared 100 MB values", values.build());
}

TEST(TNEFHostileTest, PropertyCountsOfTenThousand) {
    // Attachments that each keep 10000 properties (the smallest block that
    // may declare them), and message blocks that declare them and fail.
    const Bytes kept = repeatedBlock(10000, cat({le32(0x0E080003), le32(7)}));
    const Bytes failing = repeatedBlock(10000, le32(0x0E080003), 40000);
    TnefWriter w;
    while (w.size() < kTargetBytes) {
        w.attachment("a", Bytes{1});
        w.record(kAttAttachment, kept, {}, TnefWriter::kAttachmentLevel);
        w.record(kAttMapiProps, failing);
    }
    expectBounded("10000 properties per block", w.build());
}

TEST(TNEFHostileTest, ValueCountsThatMultiply) {
    // 10000 properties of 10000 values each, of types that take no bytes, and
    // named properties declaring four billion names.
    const Bytes multi = repeatedBlock(10000, cat({le32(0x00011000), le32(10000)}));
    const Bytes named = repeatedBlock(10000, cat({le32(0x80011003), Bytes(16, 0), le32(0xFFFFFFFF), le32(0), le32(1)}));
    TnefWriter w;
    while (w.size() < kTargetBytes) w.record(kAttMapiProps, multi).record(kAttMapiProps, named);
    expectBounded("multiplying value counts", w.build());
}

TEST(TNEFHostileTest, AttachmentChainsOfTinyRecords) {
    // Thousands of attachments of one byte, many more display records that
    // start attachments without data.
    TnefWriter w;
    w.subject("chain");
    for (int i = 0; w.size() < kTargetBytes / 2; ++i) {
        w.record(kAttAttachRendData, Bytes{0});
        if (i % 20 == 0) w.record(kAttAttachTitle, Bytes{'a'}).record(kAttAttachData, Bytes{1});
    }
    expectBounded("tiny attachment records", w.build());
    // Ten thousand attachments, nothing between them. Each costs its
    // dictionary in the result (about 1.3 KB), which is what bounds the
    // number this size of input may hold.
    TnefWriter dense;
    for (int i = 0; i < 10000; ++i) dense.attachment("a", Bytes{1});
    expectBounded("ten thousand attachments", dense.build());

    // The same for the raw scan: titles and data found by search.
    TnefWriter scan;
    scan.record(kAttBody, Bytes{1}, 0);
    for (int i = 0; scan.size() < kTargetBytes / 2; ++i) {
        scan.record(kAttAttachTitle, Bytes{'t'});
        if (i % 20 == 0) scan.record(kAttAttachData, Bytes{2});
    }
    expectBounded("tiny records, raw scan", scan.build());

    // Titles alone: every search for data after a title finds nothing.
    TnefWriter titles;
    titles.record(kAttBody, Bytes{1}, 0);
    while (titles.size() < kTargetBytes / 2) titles.record(kAttAttachTitle, Bytes{'t'});
    expectBounded("titles without data, raw scan", titles.build());
}

}  // namespace
}  // namespace tessivo
