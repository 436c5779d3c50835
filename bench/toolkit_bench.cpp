// Throughput of decoding bytes of unknown encoding and of text cleaning on
// 1 MB inputs, and how getStringWithUnknownEncoding on valid UTF-8 compares
// with ICU's own UTF-8 to UTF-16 conversion (printed after the runs).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <random>
#include <string>

#include "tessivo/foundation/encoding.h"
#include "tessivo/toolkit/data_decoding.h"
#include "tessivo/toolkit/string_cleaning.h"
#include "tessivo/toolkit/string_wangers.h"

namespace {

using namespace tessivo;

constexpr std::size_t kMegabyte = 1 << 20;

// Text of about size UTF-16 units, from pieces picked by a fixed-seed generator.
icu::UnicodeString buildText(std::size_t size, std::initializer_list<const char16_t*> pieces) {
    const std::vector<icu::UnicodeString> pool(pieces.begin(), pieces.end());
    std::mt19937 rng(42);
    icu::UnicodeString out;
    while (static_cast<std::size_t>(out.length()) < size) out.append(pool[rng() % pool.size()]);
    return out;
}

// size bytes of the text in the encoding, cut at a whole piece boundary.
Bytes encoded(Encoding encoding, std::initializer_list<const char16_t*> pieces, std::size_t unitsPerByte) {
    icu::UnicodeString text = buildText(kMegabyte / unitsPerByte, pieces);
    auto bytes = encode(text, encoding);
    if (!bytes) return {};
    return std::move(*bytes);
}

const Bytes& input(int kind) {
    static const Bytes inputs[] = {
        encoded(encodings::UTF8, {u"Plain words of a body ", u"café crème ", u"naïve Grüße ", u"日本語のテキスト ", u"\r\n"}, 1),
        encoded(encodings::UTF16LE, {u"Plain words of a body ", u"café crème ", u"<p>markup</p>", u"\r\n"}, 2),
        encoded(encodings::Windows1252, {u"Plain words of a body ", u"café crème ", u"“quoted” ", u"€ 10 ", u"\r\n"}, 1),
        encoded(encodings::ShiftJIS, {u"日本語のテキストです。", u"こんにちは世界 ", u"ABC 123 ", u"\r\n"}, 2),
    };
    return inputs[kind];
}

const char* kKindNames[] = {"utf8", "utf16le_unmarked", "windows1252", "shift_jis"};

void BM_GetStringWithUnknownEncoding(benchmark::State& state) {
    const Bytes& bytes = input(static_cast<int>(state.range(0)));
    state.SetLabel(kKindNames[state.range(0)]);
    for (auto _ : state) benchmark::DoNotOptimize(DataWangersNSDataAdditions::getStringWithUnknownEncoding(bytes));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

void BM_StringFromNSData(benchmark::State& state) {
    const Bytes& bytes = input(static_cast<int>(state.range(0)));
    state.SetLabel(kKindNames[state.range(0)]);
    for (auto _ : state) benchmark::DoNotOptimize(StringWangers::stringFromNSData(bytes));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

void BM_ZapGremlins(benchmark::State& state) {
    const Bytes& bytes = input(static_cast<int>(state.range(0)));
    state.SetLabel(kKindNames[state.range(0)]);
    const icu::UnicodeString text = StringWangers::stringFromNSData(bytes);
    for (auto _ : state) benchmark::DoNotOptimize(WindowsCodePageWangersNSStringAdditions::zapGremlins(text));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * text.length() * 2);
}

void BM_IcuFromUTF8(benchmark::State& state) {
    const Bytes& bytes = input(0);
    const icu::StringPiece piece(reinterpret_cast<const char*>(bytes.data()), static_cast<int32_t>(bytes.size()));
    for (auto _ : state) benchmark::DoNotOptimize(icu::UnicodeString::fromUTF8(piece));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

BENCHMARK(BM_GetStringWithUnknownEncoding)->DenseRange(0, 3);
BENCHMARK(BM_StringFromNSData)->DenseRange(0, 3);
BENCHMARK(BM_ZapGremlins)->DenseRange(0, 3);
BENCHMARK(BM_IcuFromUTF8);

// Best of several timed rounds, in seconds per call.
template <class F> double bestSeconds(F&& f) {
    double best = 1e9;
    for (int round = 0; round < 7; ++round) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < 20; ++i) benchmark::DoNotOptimize(f());
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        best = std::min(best, took.count() / 20);
    }
    return best;
}

void printUtf8Ratio() {
    const Bytes& bytes = input(0);
    const icu::StringPiece piece(reinterpret_cast<const char*>(bytes.data()), static_cast<int32_t>(bytes.size()));
    const double ours = bestSeconds([&] { return DataWangersNSDataAdditions::getStringWithUnknownEncoding(bytes); });
    const double icu = bestSeconds([&] { return icu::UnicodeString::fromUTF8(piece); });
    std::printf("getStringWithUnknownEncoding on 1 MB UTF-8: %.3f ms, ICU fromUTF8: %.3f ms, speed ratio %.2f "
                "(must be at least 0.33)\n",
                ours * 1e3, icu * 1e3, icu / ours);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    printUtf8Ratio();
    return 0;
}
