#include <gtest/gtest.h>

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
