#include <gtest/gtest.h>

#include <random>
#include <utility>
#include <vector>

#include "tessivo/foundation/log.h"
#include "tessivo/foundation/regex.h"
#include "tessivo/mime/encoded_words.h"
#include "tessivo/mime/mime_strings.h"

namespace tessivo {
namespace {

using namespace WindowsCodePageWangersNSStringAdditions;

// Fixed names in any case, then names found through the encodings' display names.
TEST(CharsetTableTest, KnownNames) {
    EXPECT_EQ(getCharacterEncodingFromMime(u"utf-8"), 4u);
    EXPECT_EQ(getCharacterEncodingFromMime(u"uTf-8"), 4u);
    EXPECT_EQ(getCharacterEncodingFromMime(u"windows-1252"), 12u);
    EXPECT_EQ(getCharacterEncodingFromMime(u"Windows-1250"), 15u);
    EXPECT_EQ(getCharacterEncodingFromMime(u"iso-8859-2"), 9u);
    EXPECT_EQ(getCharacterEncodingFromMime(u"UTF-16"), 10u);
    EXPECT_EQ(getCharacterEncodingFromMime(u"utf-16le"), 0x94000100u);
    EXPECT_EQ(getCharacterEncodingFromMime(u"utf-16be"), 0x90000100u);
    EXPECT_EQ(getCharacterEncodingFromMime(u"ascii"), 1u);
    EXPECT_EQ(getCharacterEncodingFromMime(u"euc-jp"), 3u);
    EXPECT_EQ(getCharacterEncodingFromMime(u"windows-1255"), encodings::Windows1255);
    EXPECT_EQ(getCharacterEncodingFromMime(u"koi8-r"), encodings::KOI8R);
    EXPECT_EQ(getCharacterEncodingFromMime(u"iso-8859-7"), encodings::ISOGreek);
    EXPECT_EQ(getCharacterEncodingFromMime(u"shift_jis"), encodings::ShiftJIS);
    EXPECT_EQ(getCharacterEncodingFromMime(u"gb18030"), encodings::GB18030);
    EXPECT_EQ(getCharacterEncodingFromMime(u"big5"), encodings::Big5);
}

TEST(CharsetTableTest, UnknownAliasesAndPaddingFallToUtf8) {
    for (const char16_t* name : {u"latin1", u"us-ascii", u"cp1252", u" utf-16", u"iso-8859-1*en", u"", u"x-unknown"})
        EXPECT_EQ(getCharacterEncodingFromMime(name), 4u) << toUtf8(name);
}

TEST(DecodeMimeHeaderTest, DecodesBothMethods) {
    EXPECT_EQ(decodeMimeHeader(u"=?iso-8859-1?Q?Caf=E9?="), u"Caf\u00E9");
    EXPECT_EQ(decodeMimeHeader(u"=?UTF-8?b?Q2Fmw6k=?="), u"Caf\u00E9");
    EXPECT_EQ(decodeMimeHeader(u"=?utf-8?q?Caf=C3=A9?="), u"Caf\u00E9");
    EXPECT_EQ(decodeMimeHeader(u"=?windows-1251?B?7/Do4uXy?="), u"\u043F\u0440\u0438\u0432\u0435\u0442");
    EXPECT_EQ(decodeMimeHeader(u"=?x-unknown?Q?abc?="), u"abc");
    // A stated charset that does not fit falls back to Windows Latin 1.
    EXPECT_EQ(decodeMimeHeader(u"=?utf-8?Q?caf=E9?="), u"caf\u00E9");
}

TEST(DecodeMimeHeaderTest, KeepsTextAroundAndBetweenWords) {
    EXPECT_EQ(decodeMimeHeader(u"=?UTF-8?B?SGVsbG8=?= =?UTF-8?B?V29ybGQ=?="), u"Hello World");
    EXPECT_EQ(decodeMimeHeader(u"=?UTF-8?B?SGVsbG8=?=\t =?UTF-8?B?V29ybGQ=?="), u"Hello\t World");
    EXPECT_EQ(decodeMimeHeader(u"Re: =?utf-8?Q?caf=C3=A9?= and more "), u"Re: caf\u00E9 and more ");
    EXPECT_EQ(decodeMimeHeader(u"  plain value  "), u"  plain value  ");
    EXPECT_EQ(decodeMimeHeader(u""), u"");
}

TEST(DecodeMimeHeaderTest, UndecodableWordsVanishWithoutAMessage) {
    LogCapture capture;
    EXPECT_EQ(decodeMimeHeader(u"=?utf-8?X?abc?="), u"");
    EXPECT_EQ(decodeMimeHeader(u"Re: =?utf-8?X?abc?= x"), u"Re:  x");
    EXPECT_EQ(decodeMimeHeader(u"a =?utf-8?Q?b?c?= d"), u"a  d");           // four pieces
    EXPECT_EQ(decodeMimeHeader(u"a =?utf-8?B?SGVsbG8?= d"), u"a  d");       // unpadded base64
    EXPECT_EQ(decodeMimeHeader(u"a =?utf-8?B?\?= d"), u"a  d");              // empty text
    EXPECT_EQ(decodeMimeHeader(u"=?utf-16be?B?2D0A?="), u"");               // odd byte count
    decodeMimeHeader(u"=?utf-8?Q?a?= =?bad");
    EXPECT_TRUE(capture.lines().empty());
}

TEST(DecodeMimeHeaderTest, WordsMustEndBeforeWhiteSpaceOrTheEnd) {
    // Followed by a comma: not a word on its own, and without a later "?="
    // the text stays as it was.
    EXPECT_EQ(decodeMimeHeader(u"=?utf-8?Q?a?=, b"), u"=?utf-8?Q?a?=, b");
    // A later "?=" lengthens the match to more than three pieces: dropped.
    EXPECT_EQ(decodeMimeHeader(u"=?utf-8?Q?a?=, =?utf-8?Q?b?= c"), u" c");
    // A word does not span a line break.
    EXPECT_EQ(decodeMimeHeader(u"=?utf-8?Q?a\n?= b"), u"=?utf-8?Q?a\n?= b");
    EXPECT_EQ(decodeMimeHeader(u"x=?utf-8?Q?a?=\nb"), u"xa\nb");
}

// The linear finder against the expression it stands for, on random values
// made of the characters that matter: markers, white space of several kinds,
// line terminators, a lone surrogate.
TEST(DecodeMimeHeaderTest, WordsFoundAsTheExpressionFindsThem) {
    const auto expression = Regex::compile(u"=\\?(.*?)\\?=(?!\\S)", Regex::CaseInsensitive);
    ASSERT_TRUE(expression);
    const char16_t alphabet[] = {u'=', u'?', u'=', u'?', u'a', u'Q', u' ', u'\t', u'\n', u'\r',
                                 0x0B,  0x0C,  0x85,  0xA0,  0x1680, 0x2028, 0x2029, 0x3000, 0xD83D};
    std::mt19937 random(2047);
    for (int round = 0; round < 20000; ++round) {
        icu::UnicodeString value;
        for (int i = static_cast<int>(random() % 24); i > 0; --i) value.append(alphabet[random() % std::size(alphabet)]);
        std::vector<std::pair<std::int32_t, std::int32_t>> expected, found;
        for (const auto& match : expression->allMatches(value)) expected.emplace_back(match.range().start, match.range().end);
        for (const auto& word : findEncodedWords(value)) found.emplace_back(word.start, word.end);
        ASSERT_EQ(found, expected) << toUtf8(value);
    }
}

TEST(DecodeMimeHeaderTest, QuotedPrintableWordsKeepUnderscores) {
    EXPECT_EQ(decodeMimeHeader(u"=?utf-8?Q?a_b?="), u"a_b");
    EXPECT_EQ(decodeMimeHeader(u"=?utf-8?Q?a=20b?="), u"a b");
    EXPECT_EQ(decodeMimeHeader(u"=?utf-8?Q?a=c3=a9?="), u"a\u00E9");  // lower-case hex is fine here
}

}  // namespace
}  // namespace tessivo
