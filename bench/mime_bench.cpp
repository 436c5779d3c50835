// Throughput of the MIME decoders on 1 MB and 10 MB inputs.
#include <benchmark/benchmark.h>

#include <random>
#include <string>

#include "tessivo/mime/base64.h"
#include "tessivo/mime/mime_strings.h"
#include "tessivo/mime/quoted_printable.h"

namespace {

using namespace tessivo;

constexpr std::size_t kMegabyte = 1 << 20;

// Repeats pieces picked by a fixed-seed generator until size bytes are filled.
std::string build(std::size_t size, std::initializer_list<const char*> pieces) {
    const std::vector<std::string> pool(pieces.begin(), pieces.end());
    std::mt19937 rng(42);
    std::string out;
    out.reserve(size + 64);
    while (out.size() < size) out += pool[rng() % pool.size()];
    out.resize(size);
    return out;
}

void BM_DecodeMimeHeader(benchmark::State& state) {
    const std::string text = build(static_cast<std::size_t>(state.range(0)),
                                   {"=?utf-8?Q?caf=C3=A9_au_lait?= ", "=?iso-8859-1?B?Q2Fm6Q==?= ", "plain words ",
                                    "=?windows-1252?q?=93quoted=94?=\t"});
    const icu::UnicodeString value = fromUtf8(text);
    for (auto _ : state) benchmark::DoNotOptimize(WindowsCodePageWangersNSStringAdditions::decodeMimeHeader(value));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

void BM_QuotedPrintableDecode(benchmark::State& state) {
    const std::string text = build(static_cast<std::size_t>(state.range(0)),
                                   {"Plain text of a message body ", "caf=C3=A9 ", "=3D", "soft break=\r\n", "\r\n"});
    const ByteView input = asBytes(text);
    for (auto _ : state) {
        std::size_t length = 0;
        benchmark::DoNotOptimize(quoted_printable_decode(input, length, false));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

std::string base64Body(std::size_t size) {
    const std::string raw = build(size * 3 / 4, {"Ma", "n!", "\xC3\xA9", "\x01\xFF", "xyz"});
    return NewBase64Encode(asBytes(raw), true);
}

void BM_NewBase64Decode(benchmark::State& state) {
    const std::string text = base64Body(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(NewBase64Decode(text.data(), text.size()));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

void BM_Base64DecodeIgnoringUnknownCharacters(benchmark::State& state) {
    const std::string text = base64Body(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(decodeBase64IgnoringUnknownCharacters(text));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}

}  // namespace

BENCHMARK(BM_DecodeMimeHeader)->Arg(kMegabyte)->Arg(10 * kMegabyte)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_QuotedPrintableDecode)->Arg(kMegabyte)->Arg(10 * kMegabyte)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NewBase64Decode)->Arg(kMegabyte)->Arg(10 * kMegabyte)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Base64DecodeIgnoringUnknownCharacters)->Arg(kMegabyte)->Arg(10 * kMegabyte)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
