#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tessivo/foundation/rtf_text.h"

namespace tessivo {
namespace {


// The text of an RTF document as UTF-8, or "<nothing>".
std::string text(std::string_view rtf) {
    auto t = rtfPlainText(asBytes(rtf));
    return t ? toUtf8(*t) : "<nothing>";
}

// A document body inside a typical header.
std::string doc(std::string_view body) {
    return "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\fswiss Arial;}}" + std::string(body) + "}";
}

TEST(RtfTextTest, RefusesBytesThatAreNotRtf) {
    EXPECT_EQ(text(""), "<nothing>");
    EXPECT_EQ(text("{\\rt"), "<nothing>");
    EXPECT_EQ(text(" {\\rtf1 x}"), "<nothing>");
    EXPECT_EQ(text("Hello"), "<nothing>");
    EXPECT_EQ(text("{\\rtf1}"), "");
}

TEST(RtfTextTest, BreaksTabsAndTables) {
    EXPECT_EQ(text(doc("a\\par b\\line c\\tab d\\page e")), "a\nb\nc\td\fe");
    // A backslash before a line break is a paragraph; bare line breaks are not text.
    EXPECT_EQ(text(doc("a\\\nb\r\nc")), "a\nbc");
    EXPECT_EQ(text(doc("\\trowd\\cellx100\\cellx200 a\\cell b\\cell\\row c")), "a\tb\t\nc");
}

TEST(RtfTextTest, SpecialCharacters) {
    EXPECT_EQ(text(doc("\\emdash\\endash\\bullet\\lquote\\rquote\\ldblquote\\rdblquote")),
              "\u2014\u2013\u2022\u2018\u2019\u201C\u201D");
    EXPECT_EQ(text(doc("a\\~b\\-c\\_d\\\\e\\{f\\}")), "a\u00A0bc\u2011d\\e{f}");
}

TEST(RtfTextTest, DestinationsWithoutText) {
    EXPECT_EQ(text("{\\rtf1{\\fonttbl{\\f0 Arial;}}{\\colortbl;\\red255\\green0\\blue0;}"
                   "{\\stylesheet{\\s0 Normal;}}{\\info{\\title T}{\\author A}}"
                   "{\\header H}{\\footerr F}{\\*\\generator G;}{\\*\\unknown U}body}"),
              "body");
    EXPECT_EQ(text(doc("a{\\pict\\wmetafile8 0a0b{}}b{\\object{\\*\\objdata 0102}{\\result r}}c")), "abrc");
    // A picture in binary: its bytes may hold braces.
    EXPECT_EQ(text(doc("a{\\pict\\bin4 }}{{}b")), "ab");
    // Only "\bin" itself carries data; longer words that begin so do not.
    EXPECT_EQ(text(doc("a{\\*\\x\\binder1 {}}b")), "ab");
    EXPECT_EQ(text(doc("a\\bin3 xyzb")), "ab");
}

TEST(RtfTextTest, SkippedGroupsEndAtTheirOwnBraceWhereverItFalls) {
    // Nested braces and escaped ones at every position within eight bytes.
    for (std::size_t n = 0; n < 20; ++n) {
        const std::string pad(n, 'x');
        EXPECT_EQ(text(doc("a{\\*\\x " + pad + "{" + pad + "\\}" + pad + "}" + pad + "}b")), "ab") << n;
    }
}

TEST(RtfTextTest, FieldsShowTheirResult) {
    EXPECT_EQ(text(doc("See {\\field{\\*\\fldinst {HYPERLINK \"https://example.com/\"}}{\\fldrslt {\\ul example}}}.")),
              "See example.");
    EXPECT_EQ(text(doc("{\\field{\\fldinst PAGE}{\\fldrslt 3}}")), "3");
}

TEST(RtfTextTest, UnicodePairsShowTheirAnsiText) {
    // "\upr" holds an ANSI text and a starred Unicode twin; one copy shows.
    EXPECT_EQ(text(doc("{\\upr{caf\\'e9}{\\*\\ud{caf\\u233?}}}")), "caf\u00E9");
}

TEST(RtfTextTest, EncapsulatedHtmlShowsWhatTheRtfShows) {
    EXPECT_EQ(text("{\\rtf1\\ansi\\fromhtml1 \\deff0{\\fonttbl{\\f0\\fswiss Arial;}}"
                   "{\\*\\htmltag19 <html>}{\\*\\htmltag64 <p>}\\htmlrtf {\\htmlrtf0 Hello "
                   "{\\*\\htmltag84 &nbsp;}\\htmlrtf \\~\\htmlrtf0 there{\\*\\htmltag72 </p>}\\htmlrtf\\par}\\htmlrtf0 }"),
              "Hello \u00A0there\n");
}

TEST(RtfTextTest, CodePageEscapes) {
    EXPECT_EQ(text(doc("caf\\'e9 \\'80")), "caf\u00E9 \u20AC");
    EXPECT_EQ(text("{\\rtf1\\ansi\\ansicpg1251 \\'cf\\'f0\\'e8}"), "\u041F\u0440\u0438");
    // The font's character set wins over the document's code page.
    EXPECT_EQ(text("{\\rtf1\\ansi\\ansicpg1252{\\fonttbl{\\f0 Arial;}{\\f1\\fcharset204 Arial Cyr;}}"
                   "\\f0\\'e9{\\f1\\'e9}\\'e9}"),
              "\u00E9\u0439\u00E9");
    EXPECT_EQ(text("{\\rtf1\\mac \\'8e}"), "\u00E9");
    EXPECT_EQ(text("{\\rtf1\\pc \\'82}"), "\u00E9");
    // Unescaped bytes above ASCII are read in the same code page.
    EXPECT_EQ(text("{\\rtf1\\ansi\\ansicpg1251 \xcf}"), "\u041F");
}

TEST(RtfTextTest, MultiByteRunsDecodeTogether) {
    // Shift-JIS "日本" and a trail byte written as plain ASCII ("\'83e" is テ).
    EXPECT_EQ(text("{\\rtf1\\ansi\\ansicpg932 \\'93\\'fa\\'96\\'7b\\'83e}"), "\u65E5\u672C\u30C6");
    EXPECT_EQ(text("{\\rtf1\\ansi{\\fonttbl{\\f0\\fcharset134 SimSun;}}\\f0 \\'d6\\'d0\\'ce\\'c4}"), "\u4E2D\u6587");
    EXPECT_EQ(text("{\\rtf1\\ansi\\ansicpg949 \\'c7\\'d1}"), "\uD55C");
    EXPECT_EQ(text("{\\rtf1\\ansi\\ansicpg950 \\'a4\\'a4}"), "\u4E2D");
    EXPECT_EQ(text("{\\rtf1\\ansi\\ansicpg65001 \\'e2\\'82\\'ac}"), "\u20AC");
    // A group boundary ends a run.
    EXPECT_EQ(text("{\\rtf1\\ansi\\ansicpg932 {\\'93}\\'fa}"), "\uFFFD\uFFFD");
}

TEST(RtfTextTest, UnicodeWithFallback) {
    EXPECT_EQ(text(doc("\\u8364?x")), "\u20ACx");
    EXPECT_EQ(text(doc("\\uc2\\u8364\\'80\\'80x")), "\u20ACx");
    EXPECT_EQ(text(doc("\\uc0\\u8364 x")), "\u20ACx");
    EXPECT_EQ(text(doc("\\u-3913?")), "\uF0B7");
    EXPECT_EQ(text(doc("\\u-10179?\\u-8704?")), "\U0001F600");
    // A group ends the fallback; \uc is scoped to its group.
    EXPECT_EQ(text(doc("{\\uc3\\u8364}abc")), "\u20ACabc");
    EXPECT_EQ(text(doc("{\\uc3 x}\\u8364?bc")), "x\u20ACbc");
}

TEST(RtfTextTest, DamagedDocumentsYieldWhatWasRead) {
    EXPECT_EQ(text("{\\rtf1 Hello {\\b world"), "Hello world");
    EXPECT_EQ(text("{\\rtf1 a\\'"), "a");
    EXPECT_EQ(text("{\\rtf1 a\\'zzb}"), "azzb");
    EXPECT_EQ(text("{\\rtf1 a\\bin999999 bc}"), "a");
    // The document ends with its outermost group: padding after it is not text.
    EXPECT_EQ(text(std::string("{\\rtf1 a}b}\0\0\0", 13)), "a");
    EXPECT_EQ(text(std::string("{\\rtf1 a\0b", 10)), "ab");
    EXPECT_EQ(text("{\\rtf1 a\\par" + std::string(100000, '\0')), "a\n");
    // Deep nesting is read without recursion or unbounded state.
    EXPECT_EQ(text("{\\rtf1 " + std::string(100000, '{') + "x" + std::string(100000, '}') + "y}"), "xy");
}

TEST(RtfTextTest, ListTextIsKept) {
    EXPECT_EQ(text(doc("{\\listtext\\f0 1.\\tab}One\\par{\\*\\listpicture x}{\\pntext \\bullet\\tab}Two")),
              "1.\tOne\n\u2022\tTwo");
}

}  // namespace
}  // namespace tessivo
