// Importer throughput over the corpus, in process: each iteration maps every
// .msg file and extracts its body text, as the desktop-search service would.
// Rates are over wall-clock time, like the peer readers in compare_importer.sh.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tessivo/foundation/log.h"
#include "tessivo/importer/importer.h"

namespace {

struct CorpusFile {
    std::string path;
    std::uintmax_t size;
};

std::vector<CorpusFile> corpusMessages() {
    std::vector<CorpusFile> out;
    std::error_code ec;
    for (const auto& e : std::filesystem::recursive_directory_iterator(TESSIVO_CORPUS_DIR, ec))
        if (e.is_regular_file() && e.path().extension() == ".msg") out.push_back({e.path().string(), e.file_size()});
    std::sort(out.begin(), out.end(), [](const auto& a, const auto& b) { return a.path < b.path; });
    return out;
}

void BM_ImportCorpus(benchmark::State& state) {
    tessivo::silenceLog();
    const auto files = corpusMessages();
    if (files.empty()) {
        state.SkipWithError("no corpus at " TESSIVO_CORPUS_DIR);
        return;
    }
    std::int64_t bytes = 0;
    for (const auto& f : files) bytes += static_cast<std::int64_t>(f.size);
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
