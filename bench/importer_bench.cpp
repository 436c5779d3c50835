// Importer throughput over the corpus, in process: each iteration maps every
// .msg file and extracts its body text, as the desktop-search service would.
// Rates are over wall-clock time, like the peer readers in compare_peers.sh.
#include <benchmark/benchmark.h>

#include "bench_corpus.h"
#include "tessivo/foundation/log.h"
#include "tessivo/importer/importer.h"

namespace {

void BM_ImportCorpus(benchmark::State& state) {
    tessivo::silenceLog();
    const auto files = tessivo::bench::corpusMessages();
    if (files.empty()) {
        state.SkipWithError("no corpus at " TESSIVO_CORPUS_DIR);
        return;
    }
    const std::int64_t bytes = tessivo::bench::totalBytes(files);
    for (auto _ : state) {
        for (const auto& f : files) {
            tessivo::Dictionary attributes;
            benchmark::DoNotOptimize(tessivo::importer::importFile(tessivo::importer::kContentTypeMsg, f.path, attributes));
        }
    }
    state.SetBytesProcessed(state.iterations() * bytes);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(files.size()));
    state.counters["messages"] = static_cast<double>(files.size());
}
BENCHMARK(BM_ImportCorpus)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
