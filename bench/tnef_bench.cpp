// TNEF reader throughput, in process: every corpus TNEF stream mapped from its
// file (as the command line reads it) and decoded into its full dictionary (the peers of compare_tnef.sh do
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

std::vector<tessivo::Bytes> corpusStreams() {
    std::vector<std::filesystem::path> paths;
    std::error_code ec;
    for (const auto& e : std::filesystem::recursive_directory_iterator(TESSIVO_CORPUS_DIR, ec))
        if (e.is_regular_file() && (e.path().extension() == ".tnef" || e.path().extension() == ".dat"))
            paths.push_back(e.path());
    std::sort(paths.begin(), paths.end());
    std::vector<tessivo::Bytes> streams;
    for (const auto& path : paths) streams.push_back(tessivo::testing::readFile(path));
    return streams;
}

// Everything a reader of the dictionary would look at.
void readStream(tessivo::ByteView bytes) {
    auto reader = tessivo::ReadTNEF::initWithData(bytes);
    benchmark::DoNotOptimize(reader);
}

void BM_ReadTNEFCorpus(benchmark::State& state) {
    tessivo::silenceLog();
    const auto streams = corpusStreams();
    if (streams.empty()) {
        state.SkipWithError("no corpus at " TESSIVO_CORPUS_DIR);
        return;
    }
    std::int64_t bytes = 0;
    for (const auto& s : streams) bytes += static_cast<std::int64_t>(s.size());
    for (auto _ : state)
        for (const auto& s : streams) readStream(s);
    state.SetBytesProcessed(state.iterations() * bytes);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(streams.size()));
    state.counters["messages"] = static_cast<double>(streams.size());
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
