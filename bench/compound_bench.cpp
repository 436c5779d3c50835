// Reading every stream of a compound document: a generated 20 MB document and
// each corpus message. Reports bytes/s and the time relative to copying the
// same bytes with memcpy into fresh buffers ("vs_memcpy", fastest run against
// fastest run, which should stay below 3 for the generated document).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "support/cfb_writer.h"
#include "support/corpus.h"
#include "tessivo/compound/mole.h"
#include "tessivo/foundation/log.h"

namespace {

using tessivo::Bytes;

Bytes generatedDocument() {
    tessivo::testing::CfbWriter w;
    Bytes big(8 * 1024 * 1024);
    for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<std::uint8_t>(i * 13);
    w.addStream("__attach_version1.0_#00000000/__substg1.0_37010102", big);
    for (int i = 0; i < 20; ++i)
        w.addStream("__attach_version1.0_#0000000" + std::to_string(1 + i % 8) + "/data" + std::to_string(i),
                    Bytes(500 * 1024, static_cast<std::uint8_t>(i)));
    for (int i = 0; i < 600; ++i) w.addStream("small/s" + std::to_string(i), Bytes(2000 + i, 'x'));
    return w.build().bytes;
}

std::vector<icu::UnicodeString> streamPaths(tessivo::Mole& mole) {
    std::vector<icu::UnicodeString> paths;
    for (const auto& record : mole.getDirectory())
        if (record.dictionary()->contains(u"entrysize")) paths.push_back(*record.dictionary()->get(u"entryname")->string());
    return paths;
}

// Seconds to copy sizes[i] bytes of data into fresh buffers, best of a few runs.
double memcpySeconds(tessivo::ByteView data, const std::vector<std::size_t>& sizes) {
    double best = 1e9;
    for (int run = 0; run < 5; ++run) {
        const auto start = std::chrono::steady_clock::now();
        for (std::size_t n : sizes) {
            Bytes copy(n);
            std::memcpy(copy.data(), data.data(), std::min(n, data.size()));
            benchmark::DoNotOptimize(copy.data());
        }
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return best;
}

void readEveryStream(benchmark::State& state, const Bytes& document) {
    tessivo::silenceLog();
    auto first = tessivo::Mole::initWithData(document);
    if (!first) {
        state.SkipWithError("document does not open");
        return;
    }
    const auto paths = streamPaths(*first);
    std::vector<std::size_t> sizes;
    for (const auto& p : paths) sizes.push_back(first->getStream(p)->size());
    std::size_t total = 0;
    for (std::size_t n : sizes) total += n;

    double fastest = 1e9;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        auto mole = tessivo::Mole::initWithData(document);
        for (const auto& p : paths) benchmark::DoNotOptimize(mole->getStream(p));
        fastest = std::min(fastest, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * total));
    state.counters["streams"] = static_cast<double>(paths.size());
    state.counters["vs_memcpy"] = fastest / memcpySeconds(document, sizes);
}

}  // namespace

int main(int argc, char** argv) {
    static const Bytes generated = generatedDocument();
    benchmark::RegisterBenchmark("ReadEveryStream/generated_20MB",
                                 [](benchmark::State& s) { readEveryStream(s, generated); })
        ->Unit(benchmark::kMillisecond);

    static std::vector<std::pair<std::string, Bytes>> corpus;
    std::error_code ec;
    if (std::filesystem::is_directory(TESSIVO_CORPUS_DIR, ec)) {
        for (const auto& e : std::filesystem::recursive_directory_iterator(TESSIVO_CORPUS_DIR))
            if (e.is_regular_file() && e.path().extension() == ".msg")
                corpus.emplace_back(e.path().parent_path().filename().string() + "/" + e.path().filename().string(),
                                    tessivo::testing::readFile(e.path()));
    }
    for (const auto& [name, bytes] : corpus)
        benchmark::RegisterBenchmark(("ReadEveryStream/" + name).c_str(),
                                     [&bytes = bytes](benchmark::State& s) { readEveryStream(s, bytes); })
            ->Unit(benchmark::kMicrosecond);

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
