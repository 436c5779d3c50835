// Compressed-RTF decoding and RTF to text on generated message RTF of 1 MB
// and 10 MB (Word-style header with font and colour tables, paragraphs with
// formatting groups, \'hh escapes in two code pages, \u characters, fields,
// tables), in MB/s of RTF.
#include <cstdio>
#include <map>
#include <random>
#include <string>

#include <benchmark/benchmark.h>

#include "support/lzfu_encoder.h"
#include "tessivo/body/rtf_data.h"
#include "tessivo/foundation/rtf_text.h"

namespace {

constexpr const char* kWords[] = {
    "meeting", "agenda", "quarterly", "report", "budget", "review", "project", "schedule", "client", "proposal",
    "the",     "and",    "for",       "with",   "please", "attached", "update", "Thanks",  "regards", "team",
    "M\\'fcller", "caf\\'e9", "Z\\'fcrich", "r\\'e9sum\\'e9", "deadline", "invoice", "\\u8220?quoted\\u8221?",
    "{\\f2 \\'cf\\'f0\\'e8\\'e2\\'e5\\'f2}", "{\\b important}", "{\\i note}", "\\u8364?100", "na\\'efve",
};

std::string generateRtf(std::size_t targetBytes, unsigned seed) {
    std::mt19937 random(seed);
    std::string rtf =
        "{\\rtf1\\ansi\\ansicpg1252\\deff0\\nouicompat\\deflang1033{\\fonttbl{\\f0\\fswiss\\fcharset0 Calibri;}"
        "{\\f1\\froman\\fcharset0 Times New Roman;}{\\f2\\fswiss\\fcharset204 Arial Cyr;}"
        "{\\f3\\fnil\\fcharset2 Symbol;}}\r\n{\\colortbl ;\\red5\\green99\\blue193;\\red0\\green0\\blue0;}\r\n"
        "{\\*\\generator Riched20 10.0.19041}\\viewkind4\\uc1\r\n\\pard\\sa200\\sl276\\slmult1\\f0\\fs22\\lang9 ";
    const auto word = [&] { return kWords[random() % std::size(kWords)]; };
    while (rtf.size() < targetBytes) {
        const unsigned kind = random() % 20;
        if (kind == 0) {
            rtf += "{\\field{\\*\\fldinst{HYPERLINK \"https://example.com/a/b\"}}{\\fldrslt{\\ul\\cf1 example.com}}}";
        } else if (kind == 1) {
            rtf += "\\trowd\\cellx3000\\cellx6000\\intbl ";
            rtf += word();
            rtf += "\\cell ";
            rtf += word();
            rtf += "\\cell\\row\\pard ";
        } else {
            const unsigned words = 8 + random() % 40;
            for (unsigned i = 0; i < words; ++i) {
                rtf += word();
                rtf += i + 1 < words ? " " : ".";
            }
        }
        rtf += "\\par\r\n";
    }
    rtf += "}";
    return rtf;
}

// Each input is generated and compressed once.
const std::string& rtfOf(std::size_t bytes) {
    static std::map<std::size_t, std::string> cache;
    auto& s = cache[bytes];
    if (s.empty()) s = generateRtf(bytes, 2024);
    return s;
}

const tessivo::Bytes& compressedOf(std::size_t bytes) {
    static std::map<std::size_t, tessivo::Bytes> cache;
    auto& c = cache[bytes];
    if (c.empty()) {
        const auto& rtf = rtfOf(bytes);
        c = tessivo::testing::lzfuCompress(tessivo::asBytes(rtf));
    }
    return c;
}

void BM_LzfuDecode(benchmark::State& state) {
    const auto& compressed = compressedOf(static_cast<std::size_t>(state.range(0)));
    std::size_t raw = 0;
    for (auto _ : state) {
        auto rtf = tessivo::DataWangersNSDataAdditions::getRTFForData(compressed);
        raw = rtf ? rtf->size() : 0;
        benchmark::DoNotOptimize(rtf);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * raw));
    state.counters["ratio"] = static_cast<double>(compressed.size()) / static_cast<double>(raw);
}

void BM_RtfToText(benchmark::State& state) {
    const auto& rtf = rtfOf(static_cast<std::size_t>(state.range(0)));
    const tessivo::ByteView bytes = tessivo::asBytes(rtf);
    for (auto _ : state) {
        auto text = tessivo::rtfPlainText(bytes);
        benchmark::DoNotOptimize(text);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * rtf.size()));
}

}  // namespace

BENCHMARK(BM_LzfuDecode)->Arg(1 << 20)->Arg(10 << 20)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RtfToText)->Arg(1 << 20)->Arg(10 << 20)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
