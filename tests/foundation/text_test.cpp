#include <gtest/gtest.h>

#include <cctype>
#include <random>
#include <string>

#include <unicode/ustring.h>

#include "tessivo/foundation/text.h"

namespace tessivo {
namespace {

using U = icu::UnicodeString;

TEST(TextTest, SearchLiteralAndCaseInsensitive) {
    EXPECT_EQ(indexOf(u"Content-Type: text/HTML", u"html"), -1);
    EXPECT_EQ(indexOf(u"Content-Type: text/HTML", u"html", 0, CaseInsensitive), 19);
    EXPECT_EQ(indexOf(u"abcabc", u"bc", 2), 4);
    EXPECT_EQ(indexOf(u"abc", u""), -1);
    EXPECT_EQ(indexOf(u"abc", u"a", 7), -1);
    EXPECT_TRUE(contains(u"STRASSE Ärger", u"ärger", CaseInsensitive));
    EXPECT_TRUE(hasPrefix(u"Re: hello", u"RE:", CaseInsensitive));
    EXPECT_FALSE(hasPrefix(u"Re", u"Re:", CaseInsensitive));
    EXPECT_TRUE(equalsCaseInsensitive(u"UTF-8", u"utf-8"));
    // Offsets stay those of the original text after a supplementary character.
    EXPECT_EQ(indexOf(u"😀Ab", u"aB", 0, CaseInsensitive), 2);
}

TEST(TextTest, ReplaceAllIsLeftToRightAndNonOverlapping) {
    EXPECT_EQ(replaceAll(u"aaa", u"aa", u"b"), U(u"ba"));
    EXPECT_EQ(replaceAll(u"a\r\nb\r", u"\r", u""), U(u"a\nb"));
    EXPECT_EQ(replaceAll(u"x=D0 =d0", u"=D0", u"א", CaseInsensitive), U(u"xא א"));
    EXPECT_EQ(replaceAll(u"abc", u"", u"z"), U(u"abc"));
}

TEST(TextTest, SplitKeepsEmptyPieces) {
    EXPECT_EQ(split(u"a:b::c", u":"), (std::vector<U>{u"a", u"b", u"", u"c"}));
    EXPECT_EQ(split(u"", u";"), (std::vector<U>{u""}));
    EXPECT_EQ(split(u"aXbxc", u"x", CaseInsensitive), (std::vector<U>{u"a", u"b", u"c"}));
    EXPECT_EQ(splitBySet(u" a\tb ", whitespaceSet()), (std::vector<U>{u"", u"a", u"b", u""}));
    EXPECT_EQ(join({u"a", u"b"}, u" "), U(u"a b"));
}

TEST(TextTest, CharacterSets) {
    EXPECT_TRUE(whitespaceSet().contains(0x20));
    EXPECT_TRUE(whitespaceSet().contains(0x09));
    EXPECT_TRUE(whitespaceSet().contains(0x3000));
    EXPECT_FALSE(whitespaceSet().contains(0x0A));
    for (UChar32 c : {0x0A, 0x0B, 0x0C, 0x0D, 0x85, 0x2028, 0x2029}) EXPECT_TRUE(whitespaceAndNewlineSet().contains(c));
    EXPECT_TRUE(illegalCharacterSet().contains(0xFFFF));
    EXPECT_TRUE(illegalCharacterSet().contains(0xFDD0));
    EXPECT_TRUE(illegalCharacterSet().contains(0x0378));  // unassigned
    EXPECT_FALSE(illegalCharacterSet().contains(0xFFFD));
    EXPECT_FALSE(illegalCharacterSet().contains(0xE000));  // private use is assigned
    EXPECT_TRUE(alphanumericSet().contains(u'é'));
    EXPECT_TRUE(alphanumericSet().contains(0x0301));  // combining mark
    EXPECT_FALSE(alphanumericSet().contains(u'_'));
    EXPECT_TRUE(punctuationSet().contains(u'_'));
}

TEST(TextTest, TrimAndRemove) {
    EXPECT_EQ(trim(u" \t\r\n a b \n", whitespaceAndNewlineSet()), U(u"a b"));
    EXPECT_EQ(trim(u"\n\n", whitespaceAndNewlineSet()), U());
    EXPECT_EQ(trimStart(u"  a ", whitespaceSet()), U(u"a "));
    EXPECT_EQ(trimEnd(u"  a ", whitespaceSet()), U(u"  a"));
    EXPECT_EQ(removeCharacters(U(u"a\uFFFFb\uFDD0c"), illegalCharacterSet()), U(u"abc"));
    EXPECT_EQ(removeCharacters(u"abc", illegalCharacterSet()), U(u"abc"));
    // Units below a set's first code point are passed over; a supplementary
    // character of the set is still found behind its surrogates.
    UErrorCode ec = U_ZERO_ERROR;
    const icu::UnicodeSet faces(u"[\\U0001F600-\\U0001F64F]", ec);
    ASSERT_TRUE(U_SUCCESS(ec));
    const U prose(u"a sentence long enough to fill a block or two of units, then ");
    EXPECT_EQ(removeCharacters(U(prose).append(u"\U0001F600!"), faces), U(prose).append(u"!"));
    EXPECT_EQ(removeCharacters(U(prose).append(u"\u0378"), illegalCharacterSet()), prose);
}

TEST(TextTest, RemovingPercentEncoding) {
    EXPECT_EQ(removingPercentEncoding(u"%41b%c3%A9"), U(u"Abé"));
    EXPECT_EQ(removingPercentEncoding(u"no escapes"), U(u"no escapes"));
    EXPECT_EQ(removingPercentEncoding(u"50%"), std::nullopt);
    EXPECT_EQ(removingPercentEncoding(u"%4"), std::nullopt);
    EXPECT_EQ(removingPercentEncoding(u"%zz"), std::nullopt);
    EXPECT_EQ(removingPercentEncoding(u"%E9"), std::nullopt);  // not UTF-8
    // Escapes far into a long text, and one whose digits are not ASCII.
    const U run(u"0123456789abcdefghijklmnopqrstuvwxyz0123456789");
    EXPECT_EQ(removingPercentEncoding(U(run).append(u"%41").append(run).append(u"%42")),
              U(run).append(u"A").append(run).append(u"B"));
    EXPECT_EQ(removingPercentEncoding(U(run).append(u"%41").append(run).append(u"%4")), std::nullopt);
    EXPECT_EQ(removingPercentEncoding(U(run).append(u"%\uFF14\uFF11")), std::nullopt);
}

// The rule stated on bytes: a text without escapes as it is, else the UTF-8
// of the whole text, unescaped, decoded strictly, a leading byte order mark
// dropped.
std::optional<U> percentDecodedThroughUtf8(const U& text) {
    if (text.indexOf(u'%') < 0) return text;
    std::string utf8;
    text.toUTF8String(utf8);
    std::string bytes;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        if (utf8[i] != '%') {
            bytes += utf8[i];
            continue;
        }
        if (i + 2 >= utf8.size() || !std::isxdigit(static_cast<unsigned char>(utf8[i + 1])) ||
            !std::isxdigit(static_cast<unsigned char>(utf8[i + 2])))
            return std::nullopt;
        bytes += static_cast<char>(std::stoi(utf8.substr(i + 1, 2), nullptr, 16));
        i += 2;
    }
    if (bytes.rfind("\xEF\xBB\xBF", 0) == 0) bytes.erase(0, 3);
    std::vector<char16_t> units(bytes.size() + 1);
    int32_t length = 0;
    UErrorCode ec = U_ZERO_ERROR;
    u_strFromUTF8(units.data(), static_cast<int32_t>(units.size()), &length, bytes.data(),
                  static_cast<int32_t>(bytes.size()), &ec);
    if (U_FAILURE(ec)) return std::nullopt;
    return U(units.data(), length);
}

TEST(TextTest, RemovingPercentEncodingIsDecodingTheUtf8OfTheWhole) {
    // Escapes next to text: a sequence may not be cut by text, nor continue it.
    EXPECT_EQ(removingPercentEncoding(u"%C3x%A9"), std::nullopt);
    EXPECT_EQ(removingPercentEncoding(u"\u00E9%A9"), std::nullopt);
    EXPECT_EQ(removingPercentEncoding(u"caf%C3%A9 %E2%82%AC 100%25"), U(u"caf\u00E9 \u20AC 100%"));
    EXPECT_EQ(removingPercentEncoding(u"%2541"), U(u"%41"));
    // Unpaired surrogates become U+FFFD; a pair stays.
    EXPECT_EQ(removingPercentEncoding(U(u"a").append(char16_t(0xD800)).append(u"%41\U0001F600")),
              U(u"a\uFFFDA\U0001F600"));
    // Only a leading byte order mark goes, written or escaped.
    EXPECT_EQ(removingPercentEncoding(u"%EF%BB%BF%EF%BB%BFx"), U(u"\uFEFFx"));
    EXPECT_EQ(removingPercentEncoding(u"\uFEFFa%41"), U(u"aA"));
    EXPECT_EQ(removingPercentEncoding(u"a%EF%BB%BF"), U(u"a\uFEFF"));

    // Random texts of letters, non-ASCII characters, surrogates and escapes
    // of bytes that make, cut and break UTF-8 sequences.
    const std::vector<U> pieces{u"a", u"%", u"\u00E9", u"\uFEFF", U(char16_t(0xDC00)), U(char16_t(0xD83D)),
                                u"\U0001F600", u"%41", u"%25", u"%00", u"%C3", u"%A9", u"%E2", u"%82", u"%AC",
                                u"%EF", u"%BB", u"%BF", u"%F0", u"%9F", u"%98", u"%80", u"%ED", u"%A0", u"%FF"};
    std::mt19937 random(11);
    int decoded = 0;
    for (int round = 0; round < 20000; ++round) {
        U text;
        for (int k = std::uniform_int_distribution<int>(1, 8)(random); k > 0; --k)
            text.append(pieces[std::uniform_int_distribution<std::size_t>(0, pieces.size() - 1)(random)]);
        const auto expected = percentDecodedThroughUtf8(text);
        ASSERT_EQ(removingPercentEncoding(text), expected) << round;
        decoded += expected && text.indexOf(u'%') >= 0;
    }
    EXPECT_GT(decoded, 500);
}

TEST(TextTest, CaseMappingIgnoresProcessLocale) {
    EXPECT_EQ(toUpper(u"title"), U(u"TITLE"));
    EXPECT_EQ(toLower(u"ISO"), U(u"iso"));
    // Characters next to the ASCII letters stay; other texts take the full mapping.
    EXPECT_EQ(toUpper(u"@az[`{ 09"), U(u"@AZ[`{ 09"));
    EXPECT_EQ(toLower(u"@AZ[`{ 09"), U(u"@az[`{ 09"));
    EXPECT_EQ(toUpper(u"stra\u00DFe"), U(u"STRASSE"));
    EXPECT_EQ(toLower(u"\u00C4RGER"), U(u"\u00E4rger"));
}

}  // namespace
}  // namespace tessivo
