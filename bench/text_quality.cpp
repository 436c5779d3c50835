// Text quality over the corpus: for every message with a Unicode plain body
// (Outlook's own rendering), the word-level F1 of each body converter's text
// against it, per file, with the median and the share of files at 0.8 or more.
//
//   bench_text_quality [CORPUS_DIR]     (default: TESSIVO_CORPUS, then the configured corpus)
//
// Each converter is one column below; add a column to compare another.
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "support/corpus.h"
#include "support/corpus_bodies.h"
#include "support/word_f1.h"
#include "support/encapsulated_html.h"
#include "tessivo/body/html_conversion.h"
#include "tessivo/body/rtf_data.h"
#include "tessivo/body/rtf_wangers.h"
#include "tessivo/foundation/encoding.h"
#include "tessivo/foundation/html_text.h"
#include "tessivo/importer/importer.h"
#include "tessivo/text/message_text.h"

namespace {

using tessivo::testing::MessageBodies;

struct Column {
    std::string name;
    // The converter's text, or nothing when the message lacks its body.
    std::function<std::optional<icu::UnicodeString>(const MessageBodies&)> text;
};

std::optional<icu::UnicodeString> rtfBodyText(const MessageBodies& m) {
    namespace data = tessivo::DataWangersNSDataAdditions;
    if (!m.compressedRtf) return std::nullopt;
    const auto rtf = data::getRTFForData(*m.compressedRtf);
    if (!rtf) return icu::UnicodeString();
    return data::stringFromRTFData(*rtf).value_or(icu::UnicodeString());
}

// The text the importer indexes for the whole message (whichever body it picks).
std::optional<icu::UnicodeString> importerText(const MessageBodies& m) {
    auto result = tessivo::importer::extractText(m.path.string());
    return std::move(result.text);
}

// The body the Linux hosts index (header lines left out: their words are not in the body).
std::optional<icu::UnicodeString> hostsText(const MessageBodies& m) {
    return tessivo::text::messageText(tessivo::testing::readFile(m.path)).body;
}

// stringFromHTML of the HTML body stream read as UTF-8.
std::optional<icu::UnicodeString> htmlBodyText(const MessageBodies& m) {
    if (!m.html) return std::nullopt;
    const auto html = tessivo::decode(*m.html, tessivo::encodings::UTF8);
    if (!html) return icu::UnicodeString();
    return tessivo::WindowsCodePageWangersNSStringAdditions::stringFromHTML(*html);
}

// The HTML that an RTF body made from HTML carries.
std::optional<icu::UnicodeString> encapsulatedHtml(const MessageBodies& m) {
    if (!m.compressedRtf) return std::nullopt;
    const auto rtf = tessivo::DataWangersNSDataAdditions::getRTFForData(*m.compressedRtf);
    if (!rtf || !tessivo::RTFWangers::isEncapsulatedHTML(*rtf)) return std::nullopt;
    return tessivo::testing::EncapsulatedHtml::extract(
        std::string_view(reinterpret_cast<const char*>(rtf->data()), rtf->size()));
}

// stringFromHTML of that HTML.
std::optional<icu::UnicodeString> rtfHtmlText(const MessageBodies& m) {
    const auto html = encapsulatedHtml(m);
    if (!html) return std::nullopt;
    return tessivo::WindowsCodePageWangersNSStringAdditions::stringFromHTML(*html);
}

// The same HTML laid out from gumbo's HTML5 tree, without stringFromHTML's
// preparation, to compare the tree reading with the one-pass reading.
std::optional<icu::UnicodeString> rtfHtmlTreeText(const MessageBodies& m) {
    const auto html = encapsulatedHtml(m);
    if (!html) return std::nullopt;
    std::string utf8;
    html->toUTF8String(utf8);
    return tessivo::htmlToPlainText(utf8, {.buildTree = true}).value_or(icu::UnicodeString());
}

const std::vector<Column>& columns() {
    static const std::vector<Column> all = {
        {"rtf", rtfBodyText},
        {"html", htmlBodyText},
        {"rtf-html", rtfHtmlText},
        {"html-tree", rtfHtmlTreeText},
        {"importer", importerText},
        {"hosts", hostsText},
    };
    return all;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace tessivo::testing;
    if (argc > 1) setenv("TESSIVO_CORPUS", argv[1], 1);
    else setenv("TESSIVO_CORPUS", TESSIVO_CORPUS_DIR, 0);
    const auto dir = corpusDir();
    if (!dir) {
        std::fprintf(stderr, "text_quality: corpus folder not found\n");
        return 1;
    }

    std::printf("%-60s %7s", "file", "words");
    for (const auto& c : columns()) std::printf(" %8s", c.name.c_str());
    std::printf("\n");
    std::vector<std::vector<double>> scores(columns().size());
    for (const auto& m : corpusMessageBodies()) {
        if (!m.plainText) continue;
        const auto file = std::filesystem::relative(m.path, *dir).string();
        std::printf("%-60s %7zu", file.c_str(), words(withoutLinkTargets(*m.plainText)).size());
        for (std::size_t i = 0; i < columns().size(); ++i) {
            const auto text = columns()[i].text(m);
            if (!text) {
                std::printf(" %8s", "-");
                continue;
            }
            const double f1 = wordF1(*text, *m.plainText).f1;
            scores[i].push_back(f1);
            std::printf(" %8.3f", f1);
        }
        std::printf("\n");
    }
    for (std::size_t i = 0; i < columns().size(); ++i) {
        const auto& s = scores[i];
        std::size_t good = 0;
        for (double f : s) good += f >= 0.8;
        std::printf("%s: %zu files, median F1 %.3f, %.0f%% at 0.8 or more\n", columns()[i].name.c_str(), s.size(),
                    median(s), s.empty() ? 0.0 : 100.0 * static_cast<double>(good) / static_cast<double>(s.size()));
    }
    return 0;
}
