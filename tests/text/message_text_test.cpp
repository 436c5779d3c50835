// What the hosts index of a message: the losses of the importer's exact
// text repaired on messages made by the writers, the header lines, and the
// three formats read by their content.
#include <gtest/gtest.h>

#include <string>

#include "support/bytes.h"
#include "support/lzfu_encoder.h"
#include "support/mime_builder.h"
#include "support/msg_writer.h"
#include "support/tnef_writer.h"
#include "tessivo/foundation/encoding.h"
#include "tessivo/importer/importer.h"
#include "tessivo/text/message_text.h"

namespace tessivo {
namespace {

using importer::Outcome;
using testing::MimePart;
using testing::MsgWriter;
using text::messageText;

constexpr std::uint32_t kInternetCodePage = 0x3FDE;
constexpr std::uint32_t kMessageCodePage = 0x3FFD;
constexpr std::uint32_t kTypeInt32 = 0x0003;

std::string utf8(const icu::UnicodeString& s) { return toUtf8(s); }

Bytes inEncoding(const char16_t* text, Encoding encoding) { return *encode(icu::UnicodeString(text), encoding); }

// Every byte after the first occurrence of marker up to the end of its
// 64-byte mini sector set to fill: the slack a writer left there.
Bytes withSlack(Bytes file, std::string_view marker, std::uint8_t fill) {
    const auto at = std::search(file.begin(), file.end(), marker.begin(), marker.end());
    EXPECT_NE(at, file.end());
    std::size_t i = static_cast<std::size_t>(at - file.begin()) + marker.size();
    for (; i % 64 != 0; ++i) file[i] = fill;
    return file;
}

TEST(MessageTextTest, EightBitBodyIsDecodedByTheMessageCodePage) {
    const Bytes russian = inEncoding(u"Письмо отправлено автоматически", encodings::Windows1251);
    MsgWriter m;
    m.property(kMessageCodePage, kTypeInt32, 1251).stream("__substg1.0_1000001E", russian);
    auto found = messageText(m.build());
    EXPECT_EQ(found.outcome, Outcome::Text);
    EXPECT_EQ(utf8(found.body), "Письмо отправлено автоматически");
    // The importer's exact text reads the same bytes as Windows-1252.
    EXPECT_EQ(utf8(importer::extractText(m.build()).text).substr(0, 6), "Ïèñ");

    // The internet code page wins over the message code page.
    MsgWriter both;
    both.property(kInternetCodePage, kTypeInt32, 20866)
        .property(kMessageCodePage, kTypeInt32, 1251)
        .stream("__substg1.0_1000001E", inEncoding(u"привет", encodings::KOI8R));
    EXPECT_EQ(utf8(messageText(both.build()).body), "привет");
}

TEST(MessageTextTest, PlainBodiesEndAtTheirDeclaredSize) {
    for (const std::uint8_t fill : {0x00, 0xFF}) {
        MsgWriter ansi;
        ansi.stream("__substg1.0_1000001E", testing::bytesOf("short body"));
        EXPECT_EQ(utf8(messageText(withSlack(ansi.build(), "short body", fill)).body), "short body") << int(fill);

        MsgWriter unicode;
        unicode.stream("__substg1.0_1000001F", testing::utf16le("wide"));
        const Bytes wide = testing::utf16le("wide");
        EXPECT_EQ(utf8(messageText(withSlack(unicode.build(), std::string_view(reinterpret_cast<const char*>(wide.data()), wide.size()), fill)).body),
                  "wide") << int(fill);
    }
}

TEST(MessageTextTest, HtmlBodyIsDecodedByItsDeclaredCharset) {
    const Bytes html = inEncoding(u"<html><head><meta charset=\"windows-1252\"></head>"
                                  u"<body><p>Caf\u00E9 na\u00EFve \u20AC5</p></body></html>",
                                  encodings::Windows1252);
    MsgWriter m;
    m.unicode(0x0037, "Menu").stream("__substg1.0_10130102", html);
    const auto found = messageText(m.build());
    EXPECT_EQ(found.outcome, Outcome::Text);
    EXPECT_EQ(utf8(found.body), "Café naïve €5");
    // The importer's exact entry finds no text in it at all.
    EXPECT_EQ(importer::extractText(m.build()).outcome, Outcome::NoBody);

    // The http-equiv form, and the code page when the HTML declares nothing.
    MsgWriter equiv;
    equiv.stream("__substg1.0_10130102",
                 inEncoding(u"<meta http-equiv=Content-Type content=\"text/html; charset=koi8-r\"><p>\u0434\u0430</p>",
                            encodings::KOI8R));
    EXPECT_EQ(utf8(messageText(equiv.build()).body), "да");
    MsgWriter byPage;
    byPage.property(kMessageCodePage, kTypeInt32, 1253)
        .stream("__substg1.0_10130102", inEncoding(u"<p>\u03BD\u03B1\u03B9</p>", encodings::Windows1253));
    EXPECT_EQ(utf8(messageText(byPage.build()).body), "ναι");
}

TEST(MessageTextTest, EqualsSignsInMarkupAreNotQuotedPrintable) {
    MsgWriter m;
    m.stream("__substg1.0_10130102",
             testing::bytesOf("<html><body><FONT face=Arial size=2>Quarterly figures attached</FONT>"
                              "<p>See =E9 table</p></body></html>"));
    EXPECT_EQ(utf8(messageText(m.build()).body), "Quarterly figures attached\n\nSee =E9 table");

    // Really quoted-printable HTML (soft breaks, "=3D") is decoded first.
    MsgWriter qp;
    qp.stream("__substg1.0_10130102",
              testing::bytesOf("<p style=3D\"x\">Caf=C3=A9 au=\r\n lait</p>"));
    EXPECT_EQ(utf8(messageText(qp.build()).body), "Café au lait");
}

TEST(MessageTextTest, RicherBodiesComeFirstAndEmptyOnesAreSkipped) {
    MsgWriter m;
    m.stream("__substg1.0_10090102", testing::lzfuCompress(testing::bytesOf("{\\rtf1\\ansi \\par}")))
        .stream("__substg1.0_10130102", testing::bytesOf("<p>from the html</p>"))
        .unicode(0x1000, "from the plain text");
    EXPECT_EQ(utf8(messageText(m.build()).body), "from the html");
}

TEST(MessageTextTest, HeaderLinesMakeTheMessageFindable) {
    MsgWriter m;
    m.string8(0x001A, "IPM.Note")
        .unicode(0x0037, "Budget 2025")
        .unicode(0x0C1A, "Jane Doe")
        .unicode(0x0C1F, "jane@example.com")
        .property(0x0E06, 0x0040, testing::fileTimeFromUnix(1700000000))
        .unicode(0x1000, "See the figures.");
    m.addRecipient().unicode(0x3001, "Ann Lee").unicode(0x3003, "ann@example.org");
    m.addAttachment().unicode(0x3707, "forecast.xlsx").binary(0x3701, testing::bytesOf("PK"));
    const auto found = messageText(m.build());
    EXPECT_EQ(found.format, text::Format::Msg);
    EXPECT_EQ(utf8(found.text()),
              "Subject: Budget 2025\n"
              "From: Jane Doe <jane@example.com>\n"
              "To: Ann Lee <ann@example.org>\n"
              "Date: 2023-11-14 22:13:20 UTC\n"
              "Attachments: forecast.xlsx\n"
              "\n"
              "See the figures.");

    // Without a body the header lines remain, and the outcome says so.
    MsgWriter bodiless;
    bodiless.unicode(0x0037, "Only a subject");
    const auto header = messageText(bodiless.build());
    EXPECT_EQ(header.outcome, Outcome::NoBody);
    EXPECT_EQ(utf8(header.text()), "Subject: Only a subject\n");
}

TEST(MessageTextTest, InternetMessagesGiveTheirPlainPartInItsCharset) {
    MimePart mail = MimePart::multipart(
        "mixed", {MimePart::multipart("alternative",
                                      {MimePart::leaf("text/plain; charset=koi8-r",
                                                      inEncoding(u"Отчёт готов", encodings::KOI8R),
                                                      MimePart::Encoding::Base64),
                                       MimePart::text("html", "<p>ignored</p>")}),
                  MimePart::attachment("application/pdf", "Report.pdf", testing::bytesOf("%PDF-"))});
    mail.header("Received", "by test")
        .header("Subject", "=?utf-8?q?Caf=C3=A9?=")
        .header("From", "Ann Lee <ann@example.org>")
        .header("To", "bob@example.net")
        .header("Cc", "Carl <carl@example.com>")
        .header("Date", "Tue, 14 Nov 2023 22:13:20 +0000");
    const auto found = messageText(mail.bytes());
    EXPECT_EQ(found.format, text::Format::Mime);
    EXPECT_EQ(found.outcome, Outcome::Text);
    EXPECT_EQ(utf8(found.text()),
              "Subject: Café\n"
              "From: Ann Lee <ann@example.org>\n"
              "To: bob@example.net\n"
              "Cc: Carl <carl@example.com>\n"
              "Date: 2023-11-14 22:13:20 UTC\n"
              "Attachments: report.pdf\n"
              "\n"
              "Отчёт готов");

    // HTML alone, quoted-printable in Windows-1252.
    MimePart html = MimePart::leaf("text/html; charset=windows-1252",
                                   inEncoding(u"<p>Gr\u00FC\u00DFe aus K\u00F6ln</p>", encodings::Windows1252),
                                   MimePart::Encoding::QuotedPrintable);
    html.header("Received", "by test").header("Subject", "Hallo");
    EXPECT_EQ(utf8(messageText(html.bytes()).body), "Grüße aus Köln");
}

// The reader skips a message's first line and decodes the whole message with
// one guessed encoding; the text reads the first header field all the same,
// and an 8-bit part without transfer encoding by its own charset.
TEST(MessageTextTest, InternetMessagesKeepTheirFirstFieldAndEightBitCharsets) {
    for (const auto lineEnd : {MimePart::LineEnd::LF, MimePart::LineEnd::CRLF}) {
        MimePart mail = MimePart::multipart(
            "mixed", {MimePart::leaf("text/plain; charset=windows-1251",
                                     inEncoding(u"Отчёт готов", encodings::Windows1251), MimePart::Encoding::None)});
        mail.header("Subject", "Report").header("From", "ann@example.org");
        EXPECT_EQ(utf8(messageText(mail.bytes(lineEnd)).text()),
                  "Subject: Report\nFrom: ann@example.org\n\nОтчёт готов");

        MimePart html = MimePart::leaf("text/html; charset=koi8-r", inEncoding(u"<p>Отчёт</p>", encodings::KOI8R),
                                       MimePart::Encoding::None);
        html.header("Subject", "Report");
        EXPECT_EQ(utf8(messageText(html.bytes(lineEnd)).text()), "Subject: Report\n\nОтчёт");
    }

    // A message that is valid UTF-8 is read as UTF-8 whatever a part declares.
    MimePart utf8Mail = MimePart::leaf("text/plain; charset=windows-1251", testing::bytesOf("Grüße"),
                                       MimePart::Encoding::None);
    utf8Mail.header("Received", "by test");
    EXPECT_EQ(utf8(messageText(utf8Mail.bytes()).body), "Grüße");
}

TEST(MessageTextTest, TnefStreamsGiveTheirRtfText) {
    testing::MapiBlock props;
    props.binary(0x1009, testing::lzfuCompress(testing::bytesOf("{\\rtf1\\ansi Minutes of the meeting\\par}")));
    testing::TnefWriter w;
    w.subject("Minutes").mapi(props).attachment("notes.txt", testing::bytesOf("n"));
    const auto found = messageText(w.build());
    EXPECT_EQ(found.format, text::Format::Tnef);
    EXPECT_EQ(found.outcome, Outcome::Text);
    const std::string all = utf8(found.text());
    EXPECT_NE(all.find("Subject: Minutes\n"), std::string::npos) << all;
    EXPECT_NE(all.find("notes.txt"), std::string::npos) << all;
    EXPECT_NE(all.find("Minutes of the meeting"), std::string::npos) << all;
}

TEST(MessageTextTest, WhatIsNoMessageSaysWhy) {
    EXPECT_EQ(messageText(Bytes{}).outcome, Outcome::NotMessage);
    Bytes damaged = MsgWriter().build();
    damaged.resize(600);
    damaged[0x1E] = 0x20;  // a sector shift no reader accepts
    const auto refused = messageText(damaged);
    EXPECT_EQ(refused.outcome, Outcome::NotMessage);
    EXPECT_FALSE(refused.reason.empty());

    Bytes buffer;
    const auto missing = text::messageText("/nonexistent/mail.msg", buffer);
    EXPECT_EQ(missing.outcome, Outcome::Unreadable);
    EXPECT_NE(missing.reason.find("cannot open"), std::string::npos);
}

}  // namespace
}  // namespace tessivo
