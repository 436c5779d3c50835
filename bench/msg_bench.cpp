// The full message dictionary over the corpus, in process: each iteration
// reads every .msg file and builds its dictionary with ReadMSG, as `tessivo
// dump` does; and the five-key summary the same way. Files are read whole
// on each pass, as the peers in compare_peers.sh read them, with the
// library's file reader into one reused buffer. Rates are over wall-clock
// time, like theirs.
#include <benchmark/benchmark.h>

#include <string>

#include "bench_corpus.h"
#include "tessivo/foundation/file_bytes.h"
#include "tessivo/foundation/log.h"
#include "tessivo/msg/read_msg.h"

namespace {

template <class Read> void overCorpus(benchmark::State& state, Read read) {
    tessivo::silenceLog();
    const auto files = tessivo::bench::corpusMessages();
    if (files.empty()) {
        state.SkipWithError("no corpus at " TESSIVO_CORPUS_DIR);
        return;
    }
    tessivo::Bytes buffer;
    std::string reason;
    for (auto _ : state) {
        for (const auto& f : files) {
            if (!tessivo::readWholeFile(f.path, buffer, reason)) {
                state.SkipWithError((f.path + ": " + reason).c_str());
                return;
            }
            read(buffer);
        }
    }
    state.SetBytesProcessed(state.iterations() * tessivo::bench::totalBytes(files));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(files.size()));
    state.counters["messages"] = static_cast<double>(files.size());
}

void BM_FullDictionaryCorpus(benchmark::State& state) {
    overCorpus(state, [](tessivo::ByteView bytes) {
        if (auto reader = tessivo::ReadMSG::initWithData(bytes))
            benchmark::DoNotOptimize(std::move(*reader).returnFullDictionary());
    });
}
BENCHMARK(BM_FullDictionaryCorpus)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_SummaryCorpus(benchmark::State& state) {
    overCorpus(state, [](tessivo::ByteView bytes) { benchmark::DoNotOptimize(tessivo::ReadMSG::getSummaryForMessage(bytes)); });
}
BENCHMARK(BM_SummaryCorpus)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
