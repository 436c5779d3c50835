#include "tessivo/foundation/html_text.h"

#include <string>

#include <gtest/gtest.h>

namespace tessivo {
namespace {

std::string render(std::string_view html, HtmlTextOptions options = {}) {
    const auto text = htmlToPlainText(html, options);
    if (!text) return "<failed>";
    std::string out;
    text->toUTF8String(out);
    return out;
}

TEST(HtmlTextTest, BlocksBreaksAndParagraphs) {
    EXPECT_EQ(render("<p>One</p><p>Two</p>"), "One\n\nTwo");
    EXPECT_EQ(render("a<div>b</div>c"), "a\nb\nc");
    EXPECT_EQ(render("<div><div><div>deep</div></div></div>next"), "deep\nnext");
    EXPECT_EQ(render("x<br>y<BR/>z"), "x\ny\nz");
    EXPECT_EQ(render("x<br><br>y"), "x\n\ny");
    EXPECT_EQ(render("<h1>Title</h1>text"), "Title\n\ntext");
    EXPECT_EQ(render("a</p>b"), "a\n\nb");  // a lone end tag is an empty paragraph
    EXPECT_EQ(render("a</br>b"), "a\nb");
    EXPECT_EQ(render("a<hr>b"), "a\nb");
}

TEST(HtmlTextTest, WhiteSpaceCollapsesOutsidePre) {
    EXPECT_EQ(render("  a \r\n\t b  "), "a b");
    EXPECT_EQ(render("<p>  lead</p><p>trail  </p>"), "lead\n\ntrail");
    EXPECT_EQ(render("a <b>bold</b> c"), "a bold c");
    EXPECT_EQ(render("a<b> </b>c"), "a c");
    EXPECT_EQ(render("a&nbsp;&nbsp;b"), "a\u00A0\u00A0b");
    EXPECT_EQ(render("<pre>\n  a  b\r\n c</pre>d"), "  a  b\n c\nd");
    EXPECT_EQ(render("<textarea>\nx &amp;  y</textarea>"), "x &  y");
    EXPECT_EQ(render("<xmp><b>&amp;</b></xmp>"), "<b>&amp;</b>");
    EXPECT_EQ(render("text<plaintext><p>raw</p>"), "text\n<p>raw</p>");
}

TEST(HtmlTextTest, ListsAndTables) {
    EXPECT_EQ(render("<ul><li>one<li>two</ul>after"), "\u2022 one\n\u2022 two\nafter");
    EXPECT_EQ(render("<ol start=\"3\"><li>x</li><li value=\"9\">y<li>z</ol>"), "3. x\n9. y\n10. z");
    EXPECT_EQ(render("<ul><li><p>para</p></li><li></li><li>last</ul>"), "\u2022 para\n\n\u2022 \n\u2022 last");
    EXPECT_EQ(render("<ul><li>a<ul><li>b</ul></ul>"), "\u2022 a\n\u2022 b");
    EXPECT_EQ(render("<table><tr><td>a</td><td>b</td></tr><tr><td>c<td><td>e</table>after"), "a\tb\nc\t\te\nafter");
    EXPECT_EQ(render("<table><td><p>x</p></td><td><div>y</div></td></table>"), "x\ty");
    EXPECT_EQ(render("<table><tr><td>a<table><tr><td>in1<td>in2</table></td><td>b</table>"), "a\nin1\tin2\tb");
    EXPECT_EQ(render("<td>no</td><td>table</td>"), "notable");
}

TEST(HtmlTextTest, ImpliedEndTags) {
    EXPECT_EQ(render("<p>a<table><tr><td>b</table>c"), "a\n\nb\nc");          // a table ends the paragraph
    EXPECT_EQ(render("<dl><dt>term<dd>meaning<dt>next</dl>"), "term\nmeaning\nnext");
    EXPECT_EQ(render("<ul><li>a<div><li>b</div></ul>"), "\u2022 a\n\u2022 b");  // div does not shield the item
    EXPECT_EQ(render("<ol><li>a<ol><li>b</ol><li>c</ol>"), "1. a\n1. b\n2. c");
    EXPECT_EQ(render("<h1>a<h2>b</h2>c"), "a\n\nb\n\nc");
    EXPECT_EQ(render("<select><option>a<option>b</select>"), "a\nb");
    EXPECT_EQ(render("<b>a<div>b</b>c</div>d"), "a\nbc\nd");  // a block between ignores the inline end tag
}

TEST(HtmlTextTest, SpacesAroundBreaksAndSeparators) {
    EXPECT_EQ(render("a <br> b"), "a\nb");
    EXPECT_EQ(render("<table><tr><td> a </td><td> b </td></tr></table>"), "a\tb");
    EXPECT_EQ(render("<p>&nbsp;x</p>"), "\u00A0x");
    EXPECT_EQ(render("a<span> </span><div> </div> b"), "a\nb");
}

TEST(HtmlTextTest, HiddenContentIsDropped) {
    EXPECT_EQ(render("<html><head><title>T</title><style>p{color:red}</style><meta charset=utf-8></head>"
                     "<body><script>if (a<b) x();</script>shown<template>t</template></body></html>"),
              "shown");
    EXPECT_EQ(render("a<!-- c <p>x</p> -->b<!---->c<!-->d"), "abcd");
    EXPECT_EQ(render("<!DOCTYPE html><?xml version=\"1.0\"?>a<![if !supportLists]>1.<![endif]>b"), "a1.b");
    EXPECT_EQ(render("<div style=\"color:red; DISPLAY : None !important\">x<p>y</p></div>z"), "z");
    EXPECT_EQ(render("<span hidden>x</span><span style='mso-display:none'>y</span>"), "y");
    EXPECT_EQ(render("<p style=\"display:none\">gone<div>shown</div>"), "shown");  // div ends the p
    EXPECT_EQ(render("<span style=\"display:none\"><b>x</span>y</b>"), "y");
    EXPECT_EQ(render("<iframe><p>no</p></iframe>a<svg><text>no</text></svg>b"), "ab");
}

TEST(HtmlTextTest, CharacterReferences) {
    EXPECT_EQ(render("&amp;&lt;&gt;&quot;&apos;&copy;&euro;"), "&<>\"'\u00A9\u20AC");
    EXPECT_EQ(render("&amp &copy2 &notit; &AMP;"), "& \u00A92 \u00ACit; &");
    EXPECT_EQ(render("&nosuch; & &#; &#x;"), "&nosuch; & &#; &#x;");
    EXPECT_EQ(render("&#65;&#x42;&#X43"), "ABC");
    EXPECT_EQ(render("&#0;&#xD800;&#1114112;&#150;&#x80;"), "\uFFFD\uFFFD\uFFFD\u2013\u20AC");
    EXPECT_EQ(render("&NotEqualTilde;"), "\u2242\u0338");
    EXPECT_EQ(render("a&#32;&#10;b"), "a b");
    EXPECT_EQ(render("<pre>a&#10;b</pre>"), "a\nb");
}

TEST(HtmlTextTest, ImageAltTextOnlyWhenAsked) {
    EXPECT_EQ(render("a<img alt=\"logo\">b"), "ab");
    EXPECT_EQ(render("a <img alt=\"R&amp;D logo\"> b", {.imageAltText = true}), "a R&D logo b");
}

TEST(HtmlTextTest, BrokenMarkup) {
    EXPECT_EQ(render("a < b and c<3"), "a < b and c<3");
    EXPECT_EQ(render("a</>b</ x>c"), "abc");
    EXPECT_EQ(render("a<b title=\"x>y\">c</b>"), "ac");
    EXPECT_EQ(render("a<p class=\"unterminated>b"), "a");  // a tag cut off at the end is dropped
    EXPECT_EQ(render("a<!-- never closed <p>b"), "a");
    EXPECT_EQ(render("<style>never closed"), "");
    EXPECT_EQ(render(std::string_view("a\0b", 3)), "ab");
    EXPECT_EQ(render(""), "");
    EXPECT_EQ(render("<p><p><p>"), "");
}

// Content inside a table but outside its cells goes in front of the table,
// as the HTML5 tree builder places it.
TEST(HtmlTextTest, MisplacedTableContentIsLaidOutFromTheTree) {
    EXPECT_EQ(render("<table><tr><td>cell</td>stray</tr></table>after"), "stray\ncell\nafter");
    EXPECT_EQ(render("<p>x<table>&amp;<tr><td>a<td>b</table>"), "x&\na\tb");  // without a doctype the table stays in the p
    EXPECT_EQ(render("<table><b>bold</b><tr><td>c</td></tr></table>"), "bold\nc");
    EXPECT_EQ(render("<table><tr><td>a</td></tr><p>para</p></table>"), "para\n\na");
    EXPECT_EQ(render("<table> \n <tr> <td>a</td> </tr> </table>"), "a");  // white space stays, one pass
}

// Both readings give the same text where the markup needs no tree repairs.
TEST(HtmlTextTest, TreeAndOnePassAgreeOnWellFormedMarkup) {
    const char* documents[] = {
        "<html><head><title>T</title><style>p{}</style></head><body><p>One &amp; <b>two</b></p><p>Three</p></body></html>",
        "a<div>b<br>c</div>d<hr>e",
        "<ul><li>one</li><li>two<ol start=\"4\"><li>x</li><li value=\"9\">y</li></ol></li></ul>after",
        "<table><tr><td> a </td><td><p>b</p></td></tr><tr><td>c</td><td></td><td>e</td></tr></table>z",
        "<pre>\n  a  b\n c</pre><textarea>\nx &amp; y</textarea><dl><dt>t</dt><dd>d</dd></dl>",
        "<div style=\"display:none\">gone</div><span hidden>gone</span><template>t</template>x&nbsp;y"
        "<img alt=\"logo &amp; co\"> <script>s()</script><h2>Head</h2>tail",
    };
    for (const char* html : documents) {
        SCOPED_TRACE(html);
        for (const bool alt : {false, true})
            EXPECT_EQ(render(html, {.imageAltText = alt, .buildTree = true}), render(html, {.imageAltText = alt}));
    }
}

TEST(HtmlTextTest, DeepNestingStaysBounded) {
    std::string html;
    for (int i = 0; i < 20000; ++i) html += "<div><span>";
    html += "x";
    for (int i = 0; i < 20000; ++i) html += "</span></div>";
    html += "y";
    EXPECT_EQ(render(html), "x\ny");
}

TEST(HtmlTextTest, InvalidUtf8IsNoDocument) {
    EXPECT_FALSE(htmlToPlainText("caf\xE9"));                  // Windows-1252 e-acute
    EXPECT_FALSE(htmlToPlainText("\xED\xA0\x80"));             // encoded surrogate
    EXPECT_FALSE(htmlToPlainText("\xC0\xAF"));                 // overlong
    EXPECT_FALSE(htmlToPlainText("abcdefgh\xF0\x9F\x98"));     // cut short after an ASCII block
    EXPECT_EQ(render("caf\xC3\xA9 \xF0\x9F\x98\x80"), "caf\u00E9 \U0001F600");
}

}  // namespace
}  // namespace tessivo
