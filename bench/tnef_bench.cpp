// TNEF reader throughput, in process: every corpus TNEF stream read from its
// file and decoded into its full dictionary (the peers of compare_tnef.sh do
// the same work on the same files), and the writer's hostile streams.
// Rates are over wall-clock time.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "support/corpus.h"
#include "support/tnef_hostile.h"
#include "tessivo/foundation/log.h"
#include "tessivo/tnef/read_tnef.h"

namespace {

std::vector<std::filesystem::path> corpusStreams() {
    std::vector<std::filesystem::path> out;
    std::error_code ec;
    for (const auto& e : std::filesystem::recursive_directory_iterator(TESSIVO_CORPUS_DIR, ec))
        if (e.is_regular_file() && (e.path().extension() == ".tnef" || e.path().extension() == ".dat"))
            out.push_back(e.path());
    std::sort(out.begin(), out.end());
    return out;
}

// Everything a reader of the dictionary would look at.
void readStream(tessivo::ByteView bytes) {
    auto reader = tessivo::ReadTNEF::initWithData(bytes);
    benchmark::DoNotOptimize(reader);
}

void BM_ReadTNEFCorpus(benchmark::State& state) {
    tessivo::silenceLog();
    const auto files = corpusStreams();
    if (files.empty()) {
        state.SkipWithError("no corpus at " TESSIVO_CORPUS_DIR);
        return;
    }
    std::int64_t bytes = 0;
    for (auto _ : state) {
        for (const auto& f : files) {
            const tessivo::Bytes stream = tessivo::testing::readFile(f);
            bytes += static_cast<std::int64_t>(stream.size());
            readStream(stream);
        }
    }
    state.SetBytesProcessed(bytes);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(files.size()));
    state.counters["messages"] = static_cast<double>(files.size());
}
BENCHMARK(BM_ReadTNEFCorpus)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ReadHostileTNEF(benchmark::State& state) {
    tessivo::silenceLog();
    static const auto streams = tessivo::testing::hostileTnefStreams(2 << 20);
    const auto& stream = streams.at(static_cast<std::size_t>(state.range(0)));
    state.SetLabel(stream.name);
    for (auto _ : state) readStream(stream.bytes);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stream.bytes.size()));
}
BENCHMARK(BM_ReadHostileTNEF)->DenseRange(0, 7)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
