#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "tessivo/foundation/log.h"
#include "tessivo/foundation/text.h"
#include "tessivo/toolkit/string_cleaning.h"

namespace tessivo {
namespace {

using namespace WindowsCodePageWangersNSStringAdditions;
using U = icu::UnicodeString;

TEST(StringCleaningTest, TrimTrailingNulls) {
    EXPECT_EQ(trimTrailingNulls(U(u"a\0b\0\0", 5)), U(u"a\0b", 3));
    EXPECT_EQ(trimTrailingNulls(U(u"\0\0", 2)), U());
    EXPECT_EQ(trimTrailingNulls(U(u"ab")), U(u"ab"));
}

TEST(StringCleaningTest, TruncateAtGarbageCharacters) {
    EXPECT_EQ(truncateAtGarbageCharacters(U(u"abcd\u4E00\u4E01\u4E02")), U(u"abcd"));
    // Two high characters are not yet a garbage tail.
    EXPECT_EQ(truncateAtGarbageCharacters(U(u"abcd\u4E00\u4E01")), U(u"abcd\u4E00\u4E01"));
    // Text that starts with high characters is left alone.
    EXPECT_EQ(truncateAtGarbageCharacters(U(u"\u4E00bcdefg\u4E01\u4E02\u4E03")), U(u"\u4E00bcdefg\u4E01\u4E02\u4E03"));
    EXPECT_EQ(truncateAtGarbageCharacters(U(u"ab\u4E00\u4E01\u4E02")), U(u"ab\u4E00\u4E01\u4E02"));
    EXPECT_EQ(truncateAtGarbageCharacters(U(u"ab\0cd", 5)), U(u"ab"));
    // A leading NUL counts as ordinary; only a NUL after one stops the walk.
    EXPECT_EQ(truncateAtGarbageCharacters(U(u"\0a\0b", 4)), U(u"\0a", 2));
    // The cut index counts ordinary characters only, so high characters met
    // early shift the cut: 5 ordinary characters, cut after 5 units.
    EXPECT_EQ(truncateAtGarbageCharacters(U(u"abcd\u4E00e\u4E01\u4E02x")), U(u"abcd\u4E00"));
    EXPECT_EQ(truncateAtGarbageCharacters(U()), U());
}

TEST(StringCleaningTest, TruncateAtGarbageCharactersInLongText) {
    // Long runs of ordinary text are passed over in blocks; what follows them
    // must be judged as it would be character by character.
    const U run = U(u"0123456789").append(u"abcdefghijklmnopqrstuvwxyz").append(u"ABCDEFGHIJKLMNOPQRSTUVWXYZ");
    EXPECT_EQ(truncateAtGarbageCharacters(U(run).append(U(u"\0tail", 5))), run);
    EXPECT_EQ(truncateAtGarbageCharacters(U(run).append(u"x\u4E00\u4E01\u4E02").append(run)), U(run).append(u"x"));
    EXPECT_EQ(truncateAtGarbageCharacters(U(run).append(u"\u4E00").append(run).append(u"\u4E01")),
              U(run).append(u"\u4E00").append(run).append(u"\u4E01"));
    // A NUL or a high character inside the first block is found there too.
    EXPECT_EQ(truncateAtGarbageCharacters(U(u"ab\0", 3).append(run)), U(u"ab"));
    EXPECT_EQ(truncateAtGarbageCharacters(U(u"\u4E00").append(run)), U(u"\u4E00").append(run));
}

TEST(StringCleaningTest, ZapGremlinsChain) {
    EXPECT_EQ(zapGremlins(U(u" \n Price 100%41 \uFFFF\t")), U(u"Price 100A"));
    // A broken escape keeps the text as it was before that step.
    EXPECT_EQ(zapGremlins(U(u"100% sure\uFDD0")), U(u"100% sure"));
    EXPECT_EQ(zapGremlins(U(u"Name\0\0\0", 7)), U(u"Name"));
    EXPECT_EQ(zapGremlins(U()), U());
    // An escape that decodes to an illegal character in an otherwise plain text.
    EXPECT_EQ(zapGremlins(U(u"plain %EF%BF%BF text")), U(u"plain  text"));
}

// zapGremlins skips the passes that cannot change a text; on random texts it
// must still give what the four passes in a row give.
TEST(StringCleaningTest, ZapGremlinsIsItsFourPassesInARow) {
    const std::vector<U> pieces{u"a", u"Hello ", u" ", u"\n", u"%", u"%41", u"%25", u"%EF%BF%BF", U(u"\0", 1),
                                u"\u00E9", u"\u0378", u"\uFFFF", u"\uFDD0", u"\u4E00", u"\u3001", u"\U0001F600"};
    std::mt19937 random(5);
    for (int round = 0; round < 20000; ++round) {
        U text;
        for (int k = std::uniform_int_distribution<int>(1, 10)(random); k > 0; --k)
            text.append(pieces[std::uniform_int_distribution<std::size_t>(0, pieces.size() - 1)(random)]);
        U expected = truncateAtGarbageCharacters(text);
        if (auto unescaped = removingPercentEncoding(expected)) expected = *unescaped;
        expected = trim(removeCharacters(expected, illegalCharacterSet()), whitespaceAndNewlineSet());
        ASSERT_EQ(zapGremlins(text), expected) << round;
    }
}

TEST(StringCleaningTest, CleanStringKeepsLayoutControls) {
    EXPECT_EQ(cleanString(U(u"a\u0001\u0008\tb\nc\u000B\u000C\rd\u001F\u007F")), U(u"a\tb\nc\u000C\rd\u007F"));
}

TEST(StringCleaningTest, TrimCharsKeepsLowByte) {
    EXPECT_EQ(trimCharsInString(std::nullopt), std::nullopt);
    EXPECT_EQ(trimCharsInString(U(u"\u0000\u0001a\u00A0b\u00E9\u0141\u0100", 8)), U(u"ab\u00E9\u0041"));
}

TEST(StringCleaningTest, CondenseWhitespaceKeepsLineBreaks) {
    EXPECT_EQ(condenseWhitespace(U(u"  a \t\u00A0 b\n c  ")), U(u"a b\n c"));
    EXPECT_EQ(condenseWhitespace(U(u" \t ")), U());
}

TEST(StringCleaningTest, ReplaceDoubleNewlineRemovesCrAfterwards) {
    EXPECT_EQ(replaceDoubleNewline(U(u"a\n\n\nb")), U(u"a\nb"));
    EXPECT_EQ(replaceDoubleNewline(U(u"a\n\r\nb")), U(u"a\n\nb"));
    EXPECT_EQ(replaceDoubleNewline(U(u"a\r\n\r\nb")), U(u"a\n\nb"));
}

TEST(StringCleaningTest, ValidityCheck) {
    EXPECT_TRUE(isValidNSStringWithStrictCheck(U(), true));
    EXPECT_TRUE(isValidNSStringWithStrictCheck(U(u"Hello, world! (ça va?) \"x\" 'y' <a@b.c> 100%"), true));
    EXPECT_FALSE(isValidNSStringWithStrictCheck(U(u"tab\u00A7"), true));
    // One disallowed character in 20 passes the lenient check, two do not.
    EXPECT_TRUE(isValidNSStringWithStrictCheck(U(u"abcdefghijklmnopqrs\u00A7"), false));
    EXPECT_FALSE(isValidNSStringWithStrictCheck(U(u"abcdefghijklmnopqr\u00A7\u00A7"), false));
    // An unpaired surrogate does not survive UTF-8.
    EXPECT_FALSE(isValidNSStringWithStrictCheck(U(u"abc").append(static_cast<char16_t>(0xD800)), false));
    EXPECT_FALSE(isValidNSStringWithStrictCheck(Value(Bytes{'a'}), false));
    EXPECT_TRUE(isValidNSStringWithStrictCheck(Value(U(u"ok")), true));
}

}  // namespace
}  // namespace tessivo
