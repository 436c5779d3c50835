// Hostile streams made by the writer: whatever sizes and counts they
// declare, reading one of n bytes (its full dictionary, or its summary) must
// stay below 4n + 32 MB of memory. Each read runs in a child process that
// measures the resident memory it adds; the processor time per megabyte is
// printed, not asserted. Sanitizer builds only read.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <ctime>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "support/tnef_hostile.h"
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

// Processor time of this process, user and system: on a shared machine it
// varies less than the time on the clock.
double cpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9;
}

// The resident memory that one read adds (the input itself not counted)
// and the processor time it takes, measured in a child process.
std::optional<Cost> measure(Read readInput, const Bytes& input) {
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) return std::nullopt;
    const pid_t child = fork();
    if (child == 0) {
        silenceLog();
        std::ofstream("/proc/self/clear_refs") << "5";  // the peak starts again from here
        const std::size_t before = statusKiB("VmRSS:");
        const double start = cpuSeconds();
        readInput(input);
        const Cost cost{(static_cast<double>(statusKiB("VmHWM:")) - static_cast<double>(before)) * 1024,
                        cpuSeconds() - start};
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
        std::printf("  %s %6.2f MB %6.1f ms/MB", what, total / kMB, cost->seconds * 1000 / (n / kMB));
        EXPECT_LT(total, 4 * n + 32 * kMB) << what;
    }
    std::printf("  (bound %.2f MB)\n", (4 * n + 32 * kMB) / kMB);
#endif
}

TEST(TNEFHostileTest, ReadsStayWithinFourTimesTheInput) {
    for (const auto& [name, bytes] : testing::hostileTnefStreams(2 << 20)) expectBounded(name.c_str(), bytes);
}

}  // namespace
}  // namespace tessivo
