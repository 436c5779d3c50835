// Body selection: which stream a message is indexed from, how plain bodies
// are decoded, and what becomes of files that are not messages.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "support/bytes.h"
#include "support/cfb_writer.h"
#include "support/corpus.h"
#include "support/lzfu_encoder.h"
#include "tessivo/foundation/html_text.h"
#include "tessivo/importer/importer.h"
#include "tessivo/importer/rich_body.h"

namespace tessivo::importer {
namespace {

using testing::CfbWriter;
using testing::utf16le;
using testing::bytesOf;

constexpr const char* kRtfBody = "__substg1.0_10090102";
constexpr const char* kSecondRtfBody = "__substg1.0_10080102";
constexpr const char* kHtmlBody = "__substg1.0_10130102";
constexpr const char* kUnicodeBody = "__substg1.0_1000001F";
constexpr const char* kEightBitBody = "__substg1.0_1000001E";

Bytes compressedRtf(std::string_view rtf) { return testing::lzfuCompress(bytesOf(rtf)); }

const char* const kRtfWithText = R"({\rtf1\ansi\deff0{\fonttbl{\f0 Arial;}}\f0 Quarterly figures attached\par})";
const char* const kRtfWithoutText = R"({\rtf1\ansi\deff0{\fonttbl{\f0 Arial;}}{\colortbl;\red0\green0\blue0;}\f0\fs20})";

// The text up to its first NUL: stream bytes are whole sectors, so decoded
// plain bodies carry NUL padding that the importer passes on unchanged.
icu::UnicodeString beforePadding(const icu::UnicodeString& text) {
    const int32_t nul = text.indexOf(char16_t(0));
    return nul < 0 ? text : icu::UnicodeString(text, 0, nul);
}

using Streams = std::vector<std::pair<const char*, Bytes>>;

Bytes messageOf(const Streams& streams) {
    CfbWriter w;
    for (const auto& [name, data] : streams) w.addStream(name, data);
    return w.build().bytes;
}

class ImporterFile : public ::testing::Test {
protected:
    std::string write(const Bytes& bytes, const std::string& name) {
        const std::string path = ::testing::TempDir() + name;
        testing::writeFile(path, bytes);
        paths_.push_back(path);
        return path;
    }
    void TearDown() override {
        for (const auto& p : paths_) std::remove(p.c_str());
    }

private:
    std::vector<std::string> paths_;
};

// Which body a message is indexed from: compressed RTF, the second RTF stream
// when the first is empty or missing, HTML, Unicode text, then 8-bit text,
// each tried only when the bodies before it give no text.
TEST(BodySelection, FirstBodyWithTextWins) {
    const std::string_view rtfText = "Quarterly figures attached";
    Bytes unknownHeader = compressedRtf(kRtfWithText);
    unknownHeader[8] = 'X';
    // HTML that is not UTF-8 is not tried in another character set; markup only
    // gives nothing. Both fill whole small sectors, so carry no NUL padding.
    constexpr std::string_view latin1Html =
        "<html><body><p>caf\xE9 cr\xE8me br\xFBl\xE9" "e au d\xE9jeuner.</p> </body></html>";
    constexpr std::string_view markupOnly = "<html><head><title>No</title></head><body><br><hr></body></html>";
    static_assert(latin1Html.size() % 64 == 0 && markupOnly.size() % 64 == 0);
    struct Case {
        const char* what;
        Streams streams;
        std::string_view text;
        bool whole = true;  // false: text is a part of what a rich body gives
    };
    const Case cases[] = {
        {"RTF wins",
         {{kRtfBody, compressedRtf(kRtfWithText)},
          {kHtmlBody, bytesOf("<p>from html</p>")},
          {kUnicodeBody, utf16le("from unicode")}},
         rtfText, false},
        {"RTF without text, then HTML",
         {{kRtfBody, compressedRtf(kRtfWithoutText)},
          {kHtmlBody, bytesOf("<html><body><p>from html</p></body></html>")},
          {kUnicodeBody, utf16le("from unicode")}},
         "from html", false},
        {"RTF without text, then Unicode",
         {{kRtfBody, compressedRtf(kRtfWithoutText)},
          {kUnicodeBody, utf16le("from unicode")},
          {kEightBitBody, bytesOf("from 8-bit")}},
         "from unicode"},
        {"second RTF when the first is empty",
         {{kRtfBody, {}}, {kSecondRtfBody, compressedRtf(kRtfWithText)}, {kUnicodeBody, utf16le("from unicode")}},
         rtfText, false},
        {"second RTF when the first is missing", {{kSecondRtfBody, compressedRtf(kRtfWithText)}}, rtfText, false},
        {"an unusable first RTF hides the second",
         {{kRtfBody, compressedRtf(kRtfWithoutText)},
          {kSecondRtfBody, compressedRtf(kRtfWithText)},
          {kUnicodeBody, utf16le("from unicode")}},
         "from unicode"},
        {"uncompressed RTF",
         {{kRtfBody, testing::lzfuStore(bytesOf(kRtfWithText))}, {kHtmlBody, bytesOf("<div>from html</div>")}},
         "from html", false},
        {"unknown RTF header",
         {{kRtfBody, unknownHeader}, {kHtmlBody, bytesOf("<div>from html</div>")}},
         "from html", false},
        {"HTML not UTF-8", {{kHtmlBody, bytesOf(latin1Html)}, {kEightBitBody, bytesOf("from 8-bit")}}, "from 8-bit"},
        {"HTML without text", {{kHtmlBody, bytesOf(markupOnly)}, {kEightBitBody, bytesOf("from 8-bit")}}, "from 8-bit"},
        {"empty Unicode body", {{kUnicodeBody, {}}, {kEightBitBody, bytesOf("from 8-bit")}}, "from 8-bit"},
        {"8-bit UTF-8", {{kEightBitBody, bytesOf("caf\xC3\xA9")}}, "caf\xC3\xA9"},
        {"8-bit Windows-1252",
         {{kEightBitBody, bytesOf("caf\xE9 \x80 \x93quoted\x94")}},
         "caf\xC3\xA9 \xE2\x82\xAC \xE2\x80\x9Cquoted\xE2\x80\x9D"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Result result = extractText(ByteView(messageOf(c.streams)));
        EXPECT_EQ(result.outcome, Outcome::Text) << result.reason;
        const std::string text = toUtf8(beforePadding(result.text));
        if (c.whole)
            EXPECT_EQ(text, c.text);
        else
            EXPECT_NE(text.find(c.text), std::string::npos) << text;
        EXPECT_EQ(text.find('<'), std::string::npos) << text;
    }
}

TEST(PlainBodies, TextIsPassedOnWithItsPadding) {
    const Result result = extractText(ByteView(messageOf({{kUnicodeBody, utf16le("  padded  ")}})));
    ASSERT_EQ(result.outcome, Outcome::Text);
    // 20 bytes in a 64-byte small sector: 32 code units, the last 22 NUL.
    EXPECT_EQ(result.text.length(), 32);
    EXPECT_EQ(icu::UnicodeString(result.text, 0, 10), icu::UnicodeString(u"  padded  "));
    EXPECT_EQ(result.text.charAt(31), u'\0');
}

TEST(Outcomes, MessagesWithoutBodyAndFilesThatAreNotMessages) {
    const Bytes noBody = messageOf({{"__substg1.0_0037001F", utf16le("Subject only")}, {kUnicodeBody, {}}});
    EXPECT_EQ(extractText(ByteView(noBody)).outcome, Outcome::NoBody);

    const Bytes empty;
    EXPECT_EQ(extractText(ByteView(empty)).outcome, Outcome::NotMessage);
    const Bytes shortFile(511, 0);
    const Result shortResult = extractText(ByteView(shortFile));
    EXPECT_EQ(shortResult.outcome, Outcome::NotMessage);
    EXPECT_NE(shortResult.reason.find("512"), std::string::npos) << shortResult.reason;
    const Bytes text(4096, 'x');
    const Result textResult = extractText(ByteView(text));
    EXPECT_EQ(textResult.outcome, Outcome::NotMessage);
    EXPECT_NE(textResult.reason.find("signature"), std::string::npos) << textResult.reason;

    // A valid header over a body cut off by truncation gives no text.
    Bytes truncated = messageOf({{kUnicodeBody, utf16le(std::string(3000, 'a'))}});
    truncated.resize(600);
    EXPECT_NE(extractText(ByteView(truncated)).outcome, Outcome::Text);
}

TEST_F(ImporterFile, ImportFileStoresTextForAcceptedTypesOnly) {
    const std::string path = write(messageOf({{kEightBitBody, bytesOf("hello")}}), "importer_hello.msg");

    for (const auto* type : {u"com.orvanel.tessivo.msg", u"com.orvanel.tessivopro.msg"}) {
        Dictionary attributes;
        ASSERT_TRUE(importFile(type, path, attributes));
        ASSERT_EQ(attributes.size(), 1u);
        EXPECT_EQ(beforePadding(*attributes.get(kMDItemTextContent)->string()), icu::UnicodeString(u"hello"));
    }
    for (const auto* type : {u"com.orvanel.Tessivo.msg", u"COM.ORVANEL.TESSIVO.MSG", u"com.orvanel.tessivo.msg ",
                             u"com.microsoft.outlook.msg", u""}) {
        Dictionary attributes;
        EXPECT_FALSE(importFile(type, path, attributes));
        EXPECT_TRUE(attributes.empty());
    }
}

TEST_F(ImporterFile, FilesThatGiveNoTextSetNothing) {
    const std::vector<std::string> paths = {
        write({}, "importer_empty.msg"),
        write(Bytes(100, 0xD0), "importer_short.msg"),
        write(messageOf({{"__substg1.0_0037001F", utf16le("Subject only")}}), "importer_nobody.msg"),
        ::testing::TempDir() + "importer_does_not_exist.msg",
        ::testing::TempDir(),
    };
    for (const auto& path : paths) {
        Dictionary attributes;
        EXPECT_FALSE(importFile(kContentTypeMsg, path, attributes)) << path;
        EXPECT_TRUE(attributes.empty()) << path;
    }
    const Result missing = extractText(paths[3]);
    EXPECT_EQ(missing.outcome, Outcome::Unreadable);
    EXPECT_EQ(missing.reason, "cannot open: No such file or directory");
    EXPECT_EQ(extractText(paths[0]).outcome, Outcome::NotMessage);
    EXPECT_EQ(extractText(paths[2]).outcome, Outcome::NoBody);
}

TEST(RichBodyConverters, AnswerNothingForEmptyOrForeignBytes) {
    const Bytes empty;
    EXPECT_FALSE(rtfBodyText(empty));
    EXPECT_FALSE(htmlBodyText(empty));
    EXPECT_FALSE(rtfBodyText(bytesOf("LZFu")));  // shorter than a header
    EXPECT_FALSE(rtfBodyText(Bytes(16, 0)));
    EXPECT_FALSE(rtfBodyText(compressedRtf(kRtfWithoutText)));
    EXPECT_FALSE(htmlBodyText(bytesOf("\xFF\xFE<p>x</p>")));

    // Sector padding after a compressed body does not change its text.
    Bytes padded = compressedRtf(kRtfWithText);
    const auto plain = rtfBodyText(padded);
    padded.resize(4096, 0);
    ASSERT_TRUE(plain);
    EXPECT_EQ(rtfBodyText(padded), plain);
}

// The zeros of a cut file, counted rather than stored, give the text that
// storing them would: NULs the one-pass HTML reading drops, two of which a
// quoted-printable "%" at the end may take, and which count toward the size
// that decides whether gumbo's tree may be built (4 MB).
TEST(RichBodyConverters, HtmlZeroTailReadsAsStoredZeros) {
    const std::string tableText = "<table>outside <textarea>q";  // laid out from the tree, where NULs are U+FFFD
    for (const std::string& html : std::vector<std::string>{"<p>x</p>", "a=", "a=4", "100%", "x&", "<br", "<p title=\"a",
                                                            "<!-- c", "<pre>y", "caf=C3=A9", tableText}) {
        for (const std::uint64_t zeros : {0ull, 1ull, 2ull, 3ull, 64ull}) {
            Bytes stored = bytesOf(html);
            stored.resize(stored.size() + zeros, 0);
            EXPECT_EQ(htmlBodyText(bytesOf(html), zeros), htmlBodyText(stored)) << html << " + " << zeros;
        }
    }
    const std::uint64_t affordable = kHtmlMaxTreeBytes - tableText.size();
    for (const std::uint64_t zeros : {affordable, affordable + 1}) {
        Bytes stored = bytesOf(tableText);
        stored.resize(stored.size() + zeros, 0);
        EXPECT_EQ(htmlBodyText(bytesOf(tableText), zeros), htmlBodyText(stored)) << zeros;
    }
}

}  // namespace
}  // namespace tessivo::importer
