#include "tessivo/body/html_conversion.h"

#include <string>

#include <gtest/gtest.h>

#include "tessivo/foundation/value.h"

namespace tessivo::WindowsCodePageWangersNSStringAdditions {
namespace {

icu::UnicodeString text(const char* s) { return fromUtf8(s); }

TEST(StringFromHTMLTest, LaysOutTheDocument) {
    EXPECT_EQ(toUtf8(stringFromHTML(text("<html><head><style>p{}</style></head><body><p>One</p><p>Two &amp; three</p>"
                                       "<table><tr><td>a<td>b</table></body></html>"))),
              "One\n\nTwo & three\n\na\tb");
    EXPECT_EQ(toUtf8(stringFromHTML(text("<ul><li>x</li><li>y</li></ul>"))), "\u2022 x\n\u2022 y");
}

TEST(StringFromHTMLTest, EndTagsAndBreaksBecomeWhiteSpaceBeforeLayout) {
    // "</p>", "</div>" and "<br...>" are replaced by line feeds before the
    // layout, which then collapses them like any other white space.
    EXPECT_EQ(toUtf8(stringFromHTML(text("a</P>b"))), "a b");
    EXPECT_EQ(toUtf8(stringFromHTML(text("x<BR/>y<br class=\"z\">w"))), "x y w");
    EXPECT_EQ(toUtf8(stringFromHTML(text("<div>a</DIV>b"))), "a b");
    EXPECT_EQ(toUtf8(stringFromHTML(text("<pre>x<br>y</pre>"))), "x\ny");
}

TEST(StringFromHTMLTest, QuotedPrintableIsDecodedFirst) {
    EXPECT_EQ(toUtf8(stringFromHTML(text("<p>caf=C3=A9 =\r\nau lait</p>"))), "caf\u00E9 au lait");
    EXPECT_EQ(toUtf8(stringFromHTML(text("<b>1 =3D 1</b>"))), "1 = 1");
}

TEST(StringFromHTMLTest, AccentsSurviveAFailedQuotedPrintableDecode) {
    // "=ce" of the attribute reads as a byte that is not UTF-8, so the escaped
    // Latin 1 accents are read as Windows Latin 1, not turned into symbols.
    EXPECT_EQ(toUtf8(stringFromHTML(text("<p align=center>Caf=E9 cr=E8me br=FBl=E9e</p>"))), "Café crème brûlée");
}

TEST(StringFromHTMLTest, FailuresGiveEmptyText) {
    EXPECT_EQ(stringFromHTML(icu::UnicodeString()), u"");
    EXPECT_EQ(stringFromHTML(text("<html><head><title>t</title></head><body><br></body></html>")), u"");
}

TEST(StringByStrippingHTMLTest, TidiesTheLayout) {
    EXPECT_EQ(toUtf8(stringByStrippingHTML(text("<p>  One  </p><p>Two</p>"))), "One\n\nTwo");
    EXPECT_EQ(toUtf8(stringByStrippingHTML(text("<pre>  a \t\t b  \nx\n\n\n\ny\n\n</pre>"))), "a b\nx\n\ny");
    // Line breaks are collapsed before lines are trimmed.
    EXPECT_EQ(toUtf8(stringByStrippingHTML(text("<pre>a\n \n \n \nb</pre>"))), "a\n\n\n\nb");
    EXPECT_EQ(toUtf8(stringByStrippingHTML(text("<pre>\n\n \n \n \n</pre>"))), "");
    EXPECT_EQ(stringByStrippingHTML(icu::UnicodeString()), u"");
    icu::UnicodeString loneSurrogate(u"<p>a</p>");
    loneSurrogate.append(static_cast<char16_t>(0xD800));
    EXPECT_EQ(stringByStrippingHTML(loneSurrogate), u"");  // no UTF-8 form: no text, no fallback
}

TEST(StringByStrippingHTMLFallbackTest, StripsTagsAndReplacesEntities) {
    EXPECT_EQ(toUtf8(stringByStrippingHTMLFallback(text("<p>One</p><pre>x</pre>"))), "\nOne\n\nx\n");
    EXPECT_EQ(toUtf8(stringByStrippingHTMLFallback(text("<!-- c --><b>bold</b>"))), "bold");
    EXPECT_EQ(toUtf8(stringByStrippingHTMLFallback(text("<script type=\"t\">x</script>y<STYLE>s</style>z"))), "yz");
    EXPECT_EQ(toUtf8(stringByStrippingHTMLFallback(text("<param name=a><link rel=b><picture>"))), "\n\n\n");
    EXPECT_EQ(toUtf8(stringByStrippingHTMLFallback(text("&AMP;lt; &Nbsp;&copy;&#39;&trade;"))), "<  \u00A9&#39;\u2122");
    EXPECT_EQ(toUtf8(stringByStrippingHTMLFallback(text("a  \t b"))), "a  \t b");
    EXPECT_EQ(stringByStrippingHTMLFallback(icu::UnicodeString()), u"");
}

TEST(DecodeHTMLFormattingTagsTest, DecodesDoublyEscapedDecimalReferences) {
    EXPECT_EQ(decodeHTMLFormattingTags(text("it&amp;#8217;s")), u"it\u2019s");
    EXPECT_EQ(decodeHTMLFormattingTags(text("&amp;#65601;")), u"A");  // wraps to 16 bits
    EXPECT_EQ(decodeHTMLFormattingTags(text("&amp;65; &AMP;#66; &amp;#65;")), u"A B A");
    EXPECT_EQ(decodeHTMLFormattingTags(text("&amp;#x41; &amp;nbsp; &amp;#0; &amp;#-5; &amp;#1x;")),
              text("&amp;#x41; &amp;nbsp; &amp;#0; &amp;#-5; &amp;#1x;"));
}

TEST(IsHTMLTest, Rules) {
    EXPECT_FALSE(isHTML(text("<html></html>")));  // 13 characters, one marker
    EXPECT_TRUE(isHTML(text("<!DOCTYPE html>")));
    EXPECT_TRUE(isHTML(text("see <body> and <head>")));
    EXPECT_TRUE(isHTML(text("<html><body>x")));
    EXPECT_TRUE(isHTML(text("  <HTML>some text here</HTML>\n")));
    EXPECT_FALSE(isHTML(text("<html>a long text that ends elsewhere</html> and more text after it")));
    EXPECT_FALSE(isHTML(text("  <!doctyp  ")));
    EXPECT_FALSE(isHTML(icu::UnicodeString()));
    // One marker met twice is one marker; a marker cut by the end is none.
    EXPECT_FALSE(isHTML(text("text <body> text <BODY> text")));
    EXPECT_FALSE(isHTML(text("some words then <body> and <hea")));
    EXPECT_TRUE(isHTML(text("some words then <BoDy> and <hEaD")));
    // "</html>" may start anywhere in the last 19 characters and end at the end.
    EXPECT_TRUE(isHTML(text("<html>0123456789abcdef</html>")));
    EXPECT_TRUE(isHTML(text("<html></html>0123456789ab")));
    EXPECT_FALSE(isHTML(text("<html></html>0123456789abc")));
}

TEST(TypeIsHTMLTest, LooksForTheHtmlTag) {
    EXPECT_TRUE(typeIsHTML("<HTML>"));
    EXPECT_TRUE(typeIsHTML("text <Html lang=en>"));
    EXPECT_FALSE(typeIsHTML("<body>"));
    EXPECT_FALSE(typeIsHTML(nullptr));
}

TEST(ConvertingToHTMLTest, EscapesAndWraps) {
    EXPECT_EQ(stringByConvertingToHTML(text("a  b\tc\n")), u"a &nbsp;b&nbsp;&nbsp;&nbsp;&nbsp;c<br>");
    EXPECT_EQ(stringByConvertingToHTML(text("'<")), u"&#39;&lt;");
    EXPECT_EQ(stringByConvertingToHTML(text("a\r\nb\rc   d\"&")), u"a<br>b<br>c &nbsp; d&quot;&amp;");
    EXPECT_EQ(stringByConvertingToHTML(icu::UnicodeString()), u"");
    EXPECT_EQ(stringByConvertingToHTMLWithWrapAtColumn(text("x>"), 72),
              u"<div style=\"max-width: 72ch; word-wrap: break-word; overflow-wrap: break-word; "
              u"white-space: pre-wrap;\">x&gt;</div>");
    EXPECT_EQ(stringByConvertingToHTMLWithWrapAtColumn(text("x"), -3), u"x");
}

TEST(ConvertingToHTMLTest, PreTagKeepsWhiteSpace) {
    EXPECT_EQ(stringByConvertingToHTMLWithPreTag(icu::UnicodeString()), u"<pre></pre>");
    EXPECT_EQ(stringByConvertingToHTMLWithPreTag(text("a  <b>\n\t'\"&")), u"<pre>a  &lt;b&gt;\n\t&#39;&quot;&amp;</pre>");
    EXPECT_EQ(stringByConvertingToHTMLWithPreTagAndWrapAtColumn(text("x"), 40),
              u"<pre style=\"max-width: 40ch; white-space: pre-wrap; word-wrap: break-word; "
              u"overflow-wrap: break-word;\">x</pre>");
}

}  // namespace
}  // namespace tessivo::WindowsCodePageWangersNSStringAdditions
