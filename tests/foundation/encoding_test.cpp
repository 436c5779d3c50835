#include <gtest/gtest.h>

#include <random>
#include <set>

#include <unicode/ustring.h>

#include "support/bytes.h"
#include "tessivo/foundation/encoding.h"

namespace tessivo {
namespace {

using namespace encodings;
using testing::bytesOf;

TEST(EncodingTest, StrictDecodersRejectInvalidBytes) {
    struct Case {
        Encoding encoding;
        Bytes bytes;
    };
    const Case invalid[] = {
        {ASCII, bytesOf({'a', 0x80})},
        {UTF8, bytesOf({'a', 0xC3})},               // truncated
        {UTF8, bytesOf({0xC0, 0x80})},              // overlong NUL
        {UTF8, bytesOf({0xED, 0xA0, 0x80})},        // encoded surrogate
        {UTF8, bytesOf({0xF4, 0x90, 0x80, 0x80})},  // above U+10FFFF
        {UTF16LE, bytesOf({0x41, 0x00, 0x42})},     // odd length
        {UTF16BE, bytesOf({0x00})},
        {Windows1252, bytesOf({'a', 0x81})},        // one of the five undefined bytes
        {UTF32LE, bytesOf({0x00, 0x00, 0x11, 0x00})},  // above U+10FFFF
        {ShiftJIS, bytesOf({0x82})},                   // lead byte without trail
        {NeXTSTEP, bytesOf({0xFE})},
        {Symbol, bytesOf({0x80})},
        {0x12345, bytesOf({'a'})},  // unknown encoding
    };
    for (const auto& c : invalid) EXPECT_FALSE(decode(c.bytes, c.encoding).has_value()) << c.encoding;
}

TEST(EncodingTest, DecodesEachFamily) {
    EXPECT_EQ(decode(bytesOf("caf\xC3\xA9"), UTF8), icu::UnicodeString(u"café"));
    EXPECT_EQ(decode(bytesOf({'H', 0, 'i', 0}), UTF8), icu::UnicodeString(u"H\0i\0", 4));  // NULs are valid UTF-8
    EXPECT_EQ(decode(bytesOf({0xE9, 0x80}), ISOLatin1), icu::UnicodeString(u"é\u0080"));
    EXPECT_EQ(decode(bytesOf({0x80, 0x93}), Windows1252), icu::UnicodeString(u"€“"));
    EXPECT_EQ(decode(bytesOf({0x8E}), MacRoman), icu::UnicodeString(u"é"));
    EXPECT_EQ(decode(bytesOf({0x3D, 0xD8, 0x00, 0xDE}), UTF16LE), icu::UnicodeString(u"😀"));
    EXPECT_EQ(decode(bytesOf({0xD8, 0x3D, 0xDE, 0x00}), UTF16BE), icu::UnicodeString(u"😀"));
    EXPECT_EQ(decode(bytesOf({0x00, 0x01, 0xF6, 0x00}), UTF32BE), icu::UnicodeString(u"😀"));
    EXPECT_EQ(decode(bytesOf({0x82, 0xA0}), ShiftJIS), icu::UnicodeString(u"あ"));
    EXPECT_EQ(decode(bytesOf({0xA4, 0xA2}), EUCJP), icu::UnicodeString(u"あ"));
    EXPECT_EQ(decode(bytesOf({0x1B, '$', 'B', 0x24, 0x22, 0x1B, '(', 'B'}), ISO2022JP), icu::UnicodeString(u"あ"));
    EXPECT_EQ(decode(bytesOf({0xE0}), Windows1255), icu::UnicodeString(u"א"));
    EXPECT_EQ(decode(bytesOf({0xC1}), KOI8R), icu::UnicodeString(u"а"));
    EXPECT_EQ(decode(bytesOf({0xA4, 0x40}), Big5), icu::UnicodeString(u"一"));
    // Our own tables.
    EXPECT_EQ(decode(bytesOf({'a', 0x80, 0xFD}), NeXTSTEP), icu::UnicodeString(u"a\u00A0ÿ"));
    EXPECT_EQ(decode(bytesOf({'a', 0x61, 0xA0}), Symbol), icu::UnicodeString(u"αα€"));
    EXPECT_EQ(decode({}, UTF16LE), icu::UnicodeString());
}

// Where the platform's decoders are not the textbook ones: UTF-16 keeps an
// unpaired surrogate, Windows-1252 refuses its five undefined bytes, UTF-8
// drops a leading byte-order mark.
TEST(EncodingTest, PlatformDecodingRules) {
    EXPECT_EQ(decode(bytesOf({'a', 0, 0x00, 0xD8, 'b', 0}), UTF16LE), icu::UnicodeString(u"a\xD800" u"b"));
    EXPECT_EQ(decode(bytesOf({0xDC, 0x00, 0, 'b'}), UTF16BE), icu::UnicodeString(u"\xDC00" u"b"));
    EXPECT_EQ(decode(bytesOf({0xFF, 0xFE, 0x3D, 0xD8}), UTF16), icu::UnicodeString(u"\xD83D"));
    for (int undefined : {0x81, 0x8D, 0x8F, 0x90, 0x9D}) {
        EXPECT_FALSE(decode(bytesOf({'a', undefined}), Windows1252)) << undefined;
        EXPECT_TRUE(decode(bytesOf({'a', undefined}), ISOLatin1)) << undefined;
    }
    EXPECT_EQ(decode(bytesOf({0x80, 0x8E, 0x9F}), Windows1252), icu::UnicodeString(u"€ŽŸ"));
    EXPECT_EQ(decode(bytesOf({0xEF, 0xBB, 0xBF, 'h', 'i'}), UTF8), icu::UnicodeString(u"hi"));
    EXPECT_EQ(decode(bytesOf({0xEF, 0xBB, 0xBF}), UTF8), icu::UnicodeString());
    EXPECT_EQ(decode(bytesOf({'h', 0xEF, 0xBB, 0xBF}), UTF8), icu::UnicodeString(u"h\uFEFF")) << "only a leading mark";
    EXPECT_EQ(decode(bytesOf({0xEF, 0xBB, 0xBF, 0xEF, 0xBB, 0xBF}), UTF8), icu::UnicodeString(u"\uFEFF"));
}

TEST(EncodingTest, UnicodeWithMarkHonoursOrLooksPastTheMark) {
    EXPECT_EQ(decode(bytesOf({0xFE, 0xFF, 0, 'A'}), UTF16), icu::UnicodeString(u"A"));
    EXPECT_EQ(decode(bytesOf({0xFF, 0xFE, 'A', 0}), UTF16), icu::UnicodeString(u"A"));
    EXPECT_EQ(decode(bytesOf({'A', 0}), UTF16), icu::UnicodeString(u"A"));  // little-endian without a mark
    EXPECT_EQ(decode(bytesOf({0, 0, 0xFE, 0xFF, 0, 0, 0, 'A'}), UTF32), icu::UnicodeString(u"A"));
    EXPECT_EQ(decode(bytesOf({'A', 0, 0, 0}), UTF32), icu::UnicodeString(u"A"));
    // The explicit-order decoders keep a mark as a character.
    EXPECT_EQ(decode(bytesOf({0xFF, 0xFE, 'A', 0}), UTF16LE), icu::UnicodeString(u"\uFEFFA"));
}

TEST(EncodingTest, EncodeRoundTripsAndRefusesUnmappable) {
    const icu::UnicodeString text(u"Grüße €");
    for (Encoding e : {UTF8, UTF16, UTF16LE, UTF16BE, UTF32, UTF32BE, UTF32LE, Windows1252, ISOLatin9, MacRoman}) {
        auto bytes = encode(text, e);
        ASSERT_TRUE(bytes.has_value()) << e;
        EXPECT_EQ(decode(*bytes, e), text) << e;
    }
    EXPECT_EQ(encode(u"é", ISOLatin1), bytesOf({0xE9}));
    EXPECT_EQ(encode(u"A", UTF16), bytesOf({0xFF, 0xFE, 'A', 0}));
    EXPECT_EQ(encode(u"α€", Symbol), bytesOf({0x61, 0xA0}));
    EXPECT_FALSE(encode(u"a", Symbol));  // 0x61 is alpha there
    EXPECT_EQ(encode(u"ÿ", NeXTSTEP), bytesOf({0xFD}));
    EXPECT_FALSE(encode(u"é", ASCII));
    EXPECT_FALSE(encode(u"€", ISOLatin1));
    EXPECT_FALSE(encode(u"あ", Windows1252));
    EXPECT_FALSE(encode(icu::UnicodeString(static_cast<UChar>(0xD800)), UTF8));
}

TEST(EncodingTest, EveryListedEncodingHasANameAndDecodesAscii) {
    std::set<icu::UnicodeString> names;
    for (Encoding e : availableEncodings()) {
        const icu::UnicodeString name = encodingDisplayName(e);
        EXPECT_FALSE(name.isEmpty()) << e;
        EXPECT_TRUE(names.insert(name).second) << "duplicate name for " << e;
        if (e == UTF16 || e == UTF16BE || e == UTF16LE || e == UTF32 || e == UTF32BE || e == UTF32LE) continue;
        if (e == Symbol) continue;  // Greek letters in place of Latin ones
        EXPECT_EQ(decode(bytesOf("Az09 .,"), e), icu::UnicodeString(u"Az09 .,")) << e;
    }
    EXPECT_TRUE(encodingDisplayName(0x12345).isEmpty());
    EXPECT_STREQ(encodingCharsetName(Windows1252), "windows-1252");
    EXPECT_EQ(encodingCharsetName(NeXTSTEP), nullptr);  // our own table
    EXPECT_EQ(encodingCharsetName(0x12345), nullptr);
}

TEST(EncodingTest, DisplayNamesOtherReadersLookUp) {
    const std::pair<const char16_t*, Encoding> expected[] = {
        {u"Hebrew (Windows)", Windows1255},
        {u"Arabic (Windows)", Windows1256},
        {u"Baltic (Windows)", Windows1257},
        {u"Vietnamese (Windows)", Windows1258},
        {u"Thai (Windows, DOS)", Windows874},
        {u"Cyrillic (ISO 8859-5)", ISOCyrillic},
        {u"Arabic (ISO 8859-6)", ISOArabic},
        {u"Greek (ISO 8859-7)", ISOGreek},
        {u"Hebrew (ISO 8859-8)", ISOHebrew},
        {u"Thai (ISO 8859-11)", ISOThai},
        {u"Cyrillic (KOI8-R)", KOI8R},
        {u"Ukrainian (KOI8-U)", KOI8U},
        {u"Japanese (Shift JIS)", ShiftJIS},
        {u"Korean (EUC)", EUCKR},
        {u"Traditional Chinese (Big 5)", Big5},
        {u"Simplified Chinese (GB 2312)", GB2312},
        {u"Chinese (GB 18030)", GB18030},
    };
    for (const auto& [name, e] : expected) {
        EXPECT_EQ(encodingDisplayName(e), icu::UnicodeString(name));
        EXPECT_NE(std::find(availableEncodings().begin(), availableEncodings().end(), e), availableEncodings().end());
    }
}

TEST(EncodingTest, DetectionPrefersMarksAndUtf8ThenSuggestions) {
    const Encoding suggested[] = {UTF8, ISOLatin1, Windows1252};
    auto marked = detectEncoding(bytesOf({0xFF, 0xFE, 'h', 0, 'i', 0}), suggested);
    ASSERT_TRUE(marked);
    EXPECT_EQ(marked->encoding, UTF16LE);
    EXPECT_EQ(marked->text, icu::UnicodeString(u"hi"));

    auto utf8 = detectEncoding(bytesOf("na\xC3\xAFve"), suggested);
    ASSERT_TRUE(utf8);
    EXPECT_EQ(utf8->encoding, UTF8);
    EXPECT_FALSE(utf8->lossy);

    auto latin = detectEncoding(bytesOf("na\xEFve caf\xE9"), suggested);
    ASSERT_TRUE(latin);
    EXPECT_TRUE(latin->encoding == ISOLatin1 || latin->encoding == Windows1252);
    EXPECT_EQ(latin->text, icu::UnicodeString(u"naïve café"));
    EXPECT_FALSE(latin->lossy);

    auto quotes = detectEncoding(bytesOf("\x93quoted\x94 text \x80 10"), suggested);
    ASSERT_TRUE(quotes);
    EXPECT_EQ(quotes->text, icu::UnicodeString(u"“quoted” text € 10"));

    std::string japanese;
    for (int i = 0; i < 40; ++i) japanese += "\x82\xb1\x82\xf1\x82\xc9\x82\xbf\x82\xcd\x90\xa2\x8a\x45\x81\x42";
    auto sjis = detectEncoding(bytesOf(japanese), suggested);
    ASSERT_TRUE(sjis);
    EXPECT_TRUE(sjis->text.startsWith(u"こんにちは世界。"));

    const Encoding asciiOnly[] = {ASCII};
    auto lossy = detectEncoding(bytesOf("a\xFF"), asciiOnly, true);
    ASSERT_TRUE(lossy);
    EXPECT_TRUE(lossy->lossy);
    EXPECT_FALSE(detectEncoding({}, suggested));
}

}  // namespace
}  // namespace tessivo
