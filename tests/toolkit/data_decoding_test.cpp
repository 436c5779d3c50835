#include <gtest/gtest.h>

#include "support/bytes.h"
#include "tessivo/toolkit/data_decoding.h"
#include "tessivo/toolkit/string_wangers.h"

namespace tessivo {
namespace {

namespace data = DataWangersNSDataAdditions;
using namespace std::literals;
using U = icu::UnicodeString;
using testing::bytesOf;

Bytes utf16le(std::u16string_view s, std::size_t junkPrefix = 0) {
    Bytes b(junkPrefix, 0xD8);
    for (char16_t c : s) {
        b.push_back(static_cast<std::uint8_t>(c & 0xFF));
        b.push_back(static_cast<std::uint8_t>(c >> 8));
    }
    return b;
}

TEST(UnknownEncodingTest, ByteOrderMarksComeFirstAndAreDropped) {
    EXPECT_EQ(data::getStringWithUnknownEncoding(bytesOf({0xFF, 0xFE, 'A', 0, 'B', 0})), U(u"AB"));
    EXPECT_EQ(data::getStringWithUnknownEncoding(bytesOf({0xFF, 0xFE, 0, 0, 'A', 0, 0, 0})), U(u"A"));
    EXPECT_EQ(data::getStringWithUnknownEncoding(bytesOf({0, 0, 0xFE, 0xFF, 0, 0, 0, 'A'})), U(u"A"));
    EXPECT_EQ(data::getStringWithUnknownEncoding(bytesOf({0xEF, 0xBB, 0xBF, 'h', 'i'})), U(u"hi"));
    EXPECT_EQ(data::getStringWithUnknownEncoding(bytesOf({0xFE, 0xFF, 0, 'A'})), U(u"A"));
    // A mark whose remainder does not decode falls through to later steps.
    auto odd = data::getStringWithUnknownEncoding(bytesOf({0xFF, 0xFE, 'A'}));
    EXPECT_EQ(odd, U(u"\u00FF\u00FEA"));  // Windows-1252 of all three bytes
}

TEST(UnknownEncodingTest, ValidUtf8WinsEvenForUnmarkedUtf16) {
    // "Hello" in UTF-16LE is valid UTF-8 with NULs.
    EXPECT_EQ(data::getStringWithUnknownEncoding(utf16le(u"Hello")), U(u"H\0e\0l\0l\0o\0", 10));
    EXPECT_EQ(data::getStringWithUnknownEncoding(bytesOf("gr\xC3\xBC\xC3\x9F")), U(u"grüß"));
}

TEST(UnknownEncodingTest, UnmarkedUtf16IsSniffedWhenNotUtf8) {
    // An é (E9 00) makes the bytes invalid UTF-8; most pairs are printable little-endian.
    EXPECT_EQ(data::getStringWithUnknownEncoding(utf16le(u"caf\u00E9 au lait")), U(u"café au lait"));
    // Everything before the first printable or "<" pair is skipped.
    EXPECT_EQ(data::getStringWithUnknownEncoding(utf16le(u"\u00E9t\u00E9 <b>x</b>", 2)), U(u"té <b>x</b>"));
    Bytes be;
    for (char16_t c : std::u16string_view(u"caf\u00E9 au lait")) {
        be.push_back(static_cast<std::uint8_t>(c >> 8));
        be.push_back(static_cast<std::uint8_t>(c & 0xFF));
    }
    EXPECT_EQ(data::getStringWithUnknownEncoding(be), U(u"café au lait"));
    // An odd last byte is dropped.
    Bytes odd = utf16le(u"caf\u00E9 au lait");
    odd.push_back('x');
    EXPECT_EQ(data::getStringWithUnknownEncoding(odd), U(u"café au lait"));
}

TEST(UnknownEncodingTest, SniffNeedsTenBytesAndAMajority) {
    // Nine bytes: no sniff, so the 8-bit fallback reads them.
    Bytes short9 = utf16le(u"ab\u00E9d");
    short9.push_back('!');
    auto s = data::getStringWithUnknownEncoding(short9);
    ASSERT_TRUE(s);
    EXPECT_EQ(s->length(), 9);
    // Exactly half printable pairs is not a majority.
    Bytes half = bytesOf({'a', 0, 0xE9, 0xE9, 'b', 0, 0xE9, 0xE9, 0xE9, 0xE9});
    auto h = data::getStringWithUnknownEncoding(half);
    ASSERT_TRUE(h);
    EXPECT_EQ(h->length(), 10);
}

TEST(UnknownEncodingTest, TruncatedUtf8TailIsCut) {
    EXPECT_EQ(data::getStringWithUnknownEncoding(bytesOf({'a', 'b', 0xE2, 0x82})), U(u"ab"));
    EXPECT_EQ(data::getStringWithUnknownEncoding(bytesOf({'a', 0xF0, 0x9F, 0x98})), U(u"a"));
    EXPECT_EQ(data::getStringWithUnknownEncoding(bytesOf({0xE2, 0x82})), U(u""));  // nothing before the lead byte
    // Invalid UTF-8 before the cut falls to the 8-bit fallbacks.
    EXPECT_EQ(data::getStringWithUnknownEncoding(bytesOf({0xE9, 'a', 0xC3})), U(u"éaÃ"));
}

TEST(UnknownEncodingTest, SingleByteFallbacksAndLastResort) {
    EXPECT_EQ(data::getStringWithUnknownEncoding(bytesOf({0xE9})), U(u"é"));
    EXPECT_EQ(data::getStringWithUnknownEncoding(bytesOf({0x80, 'x'})), U(u"€x"));
    EXPECT_EQ(data::getStringWithUnknownEncoding({}), std::nullopt);
}

TEST(StatedEncodingTest, FallsBackAndZapsGremlins) {
    EXPECT_EQ(data::getStringWithEncoding(Bytes{}, encodings::UTF8), std::nullopt);
    EXPECT_EQ(data::getStringWithEncoding(utf16le(u"  Subject\0\0"sv), encodings::UTF16LE), U(u"Subject"));
    // Wrong stated encoding: ASCII fails on é, the unknown-encoding chain reads UTF-8.
    EXPECT_EQ(data::getStringWithEncoding(bytesOf("caf\xC3\xA9 "), encodings::ASCII), U(u"café"));
    // Percent escapes are decoded, deliberately.
    EXPECT_EQ(data::getStringWithEncoding(bytesOf("50%41"), encodings::UTF8, u"caller", 12), U(u"50A"));
    const Value bytes(bytesOf("x"));
    const Value text(U(u"x"));
    EXPECT_EQ(data::getStringWithEncoding(&bytes, encodings::UTF8), U(u"x"));
    EXPECT_EQ(data::getStringWithEncoding(&text, encodings::UTF8), std::nullopt);
    EXPECT_EQ(data::getStringWithEncoding(nullptr, encodings::UTF8), std::nullopt);
}

TEST(StringFromDataTest, StringsPassAndEmptyGivesEmpty) {
    EXPECT_EQ(StringWangers::stringFromNSData(Value(U(u"as is"))), U(u"as is"));
    EXPECT_EQ(StringWangers::stringFromNSData(Value()), U());
    EXPECT_EQ(StringWangers::stringFromNSData(Value(Bytes{})), U());
    EXPECT_EQ(StringWangers::stringFromNSData(Value(42)), U());
    EXPECT_EQ(StringWangers::stringFromNSData(bytesOf("na\xC3\xAFve")), U(u"naïve"));
    EXPECT_EQ(StringWangers::stringFromNSData(bytesOf("\x93quoted\x94")), U(u"“quoted”"));
}

TEST(StringFromDataTest, ValidityAllowsOneFifthReplacementCharacters) {
    EXPECT_FALSE(StringWangers::isValidDecodedString(U()));
    U sample;
    for (int i = 0; i < 100; ++i) sample.append(i < 20 ? char16_t{0xFFFD} : u'a');
    EXPECT_TRUE(StringWangers::isValidDecodedString(sample));
    sample.setCharAt(20, 0xFFFD);
    EXPECT_FALSE(StringWangers::isValidDecodedString(sample));
    // Only the first 100 units count.
    U late(100, u'a', 100);
    late.append(U(50, 0xFFFD, 50));
    EXPECT_TRUE(StringWangers::isValidDecodedString(late));
    EXPECT_FALSE(StringWangers::isValidDecodedString(U(u"ab\uFFFDc")));
}

TEST(StringFromDataTest, CStringsTryAsciiUtf8Utf16Then1252) {
    EXPECT_EQ(StringWangers::stringFromCString(nullptr), U());
    EXPECT_EQ(StringWangers::stringFromCString(""), U());
    EXPECT_EQ(StringWangers::stringFromCString("plain\0ignored"), U(u"plain"));
    EXPECT_EQ(StringWangers::stringFromCString("caf\xC3\xA9"), U(u"café"));
    // Not UTF-8, even length: UTF-16 little-endian comes before Windows-1252.
    EXPECT_EQ(StringWangers::stringFromCString("\xE9\x41"), U(u"\u41E9"));
    EXPECT_EQ(StringWangers::stringFromCString("\xE9"), U(u"é"));
}

TEST(StringFromDataTest, EncodingNamesCoverTheMimeLookups) {
    const Dictionary names = StringWangers::getStringEncodingsForText();
    ASSERT_NE(names.get(u"Hebrew (Windows)"), nullptr);
    EXPECT_EQ(names.get(u"Hebrew (Windows)")->toUInt64(), encodings::Windows1255);
    EXPECT_EQ(names.get(u"Western (Windows Latin 1)")->toUInt64(), encodings::Windows1252);
    EXPECT_EQ(names.size(), availableEncodings().size());
    // Each caller owns its copy.
    Dictionary mine = StringWangers::getStringEncodingsForText();
    mine.clear();
    EXPECT_EQ(StringWangers::getStringEncodingsForText().size(), names.size());
}

TEST(StringFromDataTest, Utf16Termination) {
    EXPECT_FALSE(StringWangers::utf16CStringIsTerminated({}));
    EXPECT_TRUE(StringWangers::utf16CStringIsTerminated(bytesOf({'a', 0, 0, 0})));
    EXPECT_FALSE(StringWangers::utf16CStringIsTerminated(bytesOf({'a', 0, 'b', 0})));
    EXPECT_FALSE(StringWangers::utf16CStringIsTerminated(bytesOf({'a', 0, 0})));  // zero pair straddles a unit
}

TEST(LocalizedStringTest, MessagesTableAndUnknownKeys) {
    EXPECT_FALSE(StringWangers::localizedStringFor(u"VoiceNote", u"messages").isEmpty());
    EXPECT_NE(StringWangers::localizedStringFor(u"unnamedName", u"messages"), u"unnamedName");
    EXPECT_EQ(StringWangers::localizedStringFor(u"noSuchKey", u"messages"), u"noSuchKey");
    EXPECT_EQ(StringWangers::localizedStringFor(u"VoiceNote", u"other"), u"VoiceNote");
}

}  // namespace
}  // namespace tessivo
