// Conformance over the real messages of the shared corpus: every compressed
// RTF body checks against its own header, and its text against the plain
// body Outlook stored beside it.
#include <gtest/gtest.h>

#include <algorithm>

#include "support/corpus_bodies.h"
#include "support/lzfu_encoder.h"
#include "support/word_f1.h"
#include "tessivo/body/rtf_data.h"
#include "tessivo/foundation/byte_reader.h"

namespace tessivo {
namespace {

namespace data = DataWangersNSDataAdditions;

TEST(RtfCorpusTest, EveryCompressedBodyMatchesItsHeader) {
    const auto messages = testing::corpusMessageBodies();
    if (messages.empty()) GTEST_SKIP() << "corpus not found (TESSIVO_CORPUS)";
    int checked = 0;
    for (const auto& m : messages) {
        if (!m.compressedRtf) continue;
        SCOPED_TRACE(m.path.string());
        const Bytes& stream = *m.compressedRtf;
        const auto compressedSize = readU32le(stream, 0);
        const auto rawSize = readU32le(stream, 4);
        const auto crc = readU32le(stream, 12);
        ASSERT_TRUE(compressedSize && rawSize && crc);
        // The compressed size counts the bytes after its own field.
        ASSERT_LE(*compressedSize + 4u, stream.size());
        EXPECT_EQ(readU32le(stream, 8), testing::kLzfuType);
        const ByteView tokens = ByteView(stream).subspan(16, *compressedSize - 12);
        EXPECT_EQ(testing::lzfuCrc(tokens), *crc);

        const auto rtf = data::getRTFForData(stream);
        ASSERT_TRUE(rtf);
        EXPECT_EQ(rtf->size(), *rawSize);
        const std::string_view head(reinterpret_cast<const char*>(rtf->data()), std::min<std::size_t>(rtf->size(), 5));
        EXPECT_EQ(head, "{\\rtf");
        // Decoding exactly the declared tokens gives the same bytes.
        EXPECT_EQ(data::getRTFForData(ByteView(stream).first(*compressedSize + 4)), rtf);
        ++checked;
    }
    EXPECT_GT(checked, 0);
}

TEST(RtfCorpusTest, RtfTextAgreesWithThePlainBody) {
    std::vector<double> scores;
    for (const auto& m : testing::corpusMessageBodies()) {
        if (!m.compressedRtf || !m.plainText) continue;
        const auto rtf = data::getRTFForData(*m.compressedRtf);
        const auto text = rtf ? data::stringFromRTFData(*rtf) : std::nullopt;
        const auto score = testing::wordF1(text.value_or(icu::UnicodeString()), *m.plainText);
        EXPECT_GE(score.f1, 0.5) << m.path.string();
        scores.push_back(score.f1);
    }
    if (scores.empty()) GTEST_SKIP() << "corpus not found (TESSIVO_CORPUS)";
    const auto good = std::count_if(scores.begin(), scores.end(), [](double f) { return f >= 0.8; });
    EXPECT_GE(testing::median(scores), 0.95);
    EXPECT_GE(static_cast<double>(good), 0.9 * static_cast<double>(scores.size()));
}

}  // namespace
}  // namespace tessivo
