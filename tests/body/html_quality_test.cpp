// The text of the corpus messages' HTML against the plain-text body Outlook
// stored beside it: the HTML body stream, and the HTML that RTF bodies carry.
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/corpus_bodies.h"
#include "support/encapsulated_html.h"
#include "support/word_f1.h"
#include "tessivo/body/html_conversion.h"
#include "tessivo/body/rtf_data.h"
#include "tessivo/body/rtf_wangers.h"
#include "tessivo/foundation/encoding.h"

namespace tessivo {
namespace {

struct Scored {
    std::string name;
    testing::WordScore score;
};

TEST(HtmlQualityTest, HtmlBodiesKeepTheWordsOfThePlainBody) {
    std::vector<Scored> scored;
    for (const auto& message : testing::corpusMessageBodies()) {
        if (!message.plainText) continue;
        const icu::UnicodeString reference = testing::withoutLinkTargets(*message.plainText);
        const std::string name = message.path.parent_path().filename().string() + "/" + message.path.filename().string();
        if (message.html) {
            if (const auto html = decode(*message.html, encodings::UTF8)) {
                const auto text = WindowsCodePageWangersNSStringAdditions::stringFromHTML(*html);
                scored.push_back({name + " [html]", testing::wordF1(text, reference)});
            }
        }
        if (message.compressedRtf) {
            const auto rtf = DataWangersNSDataAdditions::getRTFForData(*message.compressedRtf);
            if (rtf && RTFWangers::isEncapsulatedHTML(*rtf)) {
                const icu::UnicodeString html =
                    testing::EncapsulatedHtml::extract(std::string_view(reinterpret_cast<const char*>(rtf->data()), rtf->size()));
                const auto text = WindowsCodePageWangersNSStringAdditions::stringFromHTML(html);
                scored.push_back({name + " [rtf html]", testing::wordF1(text, reference)});
            }
        }
    }
    if (scored.empty()) GTEST_SKIP() << "no corpus messages with an HTML body and a plain body";

    std::vector<double> f1s;
    std::size_t good = 0;
    for (const auto& s : scored) {
        std::printf("%-70s words %5zu/%5zu  P %.3f  R %.3f  F1 %.3f\n", s.name.c_str(), s.score.candidateWords,
                    s.score.referenceWords, s.score.precision, s.score.recall, s.score.f1);
        f1s.push_back(s.score.f1);
        if (s.score.f1 >= 0.8) ++good;
    }
    const double median = testing::median(f1s);
    std::printf("%zu bodies, median F1 %.3f, %zu at 0.8 or more\n", scored.size(), median, good);
    EXPECT_GE(median, 0.95);
    EXPECT_GE(static_cast<double>(good), 0.9 * static_cast<double>(scored.size()));
}

}  // namespace
}  // namespace tessivo
