#include <gtest/gtest.h>

#include "tessivo/mime/mime_strings.h"

namespace tessivo {
namespace {

using namespace WindowsCodePageWangersNSStringAdditions;

const std::optional<icu::UnicodeString> kNil;
const icu::UnicodeString kShalom(u"\u05E9\u05DC\u05D5\u05DD");  // F9 EC E5 ED in Windows-1255

TEST(HebrewEscapesTest, ResolvesListedCodesInAnyCaseAndLeavesTheRest) {
    EXPECT_EQ(decodeCP1255FromMimeEncodedString(u"=F9=EC=E5=ED"), kShalom);
    EXPECT_EQ(decodeCP1255FromMimeEncodedString(u"=f9=ec=e5=ed!"), kShalom + u"!");
    EXPECT_EQ(decodeCP1255FromMimeEncodedString(u"=D0=D4=D8"), u"\u05C0\u05F0\u05F4");
    EXPECT_EQ(decodeCP1255FromMimeEncodedString(u"=C0=D9=DF=FB=41"), u"=C0=D9=DF=FB=41");
    EXPECT_EQ(decodeCP1255FromMimeEncodedString(u"=?windows-1255?Q?=E0?="), u"=?windows-1255?Q?\u05D0?=");
}

TEST(HebrewBase64WordsTest, DecodesWordsAndKeepsTheRest) {
    EXPECT_EQ(decodeCP1255B(u"Re: =?windows-1255?B?+ezl7Q==?= end"), u"Re: " + kShalom + u" end");
    EXPECT_EQ(decodeCP1255B(u"=?WINDOWS-1255?b?+ezl7Q==?==?windows-1255?B?+ezl7Q==?="), kShalom + kShalom);
    EXPECT_EQ(decodeCP1255B(u"no words here"), u"no words here");
    EXPECT_EQ(decodeCP1255B(u""), u"");
}

TEST(HebrewBase64WordsTest, BrokenWordsLoseTheirText) {
    EXPECT_EQ(decodeCP1255B(u"a =?windows-1255?B?+ezl7Q?= b"), u"a  b");    // unpadded base64
    EXPECT_EQ(decodeCP1255B(u"a =?windows-1255?B?+w==?= b"), u"a  b");      // FB is not Hebrew
    EXPECT_EQ(decodeCP1255B(u"a =?windows-1255?B?\?= tail"), u"a ");         // an empty word drops its piece
    EXPECT_EQ(decodeCP1255B(u"a =?windows-1255?B?+ezl7Q== b"), u"a +ezl7Q== b");  // no "?=": kept
    // Text before the first word is decoded too when it holds "?=".
    EXPECT_EQ(decodeCP1255B(u"why?= =?windows-1255?B?+ezl7Q==?="), u" " + kShalom);
}

TEST(ValidateEmailAddressTest, AcceptsAddrSpecs) {
    for (const char16_t* address : {u"john.doe@example.com", u"JOHN@EXAMPLE.COM", u"a+tag@sub.example.co.uk",
                                    u"\"quoted,name\"@example.com", u"o'brien@example.ie", u"x@[192.168.0.1]",
                                    u"a@b.c"})
        EXPECT_TRUE(validateEmailAddress(address)) << toUtf8(address);
}

TEST(ValidateEmailAddressTest, RejectsEverythingElse) {
    for (const char16_t* text : {u"", u"user@", u"@example.com", u"a@b", u"a@-b.com", u"a@b_c.com", u" a@b.com",
                                 u"a@b.com ", u"a..b@c.com", u"x@[300.1.1.1]", u"Ann <ann@example.com>",
                                 u"\u00E9@example.com", u"a@b.com\nc@d.com", u"\"quoted name\"@example.com"})
        EXPECT_FALSE(validateEmailAddress(text)) << toUtf8(text);
}

TEST(CleanEmailAddressTest, TakesTheBracketedPartOrTheWhole) {
    EXPECT_EQ(cleanEmailAddress(u"Ann Lee <ann@example.com>"), u"ann@example.com");
    EXPECT_EQ(cleanEmailAddress(u"\"Lee, Ann\" < ann@example.com >, Bob <bob@example.com>"), u"ann@example.com");
    EXPECT_EQ(cleanEmailAddress(u"  ann@example.com\r\n"), u"ann@example.com");
    EXPECT_EQ(cleanEmailAddress(u"Ann <ann@example.com"), kNil);
    EXPECT_EQ(cleanEmailAddress(u"a > b <ann@example.com>"), kNil);
    EXPECT_EQ(cleanEmailAddress(u"Ann <ann@>"), kNil);
    EXPECT_EQ(cleanEmailAddress(u"ann@"), kNil);
}

TEST(BuildEmailAddressUrlTest, PrefixesMailtoAndEscapesWhatAUrlCannotHold) {
    EXPECT_EQ(buildEmailAddressURL(u"ann@example.com"), u"mailto:ann@example.com");
    EXPECT_EQ(buildEmailAddressURL(u"\"a^b\"@example.com"), u"mailto:%22a%5Eb%22@example.com");
    EXPECT_EQ(buildEmailAddressURL(u"a{b}|c@example.com"), u"mailto:a%7Bb%7D%7Cc@example.com");
    EXPECT_EQ(buildEmailAddressURL(u"a%41%zz@example.com"), u"mailto:a%41%25zz@example.com");
    EXPECT_EQ(buildEmailAddressURL(u"Ann <ann@example.com>"), kNil);
    EXPECT_EQ(buildEmailAddressURL(u""), kNil);
}

}  // namespace
}  // namespace tessivo
