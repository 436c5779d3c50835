// MIMEReader throughput: every corpus .eml in one pass and each on its own,
// and built messages of 1 MB and 10 MB, whose MB/s should agree within a
// factor of 2 since reading is linear in the message. Rates are over
// wall-clock time, like the peer reader in compare_mime.sh.
//
// Reading allocates a few copies of the message text. With glibc's default
// settings the heap is given back to the system after each message and the
// next one pays page faults for it again, which on some virtual machines costs
// more than the reading; main keeps freed memory in the process instead, as a
// long-running reader would (compare_mime.sh does the same for the peer).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "support/corpus.h"
#include "support/mime_builder.h"
#include "tessivo/foundation/log.h"
#include "tessivo/mime/mime_reader.h"

namespace {

using tessivo::Bytes;
using tessivo::testing::MimePart;

struct Message {
    std::string name;
    Bytes bytes;
};

// About size bytes as a mail program writes them: a plain and an HTML body in
// quoted-printable, then attachments of 48 KB each in base64, CR LF line ends.
Bytes builtMessage(std::size_t size) {
    std::string text;
    while (text.size() < 8000) text += "Words of a message body, caf\xC3\xA9 au lait = 2 \xE2\x82\xAC and more.\n";
    const std::string html = "<html><body><p>" + text + "</p></body></html>";
    std::vector<MimePart> parts = {
        MimePart::multipart("alternative", {MimePart::leaf("text/plain; charset=utf-8", Bytes(text.begin(), text.end()),
                                                           MimePart::Encoding::QuotedPrintable),
                                            MimePart::leaf("text/html; charset=utf-8", Bytes(html.begin(), html.end()),
                                                           MimePart::Encoding::QuotedPrintable)})};
    std::mt19937 random(7);
    constexpr std::size_t kAttachment = 48 * 1024;
    for (std::size_t written = 30000; written < size; written += kAttachment * 4 / 3 + kAttachment / 38) {
        Bytes data(kAttachment);
        for (auto& b : data) b = static_cast<std::uint8_t>(random());
        parts.push_back(MimePart::attachment("application/octet-stream", "file" + std::to_string(parts.size()) + ".bin",
                                             std::move(data)));
    }
    MimePart mail = MimePart::multipart("mixed", std::move(parts));
    mail.header("Received", "from a by b").header("From", "Ann <ann@example.com>").header("Subject", "Built");
    return mail.bytes(MimePart::LineEnd::CRLF);
}

void readMessages(benchmark::State& state, const std::vector<Message>& messages) {
    std::int64_t bytes = 0;
    for (const Message& m : messages) bytes += static_cast<std::int64_t>(m.bytes.size());
    // One untimed pass first: the heap grows to what reading needs once.
    for (const Message& m : messages) benchmark::DoNotOptimize(tessivo::MIMEReader::initWithData(m.bytes));
    for (auto _ : state)
        for (const Message& m : messages) benchmark::DoNotOptimize(tessivo::MIMEReader::initWithData(m.bytes));
    state.SetBytesProcessed(state.iterations() * bytes);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(messages.size()));
    state.counters["messages"] = static_cast<double>(messages.size());
}

}  // namespace

int main(int argc, char** argv) {
#if defined(__GLIBC__)
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
#endif
    tessivo::silenceLog();
    setenv("TESSIVO_CORPUS", TESSIVO_CORPUS_DIR, 0);
    static std::vector<Message> corpus;
    for (const auto& path : tessivo::testing::corpusFiles(".eml"))
        corpus.push_back({path.parent_path().filename().string() + "/" + path.filename().string(),
                          tessivo::testing::readFile(path)});
    if (!corpus.empty()) {
        benchmark::RegisterBenchmark("ReadCorpus", [](benchmark::State& s) { readMessages(s, corpus); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
        for (const Message& m : corpus)
            benchmark::RegisterBenchmark(("ReadFile/" + m.name).c_str(),
                                         [&m](benchmark::State& s) { readMessages(s, {m}); })
                ->Unit(benchmark::kMicrosecond)
                ->UseRealTime();
    }
    static const std::vector<Message> oneMegabyte = {{"1MB", builtMessage(1 << 20)}};
    static const std::vector<Message> tenMegabytes = {{"10MB", builtMessage(10 << 20)}};
    benchmark::RegisterBenchmark("ReadBuilt/1MB", [](benchmark::State& s) { readMessages(s, oneMegabyte); })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark("ReadBuilt/10MB", [](benchmark::State& s) { readMessages(s, tenMegabytes); })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
