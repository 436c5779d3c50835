// The MIME row's own decoding: exact base64 and quoted-printable where the
// library's functions keep their byte-changing habits, file names without
// trailing parameters, and the summary.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "mime_parts.h"
#include "support/mime_builder.h"
#include "tessivo/mime/base64.h"

namespace tessivo::cli {
namespace {

using testing::MimePart;
using testing::readMime;

Bytes bytesOf(std::string_view s) { return Bytes(s.begin(), s.end()); }

TEST(MimePartsTest, Base64DecodesExactlyWhereTheLibraryDoesNot) {
    // The library's decoders: one byte short after a trailing line break, zero bytes from padding.
    EXPECT_EQ(NewBase64Decode("TWFu\n", 5), bytesOf("Ma"));
    EXPECT_EQ((*base64_decode("TWE="))[2], 0);
    EXPECT_EQ(decodeBase64Exactly(u"TWFu\n"), bytesOf("Man"));
    EXPECT_EQ(decodeBase64Exactly(u"TWE=\n"), bytesOf("Ma"));
    EXPECT_EQ(decodeBase64Exactly(u"TW\r\nFu\n"), bytesOf("Man"));
    EXPECT_EQ(decodeBase64Exactly(u"TWE"), bytesOf("Ma"));      // padding missing
    EXPECT_EQ(decodeBase64Exactly(u"TQ==TWFu"), bytesOf("M"));  // reading stops after the padding
    EXPECT_EQ(decodeBase64Exactly(u"T"), Bytes());              // a lone character gives nothing
    std::mt19937 random(5);
    for (int n = 0; n < 300; ++n) {
        Bytes data(static_cast<std::size_t>(n));
        for (auto& b : data) b = static_cast<std::uint8_t>(random());
        const std::string text = MimePart::base64Lines(data);
        EXPECT_EQ(decodeBase64Exactly(icu::UnicodeString::fromUTF8(text).getTerminatedBuffer()), data) << n;
    }
}

TEST(MimePartsTest, QuotedPrintableDecodesExactly) {
    EXPECT_EQ(decodeQuotedPrintableExactly(u"a=3db=3D", "\n"), bytesOf("a=b="));  // either case
    EXPECT_EQ(decodeQuotedPrintableExactly(u"soft=\nbreak=  \nend", "\n"), bytesOf("softbreakend"));
    EXPECT_EQ(decodeQuotedPrintableExactly(u"one  \ntwo\t\nthree", "\r\n"), bytesOf("one\r\ntwo\r\nthree"));
    EXPECT_EQ(decodeQuotedPrintableExactly(u"=ZZ and =4", "\n"), bytesOf("=ZZ and =4"));
    EXPECT_EQ(decodeQuotedPrintableExactly(u"caf\u00E9=C3=A9", "\n"), bytesOf("caf\xC3\xA9\xC3\xA9"));
    const Bytes data = bytesOf("Line one\nLine = two with a long tail " + std::string(100, 'x') + "\n\tcaf\xC3\xA9 ");
    const std::string encoded = MimePart::quotedPrintable(data);
    EXPECT_EQ(decodeQuotedPrintableExactly(icu::UnicodeString::fromUTF8(encoded).getTerminatedBuffer(), "\n"), data);
}

TEST(MimePartsTest, AttachmentNamesLoseTheParametersTheReaderKeeps) {
    EXPECT_EQ(attachmentName(u"report.pdf; size=208;\tcreation-date=tue"), u"report.pdf");
    EXPECT_EQ(attachmentName(u"a;b.txt"), u"a;b.txt");
    EXPECT_EQ(attachmentName(u"a;b.txt; size = 5"), u"a;b.txt");
    EXPECT_EQ(attachmentName(u"plain.txt"), u"plain.txt");
}

TEST(MimePartsTest, NamedPartsGiveTheBytesTheyEncode) {
    const Bytes binary = {0x00, 0xFF, 0x10, '\r', '\n', 0x80};
    MimePart mail = MimePart::multipart(
        "mixed",
        {MimePart::text("plain", "Body"), MimePart::attachment("application/octet-stream", "Bin.DAT", binary),
         MimePart::attachment("text/plain", "notes.txt", bytesOf("one\n\ntwo = 2\n"),
                              MimePart::Encoding::QuotedPrintable),
         MimePart::attachment("text/plain", "raw.txt", bytesOf("caf\xC3\xA9\n\nend"), MimePart::Encoding::None)});
    mail.header("Received", "x");
    for (const auto lineEnd : {MimePart::LineEnd::LF, MimePart::LineEnd::CRLF}) {
        const Dictionary read = readMime(mail.build(lineEnd));
        const std::string_view lineBreak = messageLineBreak(read);
        EXPECT_EQ(lineBreak, lineEnd == MimePart::LineEnd::CRLF ? "\r\n" : "\n");
        const std::vector<const Dictionary*> parts = namedParts(read);
        ASSERT_EQ(parts.size(), 3u);
        EXPECT_EQ(*parts[0]->get(u"fileName")->string(), u"bin.dat");
        EXPECT_EQ(partBytes(*parts[0], lineBreak), binary);
        const std::string br(lineBreak);
        EXPECT_EQ(partBytes(*parts[1], lineBreak), bytesOf("one" + br + br + "two = 2" + br));
        EXPECT_EQ(partBytes(*parts[2], lineBreak), bytesOf("caf\xC3\xA9" + br + br + "end"));
    }
}

TEST(MimePartsTest, AMessageThatIsItselfAnAttachment) {
    const Dictionary read = readMime(
        "Received: x\nContent-Type: application/pdf\nContent-Disposition: attachment; filename=a.pdf\n"
        "Content-Transfer-Encoding: base64\n\nJVBERi0=\n");
    const std::vector<const Dictionary*> parts = namedParts(read);
    ASSERT_EQ(parts.size(), 1u);
    EXPECT_EQ(partBytes(*parts[0], "\n"), bytesOf("%PDF-"));
}

TEST(MimePartsTest, SummaryHasTheKeysOfTheMsgSummary) {
    MimePart mail = MimePart::multipart("alternative",
                                        {MimePart::leaf("text/plain; charset=utf-8", bytesOf("Caf\xC3\xA9\n\nsee you"),
                                                        MimePart::Encoding::QuotedPrintable),
                                         MimePart::text("html", "<p>Caf\xC3\xA9</p>")});
    mail.header("Received", "x")
        .header("From", "=?utf-8?Q?Ren=C3=A9?= <rene@example.com>")
        .header("Subject", "=?utf-8?Q?caf=C3=A9?= time")
        .header("Date", "Tue, 30 Jan 2024 14:36:06 +0900");
    const Dictionary summary = mimeSummary(readMime(mail.build()));
    EXPECT_EQ(summary.keys(), (std::vector<icu::UnicodeString>{u"Subject", u"Body", u"From", u"Date", u"MIMEDate"}));
    EXPECT_EQ(*summary.get(u"Subject")->string(), u"caf\u00E9 time");
    EXPECT_EQ(*summary.get(u"Body")->string(), u"Caf\u00E9\n\nsee you");
    EXPECT_EQ(*summary.get(u"From")->string(), u"Ren\u00E9");
    EXPECT_EQ(*summary.get(u"Date")->string(), u"30 Jan 2024 at 05:36");
    EXPECT_EQ(*summary.get(u"MIMEDate")->string(), u"Tue, 30 Jan 2024 05:36:06 +0000");

    const Dictionary bare = mimeSummary(readMime("Subject: lost on line 1\nX: y\n\n"));
    for (const char16_t* key : {u"Subject", u"Body", u"From", u"Date", u"MIMEDate"})
        EXPECT_EQ(*bare.get(key)->string(), u"-") << toUtf8(key);
}

}  // namespace
}  // namespace tessivo::cli
