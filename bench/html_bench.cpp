// HTML to text on generated mail HTML of 1 MB and 10 MB (Outlook-style head
// and styles, paragraphs, tables, lists, quoted replies, entities), in MB/s,
// then the same documents through the npm package html-to-text in node for a
// side-by-side ratio. The peer is installed by bench/setup-peers.sh; without
// node or the package only our numbers are printed.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "tessivo/body/html_conversion.h"
#include "tessivo/foundation/html_text.h"

namespace {

constexpr const char* kWords[] = {
    "meeting", "agenda", "quarterly", "report", "budget", "review", "project", "schedule", "client", "proposal",
    "the", "and", "for", "with", "please", "attached", "update", "Thanks", "regards", "team", "Müller", "café",
    "deadline", "invoice", "approved", "Zürich", "résumé", "delivery", "contract", "next", "week", "call",
};

class MailHtmlGenerator {
public:
    explicit MailHtmlGenerator(unsigned seed) : random_(seed) {}

    std::string document(std::size_t targetBytes) {
        std::string html =
            "<html xmlns:v=\"urn:schemas-microsoft-com:vml\" xmlns:o=\"urn:schemas-microsoft-com:office:office\">"
            "<head><meta http-equiv=Content-Type content=\"text/html; charset=utf-8\">"
            "<meta name=Generator content=\"Microsoft Word 15 (filtered medium)\">"
            "<style><!--\n@font-face {font-family:\"Cambria Math\"; panose-1:2 4 5 3 5 4 6 3 2 4;}\n"
            "p.MsoNormal, li.MsoNormal, div.MsoNormal {margin:0cm; font-size:11.0pt; font-family:\"Calibri\",sans-serif;}\n"
            "a:link, span.MsoHyperlink {mso-style-priority:99; color:#0563C1; text-decoration:underline;}\n"
            "span.EmailStyle17 {mso-style-type:personal-compose; font-family:\"Calibri\",sans-serif; color:windowtext;}\n"
            "--></style><!--[if gte mso 9]><xml><o:shapedefaults v:ext=\"edit\" spidmax=\"1026\" /></xml><![endif]-->"
            "</head><body lang=EN-US link=\"#0563C1\" vlink=\"#954F72\" style='word-wrap:break-word'>"
            "<div class=WordSection1>\n";
        while (html.size() < targetBytes) {
            const int kind = pick(100);
            if (kind < 55) paragraph(html);
            else if (kind < 70) table(html);
            else if (kind < 82) list(html);
            else if (kind < 92) replyHeader(html);
            else signature(html);
        }
        html += "</div></body></html>\n";
        return html;
    }

private:
    int pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random_); }

    void words(std::string& out, int count) {
        for (int i = 0; i < count; ++i) {
            if (i) out += ' ';
            out += kWords[pick(std::size(kWords))];
        }
    }

    void paragraph(std::string& out) {
        out += "<p class=MsoNormal><span style='font-size:11.0pt;font-family:\"Calibri\",sans-serif;color:#1F497D'>";
        words(out, 8 + pick(20));
        out += pick(2) ? " &amp; " : "&nbsp;&#8211; ";
        out += "<b>";
        words(out, 2);
        out += "</b> <a href=\"https://example.com/doc/" + std::to_string(pick(100000)) + "\">";
        words(out, 2);
        out += "</a>.<o:p></o:p></span></p>\n<p class=MsoNormal><o:p>&nbsp;</o:p></p>\n";
    }

    void table(std::string& out) {
        out += "<table class=MsoNormalTable border=0 cellspacing=0 cellpadding=0 style='border-collapse:collapse'>";
        for (int row = 0, rows = 2 + pick(6); row < rows; ++row) {
            out += "<tr>";
            for (int cell = 0; cell < 3; ++cell) {
                out += "<td width=200 valign=top style='width:150.0pt;border:solid windowtext 1.0pt;padding:0cm 5.4pt'>"
                       "<p class=MsoNormal>";
                if (cell == 2) out += std::to_string(pick(10000)) + ",00&nbsp;&euro;";
                else words(out, 1 + pick(3));
                out += "<o:p></o:p></p></td>";
            }
            out += "</tr>\n";
        }
        out += "</table>\n";
    }

    void list(std::string& out) {
        const bool ordered = pick(2);
        out += ordered ? "<ol style='margin-top:0cm' start=1 type=1>" : "<ul style='margin-top:0cm' type=disc>";
        for (int i = 0, n = 2 + pick(4); i < n; ++i) {
            out += "<li class=MsoListParagraph style='margin-left:0cm;mso-list:l0 level1 lfo1'>";
            words(out, 4 + pick(8));
            out += " &lt;" + std::string(kWords[pick(std::size(kWords))]) + "&gt;<o:p></o:p></li>";
        }
        out += ordered ? "</ol>\n" : "</ul>\n";
    }

    void replyHeader(std::string& out) {
        out += "<div style='border:none;border-top:solid #E1E1E1 1.0pt;padding:3.0pt 0cm 0cm 0cm'>"
               "<p class=MsoNormal><b><span lang=DE>From:</span></b><span lang=DE> Anna M&uuml;ller "
               "&lt;anna@example.com&gt;<br><b>Sent:</b> Monday, 3 March 2025 10:15<br><b>To:</b> Team "
               "&quot;Ops&quot;<br><b>Subject:</b> RE: ";
        words(out, 4);
        out += "<o:p></o:p></span></p></div>\n<blockquote style='margin-left:30pt'><div>";
        words(out, 12);
        out += "</div></blockquote>\n";
    }

    void signature(std::string& out) {
        out += "<div><p class=MsoNormal><span style='color:#1F497D'>Kind regards,<br>";
        words(out, 2);
        out += "<o:p></o:p></span></p><p class=MsoNormal style='display:none;mso-hide:all'>preheader</p>"
               "<p class=MsoNormal><img width=120 height=40 src=\"cid:image001.png@01D0\" alt=\"Logo\"></p></div>\n";
    }

    std::mt19937 random_;
};

