#include <gtest/gtest.h>

#include <random>

#include "tessivo/mime/base64.h"
#include "tessivo/mime/mime_strings.h"
#include "tessivo/mime/quoted_printable.h"

namespace tessivo {
namespace {

using namespace WindowsCodePageWangersNSStringAdditions;

const std::optional<icu::UnicodeString> kNil;

TEST(PercentEscapesTest, ReadsHexLeniently) {
    EXPECT_EQ(decodedStringFromPercentEscapesUsingEncoding(u"%41%4a%4A", encodings::UTF8), u"AJJ");
    EXPECT_EQ(decodedStringFromPercentEscapesUsingEncoding(u"%4Gx", encodings::UTF8), icu::UnicodeString(u"\x04x"));
    EXPECT_EQ(decodedStringFromPercentEscapesUsingEncoding(u"%G4x", encodings::UTF8),
              icu::UnicodeString(u"\0x", 2));
    EXPECT_EQ(decodedStringFromPercentEscapesUsingEncoding(u"ab%4", encodings::UTF8), u"ab%4");
    EXPECT_EQ(decodedStringFromPercentEscapesUsingEncoding(u"%", encodings::UTF8), u"%");
    EXPECT_EQ(decodedStringFromPercentEscapesUsingEncoding(u"", encodings::UTF8), u"");
}

TEST(PercentEscapesTest, DecodesTheBytesInTheEncoding) {
    // Characters outside ASCII go in as their UTF-8 bytes.
    EXPECT_EQ(decodedStringFromPercentEscapesUsingEncoding(u"\u00E9%E9", encodings::ISOLatin1), u"\u00C3\u00A9\u00E9");
    EXPECT_EQ(decodedStringFromPercentEscapesUsingEncoding(u"%E9", encodings::UTF8), kNil);
    EXPECT_EQ(decodedStringFromPercentEscapesUsingEncoding(u"%C3%A9", encodings::UTF8), u"\u00E9");
}

TEST(QuotedPrintableWithEncodingTest, DecodesEscapesAndSoftBreaks) {
    EXPECT_EQ(quotedPrintableDecodeWithEncoding(u"a=3Db", encodings::UTF8), u"a=b");
    EXPECT_EQ(quotedPrintableDecodeWithEncoding(u"a=\r\nb=\nc", encodings::UTF8), u"abc");
    EXPECT_EQ(quotedPrintableDecodeWithEncoding(u"Caf=E9", encodings::Windows1252), u"Caf\u00E9");
    EXPECT_EQ(quotedPrintableDecodeWithEncoding(u"caf=c3=a9", encodings::UTF8), u"caf\u00E9");
    EXPECT_EQ(quotedPrintableDecodeWithEncoding(u"100% sure, 50%41", encodings::UTF8), u"100% sure, 50%41");
}

TEST(QuotedPrintableWithEncodingTest, UpperCaseUtf8NoBreakSpaceBecomesASpace) {
    EXPECT_EQ(quotedPrintableDecodeWithEncoding(u"a=C2=A0b", encodings::ISOLatin1), u"a b");
    EXPECT_EQ(quotedPrintableDecodeWithEncoding(u"a=C2=A0b", encodings::UTF8), u"a b");
    EXPECT_EQ(quotedPrintableDecodeWithEncoding(u"a=c2=a0b", encodings::ISOLatin1), u"a\u00C2\u00A0b");
}

// Bytes that do not decode in the stated encoding are read as UTF-8, then
// Windows Latin 1, then ISO Latin 1, which takes anything.
TEST(QuotedPrintableWithEncodingTest, FallsBackToThePlausibleEncodingsForMail) {
    EXPECT_EQ(quotedPrintableDecodeWithEncoding(u"caf=E9", encodings::UTF8), u"caf\u00E9");
    EXPECT_EQ(quotedPrintableDecodeWithEncoding(u"=80 =93x=94", encodings::UTF8), u"\u20AC \u201Cx\u201D");
    EXPECT_EQ(quotedPrintableDecodeWithEncoding(u"caf=C3=A9 =A4", encodings::ASCII), u"caf\u00C3\u00A9 \u00A4");
    EXPECT_EQ(quotedPrintableDecodeWithEncoding(u"caf=C3=A9", encodings::ASCII), u"caf\u00E9");
    EXPECT_EQ(quotedPrintableDecodeWithEncoding(u"=81=E9", encodings::UTF8), u"\u0081\u00E9");
    EXPECT_EQ(forceQuotedPrintableDecode(u"x%E9"), u"x\u00E9");
    EXPECT_EQ(forceQuotedPrintableDecode(u"plain"), u"plain");
    EXPECT_EQ(quotedPrintableDecodeWithEncoding(u"a=\r\n", encodings::UTF8), u"a");
}

TEST(Base64WithEncodingTest, DecodesOrFails) {
    EXPECT_EQ(base64DecodeWithEncoding(u"Q2Fm\r\nw6k=", encodings::UTF8), u"Caf\u00E9");
    EXPECT_EQ(base64DecodeWithEncoding(u"/w==", encodings::ISOLatin1), u"\u00FF");
    EXPECT_EQ(base64DecodeWithEncoding(u"/w==", encodings::UTF8), kNil);
    EXPECT_EQ(base64DecodeWithEncoding(u"Q2Fmw6k", encodings::UTF8), kNil);
    EXPECT_EQ(base64DecodeWithEncoding(u"", encodings::UTF8), u"");
}

TEST(CreateQuotedPrintableTest, EscapesEverythingButPrintableAsciiAndLineFeed) {
    EXPECT_EQ(createQuotedPrintable(u"a=b\u00E9"), u"a=b=C3=A9");
    EXPECT_EQ(createQuotedPrintable(u"\ttab\r\nnext\x7F"), u"=09tab=0D\nnext=7F");
    EXPECT_EQ(createQuotedPrintable(u"  padded \n\n"), u"padded");
    EXPECT_EQ(createQuotedPrintable(u""), u"");
}

TEST(CreateQuotedPrintableTest, RoundTripsThroughTheDecoders) {
    // "=" is kept as it is, so only texts without one come back unchanged.
    static constexpr UChar32 kPool[] = {u'a', u'%', u' ', u'\n', u'\r', u'\t', u'_', 0xE9, 0x5D0, 0x1F600, 0x7F};
    std::mt19937 rng(6202);
    for (int round = 0; round < 200; ++round) {
        icu::UnicodeString text(u'[');
        const auto length = rng() % 40;
        for (unsigned i = 0; i < length; ++i) text.append(kPool[rng() % std::size(kPool)]);
        text.append(u']');
        const icu::UnicodeString encoded = createQuotedPrintable(text);
        EXPECT_EQ(quotedPrintableDecodeWithEncoding(encoded, encodings::UTF8), text);

        const std::string utf8 = toUtf8(encoded);
        std::size_t n = 0;
        const auto bytes = quoted_printable_decode(
            asBytes(utf8), n, false);
        ASSERT_TRUE(bytes);
        EXPECT_EQ(std::string(bytes->begin(), bytes->begin() + static_cast<std::ptrdiff_t>(n)), toUtf8(text));
    }
}

}  // namespace
}  // namespace tessivo
