#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

#include "support/lzfu_encoder.h"
#include "tessivo/body/rtf_data.h"
#include "tessivo/body/rtf_wangers.h"
#include "tessivo/foundation/log.h"

namespace tessivo {
namespace {

using testing::LzfuToken;
using testing::lzfuCompress;
using testing::lzfuPackTokens;
using testing::lzfuWrap;
namespace data = DataWangersNSDataAdditions;

Bytes bytes(std::string_view s) { return Bytes(s.begin(), s.end()); }
Bytes concat(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

std::optional<Bytes> decode(const Bytes& body) {
    std::uint32_t rawSize = 0;
    std::optional<Bytes> out;
    RTFWangers::getRTFFromBuffer(body.data(), body.size(), rawSize, out);
    return out;
}

// RTF-like text from a fixed vocabulary, so that the encoder finds matches
// both in the initial dictionary and in earlier text.
std::string randomRtf(std::mt19937& rng, std::size_t length) {
    static const char* const pieces[] = {"{\\rtf1\\ansi", "\\par ", "\\pard\\plain", "\\f0\\fs20 ", "Hello ",
                                         "world", "\\'e9", "}", "{", "\\u8226?", "\r\n", "Times New Roman;"};
    std::string s;
    std::uniform_int_distribution<std::size_t> pick(0, std::size(pieces) - 1);
    std::uniform_int_distribution<int> byte(0, 255);
    while (s.size() < length) {
        if (rng() % 4 == 0)
            s.push_back(static_cast<char>(byte(rng)));
        else
            s += pieces[pick(rng)];
    }
    s.resize(length);
    return s;
}

TEST(RTFWangersTypeTest, RecognisesBothHeaderTypes) {
    EXPECT_TRUE(RTFWangers::typeIsRTF(lzfuCompress(asBytes("x")).data(), 17));
    const Bytes stored = testing::lzfuStore(asBytes("x"));
    EXPECT_TRUE(RTFWangers::typeIsRTF(stored.data(), stored.size()));
    Bytes other = lzfuWrap(asBytes("x"), 1, 0x12345678);
    EXPECT_FALSE(RTFWangers::typeIsRTF(other.data(), other.size()));
    // The type field must be complete.
    const Bytes body = lzfuCompress(asBytes("x"));
    EXPECT_FALSE(RTFWangers::typeIsRTF(body.data(), 11));
    EXPECT_TRUE(RTFWangers::typeIsRTF(body.data(), 12));
}

TEST(RTFWangersTypeTest, NullAndShortInputsAreLogged) {
    LogCapture capture;
    EXPECT_FALSE(RTFWangers::typeIsRTF(nullptr, 100));
    std::uint32_t rawSize = 7;
    std::optional<Bytes> out;
    RTFWangers::getRTFFromBuffer(nullptr, 100, rawSize, out);
    const Bytes body = lzfuCompress(asBytes("{\\rtf1 x}"));
    RTFWangers::getRTFFromBuffer(body.data(), 15, rawSize, out);
    EXPECT_FALSE(out);
    EXPECT_EQ(rawSize, 7u);
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{"  ERROR: data is NULL", "  ERROR: data is NULL",
                                                         "  ERROR: len < 16 (too small for RTF header)"}));
}

TEST(RTFWangersDecodeTest, RoundTripsThroughTheEncoder) {
    for (std::string_view text : {std::string_view("{\\rtf1\\ansi\\mac\\deff0\\deftab720 Hello}"),
                                  std::string_view("a"), std::string_view("aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"),
                                  std::string_view("{\\rtf1\\ansi\\ansicpg1252\\fromtext \\par abc\\par abc\\par}")}) {
        const Bytes body = lzfuCompress(asBytes(text));
        EXPECT_EQ(data::getRTFForData(body), bytes(text)) << text;
    }
    std::mt19937 rng(20240611);
    for (std::size_t length : {1u, 2u, 17u, 18u, 207u, 4095u, 4096u, 4097u, 9000u, 70000u}) {
        const std::string text = randomRtf(rng, length);
        const Bytes body = lzfuCompress(asBytes(text));
        std::uint32_t rawSize = 0;
        std::optional<Bytes> out;
        RTFWangers::getRTFFromBuffer(body.data(), body.size(), rawSize, out);
        EXPECT_EQ(rawSize, length);
        ASSERT_TRUE(out);
        EXPECT_EQ(*out, bytes(text)) << "length " << length;
    }
}

TEST(RTFWangersDecodeTest, EncoderUsesTheInitialDictionaryAndBackReferences) {
    const auto tokens = testing::lzfuTokenize(asBytes("{\\rtf1\\ansi\\mac\\deff0 xyzxyzxyzxyz"));
    ASSERT_FALSE(tokens.empty());
    EXPECT_TRUE(tokens[0].reference);
    EXPECT_EQ(tokens[0].offset, 0);
    EXPECT_EQ(tokens[0].length, 17);
    // The encoded body is much smaller than repetitive text.
    const std::string repeated(10000, 'z');
    EXPECT_LT(lzfuCompress(asBytes(repeated)).size(), repeated.size() / 7);
}

TEST(RTFWangersDecodeTest, ResultHasTheDeclaredRawSize) {
    const std::string text = "{\\rtf1 short}";
    std::vector<LzfuToken> literals;
    for (char c : text) literals.push_back(LzfuToken::lit(static_cast<std::uint8_t>(c)));
    const Bytes tokens = lzfuPackTokens(literals);
    // Longer than the decoded bytes: zero-filled to the declared size.
    auto padded = decode(lzfuWrap(tokens, 20));
    ASSERT_TRUE(padded);
    EXPECT_EQ(*padded, concat(bytes(text), Bytes(20 - text.size(), 0)));
    // Shorter: literals stop at the declared size.
    auto cut = decode(lzfuWrap(tokens, 5));
    ASSERT_TRUE(cut);
    EXPECT_EQ(*cut, bytes("{\\rtf"));
    // Zero: empty even with data.
    auto empty = decode(lzfuWrap(tokens, 0));
    ASSERT_TRUE(empty);
    EXPECT_TRUE(empty->empty());
}

TEST(RTFWangersDecodeTest, EndMarkerEndsOnlyItsRun) {
    // "a", then a reference to the write position (208) with the bits of two
    // more references set; the byte after the marker is the next control byte.
    Bytes tokens = {0x0E, 'a', 208 >> 4, (208 & 15) << 4};
    tokens = concat(tokens, lzfuPackTokens({LzfuToken::lit('b'), LzfuToken::lit('c')}));
    auto out = decode(lzfuWrap(tokens, 3));
    ASSERT_TRUE(out);
    EXPECT_EQ(*out, bytes("abc"));
}

TEST(RTFWangersDecodeTest, ReferenceCrossingTheOutputEndIsDropped) {
    // "ab" then a 4-byte copy that does not fit a 4-byte result, then a literal.
    auto out = decode(lzfuWrap(
        lzfuPackTokens({LzfuToken::lit('a'), LzfuToken::lit('b'), LzfuToken::ref(207, 4), LzfuToken::lit('c')}), 4));
    ASSERT_TRUE(out);
    EXPECT_EQ(*out, concat(bytes("ab"), Bytes{0, 0}));
}

TEST(RTFWangersDecodeTest, OverlappingReferenceRepeatsBytes) {
    auto out = decode(lzfuWrap(lzfuPackTokens({LzfuToken::lit('x'), LzfuToken::lit('y'), LzfuToken::ref(207, 7)}), 9));
    ASSERT_TRUE(out);
    EXPECT_EQ(*out, bytes("xyxyxyxyx"));
}

TEST(RTFWangersDecodeTest, ReferenceFromTheInitialTextRunsOnIntoTheOutput) {
    // "ab" lands at ring offsets 207 and 208; a copy from 205 ("tx" of the
    // initial text) reads them next, then the bytes it has just written.
    auto out = decode(lzfuWrap(lzfuPackTokens({LzfuToken::lit('a'), LzfuToken::lit('b'), LzfuToken::ref(205, 6)}), 8));
    ASSERT_TRUE(out);
    EXPECT_EQ(*out, bytes("abtxabtx"));
}

TEST(RTFWangersDecodeTest, BytesAfterTheLastCopyStayZero) {
    // Sixteen letters, a copy of "ab" from sixteen bytes back, then the end
    // marker (write position 207 + 18); the input goes on with runs that
    // hold only end markers, and the declared size leaves room to spare.
    std::vector<LzfuToken> tokens;
    for (char c = 'a'; c <= 'p'; ++c) tokens.push_back(LzfuToken::lit(static_cast<std::uint8_t>(c)));
    tokens.push_back(LzfuToken::ref(207, 2));
    tokens.push_back(LzfuToken::ref(225, 2));
    Bytes body = lzfuPackTokens(tokens);
    for (int i = 0; i < 8; ++i) body = concat(body, Bytes{0xFF, 225 >> 4, (225 & 15) << 4});
    auto out = decode(lzfuWrap(body, 300));
    ASSERT_TRUE(out);
    EXPECT_EQ(*out, concat(bytes("abcdefghijklmnopab"), Bytes(282, 0)));
}

// Without padding: the same bytes up to where the tokens stop writing,
// however large the declared size; the same refusal past the size limit.
TEST(RTFWangersDecodeTest, WithoutPaddingDecodesTheSameBytesOnly) {
    std::vector<LzfuToken> tokens;
    for (char c = 'a'; c <= 'p'; ++c) tokens.push_back(LzfuToken::lit(static_cast<std::uint8_t>(c)));
    tokens.push_back(LzfuToken::ref(207, 2));
    tokens.push_back(LzfuToken::ref(225, 2));
    const Bytes body = lzfuPackTokens(tokens);
    EXPECT_EQ(data::getRTFForDataWithoutPadding(lzfuWrap(body, 300)), bytes("abcdefghijklmnopab"));
    EXPECT_EQ(data::getRTFForDataWithoutPadding(lzfuWrap(body, 100u << 20)), bytes("abcdefghijklmnopab"));
    EXPECT_EQ(data::getRTFForDataWithoutPadding(lzfuWrap(body, 10)), bytes("abcdefghij"));

    std::mt19937 rng(11);
    const std::string text = randomRtf(rng, 3000);
    const Bytes compressed = lzfuCompress(asBytes(text));
    for (std::size_t size = 16; size <= compressed.size(); size += 7) {
        const Bytes prefix(compressed.begin(), compressed.begin() + static_cast<std::ptrdiff_t>(size));
        const auto padded = data::getRTFForData(prefix);
        const auto unpadded = data::getRTFForDataWithoutPadding(prefix);
        ASSERT_TRUE(padded && unpadded);
        ASSERT_LE(unpadded->size(), padded->size());
        EXPECT_TRUE(std::equal(unpadded->begin(), unpadded->end(), padded->begin())) << size;
        EXPECT_TRUE(std::all_of(padded->begin() + static_cast<std::ptrdiff_t>(unpadded->size()), padded->end(),
                                [](std::uint8_t b) { return b == 0; }))
            << size;
    }

    LogCapture capture;
    EXPECT_FALSE(data::getRTFForDataWithoutPadding(lzfuWrap(body, 0xFFFFFFFF)));
    EXPECT_EQ(capture.lines(), std::vector<std::string>{"  ERROR: Failed to allocate 4294967295 bytes for output"});
    EXPECT_FALSE(data::getRTFForDataWithoutPadding(testing::lzfuStore(asBytes("{\\rtf1 x}"))));
}

TEST(RTFWangersDecodeTest, PaddingAfterTheBodyDoesNotGrowTheResult) {
    const std::string text = "{\\rtf1\\ansi Hello\\par}";
    const Bytes body = concat(lzfuCompress(asBytes(text)), Bytes(512, 0));
    EXPECT_EQ(data::getRTFForData(body), bytes(text));
}

TEST(RTFWangersDecodeTest, TruncatedBodiesYieldADecodedPrefix) {
    std::mt19937 rng(7);
    const std::string text = randomRtf(rng, 600);
    const Bytes body = lzfuCompress(asBytes(text));
    for (std::size_t size = 16; size <= body.size(); ++size) {
        auto out = decode(Bytes(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(size)));
        ASSERT_TRUE(out);
        ASSERT_EQ(out->size(), text.size());
        std::size_t good = 0;
        while (good < text.size() && (*out)[good] == static_cast<std::uint8_t>(text[good])) ++good;
        EXPECT_TRUE(std::all_of(out->begin() + static_cast<std::ptrdiff_t>(good), out->end(),
                                [](std::uint8_t b) { return b == 0; }))
            << "prefix " << size;
    }
}

TEST(RTFWangersDecodeTest, UncompressedBodiesAreCopiedOnlyIntoAGivenBuffer) {
    const Bytes stored = testing::lzfuStore(asBytes("{\\rtf1 plain}"));
    EXPECT_FALSE(data::getRTFForData(stored));
    std::uint32_t rawSize = 0;
    std::optional<Bytes> out = Bytes{1, 2, 3};
    RTFWangers::getRTFFromBuffer(stored.data(), stored.size(), rawSize, out);
    ASSERT_TRUE(out);
    EXPECT_EQ(rawSize, 13u);
    // Copied from offset 4: raw size, type and CRC come first.
    EXPECT_EQ(*out, Bytes(stored.begin() + 4, stored.begin() + 17));
    // A raw size past the input's end leaves the rest zero.
    Bytes shortStored = lzfuWrap(asBytes("ab"), 40, testing::kMelaType);
    RTFWangers::getRTFFromBuffer(shortStored.data(), shortStored.size(), rawSize, out);
    ASSERT_TRUE(out);
    EXPECT_EQ(*out, concat(Bytes(shortStored.begin() + 4, shortStored.end()), Bytes(26, 0)));
    const Bytes emptyStored = lzfuWrap(asBytes("ab"), 0, testing::kMelaType);
    RTFWangers::getRTFFromBuffer(emptyStored.data(), emptyStored.size(), rawSize, out);
    EXPECT_EQ(out, Bytes{}) << "a raw size of 0 copies nothing";
}

TEST(RTFWangersDecodeTest, UnknownTypeYieldsNothingButTheRawSize) {
    const Bytes other = lzfuWrap(asBytes("abc"), 3, 0x11223344);
    std::uint32_t rawSize = 0;
    std::optional<Bytes> out;
    RTFWangers::getRTFFromBuffer(other.data(), other.size(), rawSize, out);
    EXPECT_FALSE(out);
    EXPECT_EQ(rawSize, 3u);
}

TEST(RTFWangersDecodeTest, ImplausibleRawSizeIsAnAllocationFailure) {
    LogCapture capture;
    EXPECT_FALSE(data::getRTFForData(lzfuWrap(asBytes("abc"), 0xFFFFFFFF)));
    EXPECT_EQ(capture.lines(), std::vector<std::string>{"  ERROR: Failed to allocate 4294967295 bytes for output"});
    // One byte more than a 16,000,016-byte stream can expand to.
    capture.clear();
    EXPECT_FALSE(data::getRTFForData(lzfuWrap(asBytes("abc"), 128'000'001)));
    EXPECT_EQ(capture.lines(), std::vector<std::string>{"  ERROR: Failed to allocate 128000001 bytes for output"});
    EXPECT_FALSE(RTFWangers::initializeArrayWithEntryCount(SIZE_MAX / 2, 3));
    EXPECT_EQ(RTFWangers::initializeArrayWithEntryCount(3, 4), Bytes(12, 0));
}

TEST(RTFWangersDecodeTest, ConvertToLongLongReadsLittleEndian) {
    const std::uint8_t b[] = {0x4C, 0x5A, 0x46, 0xF5};
    EXPECT_EQ(RTFWangers::convertToLongLong(b), 0xF5465A4Cu);
}

TEST(RTFDataTest, RtfStringFromDataPrefersUtf8ThenLatin1) {
    EXPECT_EQ(data::rtfStringFromData(asBytes("caf\xC3\xA9")), icu::UnicodeString(u"caf\u00E9"));
    EXPECT_EQ(data::rtfStringFromData(asBytes("caf\xE9")), icu::UnicodeString(u"caf\u00E9"));
    EXPECT_EQ(data::rtfStringFromData(asBytes("")), icu::UnicodeString());
}

TEST(RTFDataTest, CompressedBodyToPlainText) {
    const std::string rtf = "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0 Arial;}}Caf\\'e9\\par au lait}";
    const auto decoded = data::getRTFForData(lzfuCompress(asBytes(rtf)));
    ASSERT_TRUE(decoded);
    EXPECT_EQ(data::stringFromRTFData(*decoded), icu::UnicodeString(u"Caf\u00E9\nau lait"));
    EXPECT_FALSE(data::stringFromRTFData(asBytes("not rtf")));
}

TEST(RTFDataTest, RtfAsPlainTextReadsTheFirstHalf) {
    // 23 characters: the first 11 are "{\rtf1 abcd".
    EXPECT_EQ(data::rtfAsPlainText(asBytes("{\\rtf1 abcdefghijklmno}")), icu::UnicodeString(u"abcd"));
    EXPECT_FALSE(data::rtfAsPlainText(asBytes("{\\rtf1 \xFF\xFE}")));
}

}  // namespace
}  // namespace tessivo