const std::string& documentOfSize(std::size_t bytes) {
    static const std::string oneMB = MailHtmlGenerator(1).document(1 << 20);
    static const std::string tenMB = MailHtmlGenerator(10).document(10 << 20);
    return bytes == (1u << 20) ? oneMB : tenMB;
}

void BM_HtmlToPlainText(benchmark::State& state) {
    const std::string& html = documentOfSize(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(tessivo::htmlToPlainText(html));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * html.size()));
}
BENCHMARK(BM_HtmlToPlainText)->Arg(1 << 20)->Arg(10 << 20)->Unit(benchmark::kMillisecond);

// The same document laid out from gumbo's tree, the path taken by markup
// that needs the HTML5 tree builder (documents up to kHtmlMaxTreeBytes).
void BM_HtmlTreeToPlainText(benchmark::State& state) {
    const std::string& html = documentOfSize(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(tessivo::htmlToPlainText(html, {.buildTree = true}));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * html.size()));
}
BENCHMARK(BM_HtmlTreeToPlainText)->Arg(1 << 20)->Unit(benchmark::kMillisecond);

void BM_StringFromHTML(benchmark::State& state) {
    const icu::UnicodeString html = icu::UnicodeString::fromUTF8(documentOfSize(static_cast<std::size_t>(state.range(0))));
    for (auto _ : state) benchmark::DoNotOptimize(tessivo::WindowsCodePageWangersNSStringAdditions::stringFromHTML(html));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * documentOfSize(state.range(0)).size()));
}
BENCHMARK(BM_StringFromHTML)->Arg(1 << 20)->Unit(benchmark::kMillisecond);

// Best of `runs` wall-clock seconds for our renderer over one document.
double bestSeconds(const std::string& html, int runs, const tessivo::HtmlTextOptions& options = {}) {
    double best = 1e30;
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(tessivo::htmlToPlainText(html, options));
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return best;
}

// Runs the html-to-text peer over the documents; its lines are "<file> <best seconds>".
void compareWithPeer() {
    const std::filesystem::path script = std::filesystem::path(TESSIVO_BENCH_DIR) / "html_to_text_peer.mjs";
    const std::filesystem::path package = std::filesystem::path(TESSIVO_BENCH_DIR) / "node_modules" / "html-to-text";
    if (!std::filesystem::exists(package)) {
        std::printf("html-to-text comparison skipped: run bench/setup-peers.sh to install the peer\n");
        return;
    }
    const std::filesystem::path dir = std::filesystem::temp_directory_path() / "tessivo_html_bench";
    std::filesystem::create_directories(dir);
    std::vector<std::pair<std::filesystem::path, const std::string*>> documents;
    for (std::size_t size : {std::size_t(1) << 20, std::size_t(10) << 20}) {
        const auto path = dir / ("mail_" + std::to_string(size >> 20) + "MB.html");
        std::ofstream(path, std::ios::binary) << documentOfSize(size);
        documents.emplace_back(path, &documentOfSize(size));
    }
    std::string command = "node \"" + script.string() + "\"";
    for (const auto& d : documents) command += " \"" + d.first.string() + "\"";
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) {
        std::printf("html-to-text comparison skipped: cannot run node\n");
        return;
    }
    char line[4096];
    std::printf("\n%-24s %12s %14s %10s %12s %10s\n", "document", "tessivo MB/s", "html-to-text", "ratio",
                "tree MB/s", "ratio");
    while (std::fgets(line, sizeof line, pipe)) {
        std::istringstream fields(line);
        std::string file;
        double peerSeconds = 0;
        if (!(fields >> file >> peerSeconds) || peerSeconds <= 0) continue;
        for (const auto& d : documents) {
            if (d.first.string() != file) continue;
            const double megabytes = static_cast<double>(d.second->size()) / 1e6;
            const double ours = bestSeconds(*d.second, 3);
            std::printf("%-24s %12.1f %12.1f MB/s %9.1fx", d.first.filename().c_str(), megabytes / ours,
                        megabytes / peerSeconds, peerSeconds / ours);
            if (d.second->size() <= tessivo::kHtmlMaxTreeBytes) {
                const double tree = bestSeconds(*d.second, 3, {.buildTree = true});
                std::printf(" %12.1f %9.1fx\n", megabytes / tree, peerSeconds / tree);
            } else {
                std::printf(" %12s %10s\n", "-", "-");
            }
        }
    }
    if (pclose(pipe) != 0) std::printf("html-to-text peer failed (is node installed?)\n");
    std::filesystem::remove_all(dir);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    compareWithPeer();
    return 0;
}
