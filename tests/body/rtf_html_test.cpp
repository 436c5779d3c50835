#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tessivo/body/rtf_wangers.h"

namespace tessivo {
namespace {


std::optional<std::string> extract(std::string_view rtf) {
    auto html = RTFWangers::extractHTMLFromEncapsulatedRTF(asBytes(rtf));
    if (!html) return std::nullopt;
    return toUtf8(*html);
}

// An Outlook-style header: at least 50 bytes, "\fromhtml" near the start.
const std::string kHeader = "{\\rtf1\\ansi\\ansicpg1252\\fromhtml1 \\fbidis \\deff0{\\fonttbl{\\f0\\fswiss Arial;}}";

TEST(EncapsulatedHTMLTest, RecognitionLooksAtTheFirst500AsciiBytes) {
    EXPECT_TRUE(RTFWangers::isEncapsulatedHTML(asBytes(kHeader)));
    const std::string shortRtf = "{\\rtf1\\fromhtml1" + std::string(33, ' ');
    ASSERT_EQ(shortRtf.size(), 49u);
    EXPECT_FALSE(RTFWangers::isEncapsulatedHTML(asBytes(shortRtf)));
    EXPECT_TRUE(RTFWangers::isEncapsulatedHTML(asBytes(shortRtf + " ")));
    EXPECT_FALSE(RTFWangers::isEncapsulatedHTML(asBytes("{\\rtf1" + std::string(494, ' ') + "\\fromhtml1}")));
    EXPECT_TRUE(RTFWangers::isEncapsulatedHTML(asBytes("{\\rtf1" + std::string(485, ' ') + "\\fromhtml1}")));
    EXPECT_FALSE(RTFWangers::isEncapsulatedHTML(asBytes("{\\rtf1\xE9\\fromhtml1" + std::string(60, ' '))));
    EXPECT_TRUE(RTFWangers::isEncapsulatedHTML(asBytes(kHeader + std::string(500, ' ') + "\xE9")));
    EXPECT_FALSE(RTFWangers::isEncapsulatedHTML(asBytes("{\\rtf1\\ansi\\fromtext" + std::string(60, ' '))));
}

TEST(EncapsulatedHTMLTest, TagGroupsYieldTheirText) {
    EXPECT_EQ(extract("{\\*\\htmltag64 <p>}"), "<p>");
    EXPECT_EQ(extract("{\\*\\htmltag84 a\\htmlrtf b\\htmlrtf0 c}"), "a c");
    EXPECT_EQ(extract("{\\*\\htmltag148 \\'e9}"), "'e9");
    // Text outside tag groups is RTF-only rendering.
    EXPECT_EQ(extract("{\\*\\htmltag64 <p>}Hello{\\*\\htmltag72 </p>}x"), "<p></p>");
    // Nested groups stay inside their tag group.
    EXPECT_EQ(extract("{\\*\\htmltag19 <a {x}b>}c"), "<a xb>");
}

TEST(EncapsulatedHTMLTest, ControlWordsAndLineBreaksAreDropped) {
    EXPECT_EQ(extract("{\\*\\htmltag0 a\\par b\\f0 c\\fs-20 d\r\ne}"), "abcde");
    // A number alone is dropped with its delimiter. Before a symbol only the
    // backslash goes: "\{" opens a group, "\\q" is the control word "\q".
    EXPECT_EQ(extract("{\\*\\htmltag0 x\\12 y\\{z\\\\q}"), "xyz");
    // Suppression also holds outside tag groups, until "\htmlrtf0".
    EXPECT_EQ(extract("\\htmlrtf {\\*\\htmltag0 hidden}\\htmlrtf0 {\\*\\htmltag0 shown}"), "shown");
}

TEST(EncapsulatedHTMLTest, TagGroupInTheLastTwelveCharactersIsIgnored) {
    EXPECT_EQ(extract("{\\*\\htmltag1 "), std::nullopt);
    EXPECT_EQ(extract("{\\*\\htmltag1 ab"), "ab");
}

TEST(EncapsulatedHTMLTest, NothingWithoutTagTextOrReadableBytes) {
    EXPECT_EQ(extract("{\\rtf1\\ansi Hello\\par}"), std::nullopt);
    EXPECT_EQ(extract("{\\*\\htmltag64}"), std::nullopt);
    // Not UTF-8: read as Windows-1252.
    EXPECT_EQ(extract("{\\*\\htmltag0 caf\xE9}"), "caf\xC3\xA9");
    EXPECT_EQ(extract("{\\*\\htmltag0 caf\xC3\xA9}"), "caf\xC3\xA9");
}

TEST(EncapsulatedHTMLTest, ExtractIfEncapsulatedChecksTheHeader) {
    const std::string body = "{\\*\\htmltag19 <html>}{\\*\\htmltag64 <p>}\\htmlrtf {\\htmlrtf0 Hi\\htmlrtf }"
                             "\\htmlrtf0 {\\*\\htmltag72 </p>}\\htmlrtf\\par\\htmlrtf0 }";
    auto html = RTFWangers::extractHTMLIfEncapsulated(asBytes(kHeader + body));
    ASSERT_TRUE(html);
    EXPECT_EQ(toUtf8(*html), "<html><p></p>");
    const std::string plain = "{\\rtf1\\ansi\\ansicpg1252\\fromtext \\deff0{\\fonttbl{\\f0\\fswiss Arial;}}";
    EXPECT_FALSE(RTFWangers::extractHTMLIfEncapsulated(asBytes(plain + body)));
    EXPECT_EQ(RTFWangers::generateRTFColourTagsFromEmbeddedHTMLInRTF(u"{\\rtf1}"), icu::UnicodeString(u"{\\rtf1}"));
}

}  // namespace
}  // namespace tessivo
