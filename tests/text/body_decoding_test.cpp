// The character-set choices behind the hosts' text: declared charsets found
// in HTML, code pages, and quoted-printable told apart from markup.
#include <gtest/gtest.h>

#include "support/bytes.h"
#include "tessivo/text/body_decoding.h"

namespace tessivo::text {
namespace {

using testing::bytesOf;

TEST(BodyDecodingTest, CharsetIsTakenFromMetaElementsOnly) {
    EXPECT_EQ(charsetDeclaredInHtml(bytesOf("<html><head><META CHARSET='Windows-1252'>")), "windows-1252");
    EXPECT_EQ(charsetDeclaredInHtml(bytesOf("<meta http-equiv=\"Content-Type\" content=\"text/html; charset=iso-8859-2\">")),
              "iso-8859-2");
    EXPECT_EQ(charsetDeclaredInHtml(bytesOf("<meta name=x><p>charset=koi8-r</p>")), "");  // text, not a declaration
    EXPECT_EQ(charsetDeclaredInHtml(bytesOf("<meta charset=>")), "");
    EXPECT_EQ(charsetDeclaredInHtml(bytesOf("<meta charset")), "");  // cut inside the tag
    EXPECT_EQ(charsetDeclaredInHtml(Bytes(5000, ' ')), "");
}

TEST(BodyDecodingTest, CodePagesMapToTheirEncodings) {
    EXPECT_EQ(encodingOfCodePage(1251), encodings::Windows1251);
    EXPECT_EQ(encodingOfCodePage(65001), encodings::UTF8);
    EXPECT_EQ(encodingOfCodePage(20866), encodings::KOI8R);
    EXPECT_EQ(encodingOfCodePage(932), encodings::ShiftJISWindows);
    EXPECT_EQ(encodingOfCodePage(0), std::nullopt);
    EXPECT_EQ(encodingOfCodePage(1234), std::nullopt);
}

TEST(BodyDecodingTest, EightBitTextFallsBackWhenTheCodePageDoesNotFit) {
    // 0x81 is undefined in Windows-1252: the next code page decodes it.
    EXPECT_EQ(toUtf8(eightBitText(bytesOf({0xC4, 0x81, 0, 0}), {1252, 1251})), "ДЃ");
    EXPECT_EQ(toUtf8(eightBitText(bytesOf("caf\xC3\xA9"), {})), "café");  // detection: UTF-8
    EXPECT_EQ(toUtf8(eightBitText(bytesOf("caf\xC3\xA9"), {9999})), "café");
}

TEST(BodyDecodingTest, QuotedPrintableIsRecognisedAndUnescaped) {
    EXPECT_TRUE(looksQuotedPrintable("<p class=3Dx>"));
    EXPECT_TRUE(looksQuotedPrintable("long line=\r\ncontinued"));
    EXPECT_FALSE(looksQuotedPrintable("<font face=Arial size=2>a=b</font>"));
    EXPECT_EQ(unescapeQuotedPrintable(bytesOf("a=3Db=3d=\nc=\r\nd =ZZ=4")), bytesOf("a=b=cd =ZZ=4"));
    EXPECT_EQ(unescapeQuotedPrintable(bytesOf("=E9=")), bytesOf({0xE9, '='}));
}

TEST(BodyDecodingTest, HtmlTextNeverFailsOnHostileBytes) {
    EXPECT_EQ(toUtf8(htmlText(bytesOf({0xFF, 0xFE, 0xFD, '<', 'p', '>'}), {})).empty(), false);
    EXPECT_EQ(toUtf8(htmlText(Bytes{}, {})), "");
    EXPECT_EQ(toUtf8(htmlText(bytesOf("<meta charset=no-such-charset><p>plain</p>"), {})), "plain");
}

}  // namespace
}  // namespace tessivo::text
