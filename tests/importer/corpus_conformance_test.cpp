// The importer over the shared corpus of real messages: every message with
// a body gives text, that text agrees with the message's own plain body, and
// damaged copies of the messages are survived.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "support/corpus.h"
#include "support/msg_corpus_test.h"
#include "support/corpus_bodies.h"
#include "support/word_f1.h"
#include "tessivo/compound/mole.h"
#include "tessivo/foundation/log.h"
#include "tessivo/importer/importer.h"

namespace tessivo::importer {
namespace {

bool hasStream(const Mole& mole, const char16_t* name) {
    const auto bytes = mole.getStream(name);
    return bytes && !bytes->empty();
}

class ImporterCorpus : public testing::MsgCorpusTest {};

TEST_F(ImporterCorpus, EveryMessageWithABodyGivesText) {
    int withBody = 0;
    for (const auto& file : files_) {
        const Bytes bytes = testing::readFile(file);
        const auto mole = Mole::initWithData(bytes);
        if (!mole) continue;
        const bool body = hasStream(*mole, u"__substg1.0_10090102") || hasStream(*mole, u"__substg1.0_10080102") ||
                          hasStream(*mole, u"__substg1.0_10130102") || hasStream(*mole, u"__substg1.0_1000001F") ||
                          hasStream(*mole, u"__substg1.0_1000001E");
        if (!body) continue;
        ++withBody;
        const Result result = extractText(bytes);
        EXPECT_EQ(result.outcome, Outcome::Text) << file;
        EXPECT_FALSE(result.text.isEmpty()) << file;
    }
    EXPECT_GT(withBody, 0);
}

TEST_F(ImporterCorpus, TextAgreesWithTheMessagesOwnPlainBody) {
    std::vector<double> scores;
    for (const auto& message : testing::corpusMessageBodies()) {
        if (!message.plainText) continue;
        const Result result = extractText(testing::readFile(message.path));
        ASSERT_EQ(result.outcome, Outcome::Text) << message.path;
        const double f1 = testing::wordF1(result.text, testing::withoutLinkTargets(*message.plainText)).f1;
        scores.push_back(f1);
        RecordProperty(message.path.filename().string(), std::to_string(f1));
    }
    ASSERT_FALSE(scores.empty());
    const auto good = std::count_if(scores.begin(), scores.end(), [](double s) { return s >= 0.8; });
    EXPECT_GE(testing::median(scores), 0.95);
    EXPECT_GE(static_cast<double>(good), 0.9 * static_cast<double>(scores.size()))
        << good << " of " << scores.size() << " at 0.8 or more";
}

// Truncated copies and copies with bytes flipped (fixed seed) must come back
// with some outcome; the sanitizer build turns any fault into a failure.
TEST_F(ImporterCorpus, DamagedCopiesAreSurvived) {
    std::mt19937 random(20261122);
    for (const auto& file : files_) {
        const Bytes original = testing::readFile(file);
        for (std::size_t keep : {std::size_t{512}, std::size_t{1000}, original.size() / 4, original.size() / 2,
                                 original.size() - 1}) {
            if (keep >= original.size()) continue;
            const Bytes cut(original.begin(), original.begin() + static_cast<std::ptrdiff_t>(keep));
            const Result result = extractText(cut);
            EXPECT_NE(result.outcome, Outcome::Unreadable) << file << " cut at " << keep;
        }
        for (int variant = 0; variant < 12; ++variant) {
            Bytes damaged = original;
            // Half the flips land in the first 8 KiB, where the tables and directory usually are.
            for (int i = 0; i < 16; ++i) {
                const std::size_t span = i % 2 ? damaged.size() : std::min<std::size_t>(damaged.size(), 8192);
                damaged[random() % span] ^= static_cast<std::uint8_t>(1u << (random() % 8));
            }
            const Result result = extractText(damaged);
            EXPECT_NE(result.outcome, Outcome::Unreadable) << file << " variant " << variant;
        }
    }
}

}  // namespace
}  // namespace tessivo::importer
