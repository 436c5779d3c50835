// Body selection: which stream a message is indexed from, how plain bodies
// are decoded, and what becomes of files that are not messages.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "support/cfb_writer.h"
#include "support/lzfu_encoder.h"
#include "tessivo/importer/importer.h"
#include "tessivo/importer/rich_body.h"

namespace tessivo::importer {
namespace {

using testing::CfbWriter;
using testing::utf16le;

constexpr const char* kRtfBody = "__substg1.0_10090102";
constexpr const char* kSecondRtfBody = "__substg1.0_10080102";
constexpr const char* kHtmlBody = "__substg1.0_10130102";
constexpr const char* kUnicodeBody = "__substg1.0_1000001F";
constexpr const char* kEightBitBody = "__substg1.0_1000001E";

Bytes bytesOf(std::string_view s) { return Bytes(s.begin(), s.end()); }

Bytes compressedRtf(std::string_view rtf) { return testing::lzfuCompress(bytesOf(rtf)); }

const char* const kRtfWithText = R"({\rtf1\ansi\deff0{\fonttbl{\f0 Arial;}}\f0 Quarterly figures attached\par})";
const char* const kRtfWithoutText = R"({\rtf1\ansi\deff0{\fonttbl{\f0 Arial;}}{\colortbl;\red0\green0\blue0;}\f0\fs20})";

// The text up to its first NUL: stream bytes are whole sectors, so decoded
// plain bodies carry NUL padding that the importer passes on unchanged.
icu::UnicodeString beforePadding(const icu::UnicodeString& text) {
    const int32_t nul = text.indexOf(char16_t(0));
    return nul < 0 ? text : icu::UnicodeString(text, 0, nul);
}

std::string textOf(const CfbWriter& writer) {
    const Result result = extractText(ByteView(writer.build().bytes));
    EXPECT_EQ(result.outcome, Outcome::Text) << result.reason;
    return toUtf8(beforePadding(result.text));
}

class ImporterFile : public ::testing::Test {
protected:
    std::string write(const Bytes& bytes, const std::string& name) {
        const std::string path = ::testing::TempDir() + name;
        std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                    static_cast<std::streamsize>(bytes.size()));
        paths_.push_back(path);
        return path;
    }
    void TearDown() override {
        for (const auto& p : paths_) std::remove(p.c_str());
    }

private:
    std::vector<std::string> paths_;
};

TEST(BodySelection, CompressedRtfWinsOverOtherBodies) {
    CfbWriter w;
    w.addStream(kRtfBody, compressedRtf(kRtfWithText));
    w.addStream(kHtmlBody, bytesOf("<p>from html</p>"));
    w.addStream(kUnicodeBody, utf16le("from unicode"));
    EXPECT_NE(textOf(w).find("Quarterly figures attached"), std::string::npos);
}

TEST(BodySelection, RtfWithoutTextFallsThroughToHtmlThenPlain) {
    CfbWriter withHtml;
    withHtml.addStream(kRtfBody, compressedRtf(kRtfWithoutText));
    withHtml.addStream(kHtmlBody, bytesOf("<html><body><p>from html</p></body></html>"));
    withHtml.addStream(kUnicodeBody, utf16le("from unicode"));
    const std::string html = textOf(withHtml);
    EXPECT_NE(html.find("from html"), std::string::npos) << html;
    EXPECT_EQ(html.find('<'), std::string::npos) << html;

    CfbWriter plainOnly;
    plainOnly.addStream(kRtfBody, compressedRtf(kRtfWithoutText));
    plainOnly.addStream(kUnicodeBody, utf16le("from unicode"));
    plainOnly.addStream(kEightBitBody, bytesOf("from 8-bit"));
    EXPECT_EQ(textOf(plainOnly), "from unicode");
}

TEST(BodySelection, SecondRtfStreamReadOnlyWhenFirstIsEmpty) {
    CfbWriter emptyFirst;
    emptyFirst.addStream(kRtfBody, {});
    emptyFirst.addStream(kSecondRtfBody, compressedRtf(kRtfWithText));
    emptyFirst.addStream(kUnicodeBody, utf16le("from unicode"));
    EXPECT_NE(textOf(emptyFirst).find("Quarterly figures attached"), std::string::npos);

    CfbWriter missingFirst;
    missingFirst.addStream(kSecondRtfBody, compressedRtf(kRtfWithText));
    EXPECT_NE(textOf(missingFirst).find("Quarterly figures attached"), std::string::npos);

    // A first stream that holds an unusable body hides the second one.
    CfbWriter unusableFirst;
    unusableFirst.addStream(kRtfBody, compressedRtf(kRtfWithoutText));
    unusableFirst.addStream(kSecondRtfBody, compressedRtf(kRtfWithText));
    unusableFirst.addStream(kUnicodeBody, utf16le("from unicode"));
    EXPECT_EQ(textOf(unusableFirst), "from unicode");
}

TEST(BodySelection, UnusableRichBodiesFallThrough) {
    // Uncompressed RTF ("MELA") and an unknown header give no RTF text.
    const Bytes mela = testing::lzfuStore(bytesOf(kRtfWithText));
    Bytes unknown = compressedRtf(kRtfWithText);
    unknown[8] = 'X';
    for (const Bytes& rtf : {mela, unknown}) {
        CfbWriter w;
        w.addStream(kRtfBody, rtf);
        w.addStream(kHtmlBody, bytesOf("<div>from html</div>"));
        EXPECT_NE(textOf(w).find("from html"), std::string::npos);
    }

    // HTML that is not UTF-8 is not tried in another character set; markup
    // only gives nothing. Both fill whole small sectors, so carry no padding.
    for (const Bytes& html : {bytesOf("<html><body><p>caf\xE9 cr\xE8me br\xFBl\xE9" "e au d\xE9jeuner.</p> </body></html>"),
                              bytesOf("<html><head><title>No</title></head><body><br><hr></body></html>")}) {
        ASSERT_EQ(html.size() % 64, 0u);
        CfbWriter w;
        w.addStream(kHtmlBody, html);
        w.addStream(kEightBitBody, bytesOf("from 8-bit"));
        EXPECT_EQ(textOf(w), "from 8-bit");
    }
}

TEST(PlainBodies, EightBitBodyIsUtf8ElseWindows1252) {
    CfbWriter utf8;
    utf8.addStream(kEightBitBody, bytesOf("caf\xC3\xA9"));
    EXPECT_EQ(textOf(utf8), "caf\xC3\xA9");

    CfbWriter cp1252;
    cp1252.addStream(kEightBitBody, bytesOf("caf\xE9 \x80 \x93quoted\x94"));
    EXPECT_EQ(textOf(cp1252), "caf\xC3\xA9 \xE2\x82\xAC \xE2\x80\x9Cquoted\xE2\x80\x9D");

    // An empty Unicode body does not stop the search.
    CfbWriter emptyUnicode;
    emptyUnicode.addStream(kUnicodeBody, {});
    emptyUnicode.addStream(kEightBitBody, bytesOf("from 8-bit"));
    EXPECT_EQ(textOf(emptyUnicode), "from 8-bit");
}

TEST(PlainBodies, TextIsPassedOnWithItsPadding) {
    CfbWriter w;
    w.addStream(kUnicodeBody, utf16le("  padded  "));
    const Result result = extractText(ByteView(w.build().bytes));
    ASSERT_EQ(result.outcome, Outcome::Text);
    // 20 bytes in a 64-byte small sector: 32 code units, the last 22 NUL.
    EXPECT_EQ(result.text.length(), 32);
    EXPECT_EQ(icu::UnicodeString(result.text, 0, 10), icu::UnicodeString(u"  padded  "));
    EXPECT_EQ(result.text.charAt(31), u'\0');
}

TEST(Outcomes, MessagesWithoutBodyAndFilesThatAreNotMessages) {
    CfbWriter noBody;
    noBody.addStream("__substg1.0_0037001F", utf16le("Subject only"));
    noBody.addStream(kUnicodeBody, {});
    EXPECT_EQ(extractText(ByteView(noBody.build().bytes)).outcome, Outcome::NoBody);

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
    CfbWriter w;
    w.addStream(kUnicodeBody, utf16le(std::string(3000, 'a')));
    Bytes truncated = w.build().bytes;
    truncated.resize(600);
    EXPECT_NE(extractText(ByteView(truncated)).outcome, Outcome::Text);
}

TEST_F(ImporterFile, ImportFileStoresTextForAcceptedTypesOnly) {
    CfbWriter w;
    w.addStream(kEightBitBody, bytesOf("hello"));
    const std::string path = write(w.build().bytes, "importer_hello.msg");

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
    CfbWriter noBody;
    noBody.addStream("__substg1.0_0037001F", utf16le("Subject only"));
    const std::vector<std::string> paths = {
        write({}, "importer_empty.msg"),
        write(Bytes(100, 0xD0), "importer_short.msg"),
        write(noBody.build().bytes, "importer_nobody.msg"),
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

}  // namespace
}  // namespace tessivo::importer
