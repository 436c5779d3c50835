#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tessivo/mime/quoted_printable.h"

namespace tessivo {
namespace {


// The decoded text, or "<fail>"; checks the NUL terminator and reported length.
std::string decode(std::string_view in, bool underscoreIsSpace = false) {
    std::size_t length = 12345;
    const auto out = quoted_printable_decode(asBytes(in), length, underscoreIsSpace);
    if (!out) return "<fail>";
    EXPECT_EQ(out->size(), length + 1);
    EXPECT_EQ(out->back(), 0);
    return std::string(out->begin(), out->begin() + static_cast<std::ptrdiff_t>(length));
}

TEST(QuotedPrintableDecodeTest, HexEscapesAcceptUpperCaseOnly) {
    EXPECT_EQ(decode("a=3Db"), "a=b");
    EXPECT_EQ(decode("Caf=E9"), "Caf\xE9");
    EXPECT_EQ(decode("=00x"), std::string("\0x", 2));
    EXPECT_EQ(decode("a=3db"), "<fail>");
    EXPECT_EQ(decode("=e9"), "<fail>");
    EXPECT_EQ(decode("=3G"), "<fail>");
    EXPECT_EQ(decode("=G3"), "<fail>");
    EXPECT_EQ(decode("x=3"), "<fail>");  // one hex digit, then the end
    EXPECT_EQ(decode("=="), "<fail>");
}

TEST(QuotedPrintableDecodeTest, SoftLineBreaksProduceNothing) {
    EXPECT_EQ(decode("a=\r\nb"), "ab");
    EXPECT_EQ(decode("a=\nb"), "ab");
    EXPECT_EQ(decode("a=\rb"), "ab");
    EXPECT_EQ(decode("a=\r\rb"), "a\rb");  // only one line end is taken
    EXPECT_EQ(decode("a= \t \r\nb"), "ab");
    EXPECT_EQ(decode("a= \nb"), "ab");
    EXPECT_EQ(decode("a=\r"), "a");  // CR as the last byte
    EXPECT_EQ(decode("a=\r\n"), "a");  // CR LF as the last two bytes: one line end
    // After blanks, any byte that is not invalid is taken as the line end.
    EXPECT_EQ(decode("a= Fb"), "ab");
    EXPECT_EQ(decode("a=  "), "<fail>");   // blanks run to the end
    EXPECT_EQ(decode("a= xb"), "<fail>");  // invalid byte after blanks
    EXPECT_EQ(decode(std::string_view("a= \0", 4)), "<fail>");
}

TEST(QuotedPrintableDecodeTest, NulAndFinalEqualsEndTheInput) {
    EXPECT_EQ(decode(std::string_view("ab\0=zz", 6)), "ab");
    EXPECT_EQ(decode(std::string_view("ab=\0zz", 6)), "ab");
    EXPECT_EQ(decode("ab="), "ab");
    EXPECT_EQ(decode("="), "");
    EXPECT_EQ(decode("=\n="), "");
    EXPECT_EQ(decode(""), "");
}

TEST(QuotedPrintableDecodeTest, UnderscoreBecomesSpaceOnlyWhenAsked) {
    EXPECT_EQ(decode("a_b=5F"), "a_b_");
    EXPECT_EQ(decode("a_b=5F", true), "a b_");
}

TEST(QuotedPrintableDecodeTest, OtherBytesAreCopied) {
    EXPECT_EQ(decode("line one\r\nline\ttwo \xFF"), "line one\r\nline\ttwo \xFF");
}

}  // namespace
}  // namespace tessivo
