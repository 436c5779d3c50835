// The hosts' text over the shared corpus of real messages: every message
// with a body gives text, and that text agrees with the message's own plain
// body, whichever body it came from.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include "support/corpus.h"
#include "support/msg_corpus_test.h"
#include "support/word_f1.h"
#include "tessivo/compound/mole.h"
#include "tessivo/foundation/log.h"
#include "tessivo/importer/importer.h"
#include "tessivo/text/body_decoding.h"
#include "tessivo/text/message_text.h"
#include "tessivo/text/outlook_body.h"

namespace tessivo::text {
namespace {

// Messages whose bodies say different things on purpose (a reader's test
// message: "Hello Neverland html" beside "Hello Neverland text").
const char* const kBodiesThatDisagree[] = {"EmailWithAttachments.msg"};

bool bodiesDisagree(const std::filesystem::path& file) {
    return std::any_of(std::begin(kBodiesThatDisagree), std::end(kBodiesThatDisagree),
                       [&](const char* name) { return file.filename() == name; });
}

// The message's own plain body: the Unicode one, else the 8-bit one decoded
// by the message's code page; each cut at its declared size. Nothing when
// the message has neither, or only one that holds no words.
std::optional<icu::UnicodeString> plainBody(const Mole& mole) {
    for (const char16_t* name : {u"__substg1.0_1000001F", u"__substg1.0_1000001E"}) {
        auto bytes = mole.getStream(name);
        if (!bytes) continue;
        const Stream handle(mole.compoundDocument(), icu::UnicodeString(u"/") + name);
        bytes->resize(std::min<std::uint64_t>(bytes->size(), handle.size()));
        const bool unicode = name[19] == u'F';
        icu::UnicodeString text =
            unicode ? icu::UnicodeString(reinterpret_cast<const char16_t*>(bytes->data()),
                                         static_cast<std::int32_t>(bytes->size() / 2))
                    : eightBitText(*bytes, messageCodePages(mole));
        if (hasWords(text)) return text;
    }
    return std::nullopt;
}

class MessageTextCorpus : public testing::MsgCorpusTest {};

// A body with words, in whichever stream and character set: the importer's
// exact text finds words in none that the hosts' text misses.
TEST_F(MessageTextCorpus, EveryMessageWithABodyGivesText) {
    int withBody = 0;
    for (const auto& file : files_) {
        const Bytes bytes = testing::readFile(file);
        const auto mole = Mole::initWithData(bytes);
        if (!mole) continue;
        const bool wordsInImporterText = hasWords(importer::extractText(bytes).text);
        const auto plain = plainBody(*mole);
        if (!wordsInImporterText && !plain) continue;
        ++withBody;
        const MessageText found = messageText(bytes);
        EXPECT_EQ(found.outcome, importer::Outcome::Text) << file;
        EXPECT_TRUE(hasWords(found.body)) << file;
    }
    EXPECT_GT(withBody, 0);
}

// Word-level F1 of the body text against the plain body: a median of at
// least 0.98, and at least 0.8 for every message whose bodies tell the same
// text (all corpus plain bodies are whole). The header lines are left out: their words are not in the body.
TEST_F(MessageTextCorpus, TextAgreesWithTheMessagesOwnPlainBody) {
    std::vector<double> scores;
    for (const auto& file : files_) {
        const Bytes bytes = testing::readFile(file);
        const auto mole = Mole::initWithData(bytes);
        if (!mole) continue;
        const auto reference = plainBody(*mole);
        if (!reference) continue;
        const MessageText found = messageText(bytes);
        const double f1 = testing::wordF1(found.body, testing::withoutLinkTargets(*reference)).f1;
        scores.push_back(f1);
        RecordProperty(file.filename().string(), std::to_string(f1));
        if (!bodiesDisagree(file)) {
            EXPECT_GE(f1, 0.8) << file;
        }
    }
    ASSERT_FALSE(scores.empty());
    std::printf("%zu messages with a plain body, median F1 %.3f, lowest %.3f\n", scores.size(),
                testing::median(scores), *std::min_element(scores.begin(), scores.end()));
    EXPECT_GE(testing::median(scores), 0.98);
}

// Outlook messages, TNEF streams and Internet messages alike: none is
// refused, and every one of them that the readers find a body in gives it.
TEST_F(MessageTextCorpus, EveryFormatIsRead) {
    for (const char* extension : {".msg", ".eml", ".tnef", ".dat"})
        for (const auto& file : testing::corpusFiles(extension)) {
            const MessageText found = messageText(testing::readFile(file));
            EXPECT_TRUE(found.outcome == importer::Outcome::Text || found.outcome == importer::Outcome::NoBody)
                << file << ": " << found.reason;
        }
}

}  // namespace
}  // namespace tessivo::text
