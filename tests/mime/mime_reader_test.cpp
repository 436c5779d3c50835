// The MIME reader's fixed procedure, quirks included: which lines are read,
// how headers become keys, how multipart bodies are split and where reading
// resumes after a split.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/mime_builder.h"
#include "tessivo/mime/limits.h"
#include "tessivo/mime/mime_reader.h"

namespace tessivo {
namespace {

using testing::MimePart;
using testing::readMime;

// The string under key as UTF-8, or "(absent)".
std::string text(const Dictionary& d, const char16_t* key) {
    const Value* v = d.get(key);
    return v ? toUtf8(*v->string()) : "(absent)";
}

std::vector<Dictionary> parts(const Dictionary& mail) {
    std::vector<Dictionary> out;
    if (const Value* list = mail.get(u"MailContent"))
        for (const Value& part : *list->array()) out.push_back(*part.dictionary());
    return out;
}

std::vector<std::string> column(const std::vector<Dictionary>& list, const char16_t* key) {
    std::vector<std::string> out;
    for (const Dictionary& d : list) out.push_back(text(d, key));
    return out;
}

// What the reader finds for one Content-Type value, or one header.
Dictionary withHeader(const std::string& name, const std::string& value) {
    return readMime("Received: x\n" + name + ": " + value + "\n\n");
}

TEST(MimeReaderLinesTest, TheFirstLineIsNeverRead) {
    const Dictionary mail = readMime("Subject: lost\nDate: kept\n\nbody\n");
    EXPECT_FALSE(mail.contains(u"Subject"));
    EXPECT_EQ(text(mail, u"Date"), "kept");
}

TEST(MimeReaderLinesTest, TheLastLineIsNeverRead) {
    EXPECT_EQ(text(readMime("Received: x\nSubject: s\n\nkept\nlost"), u"content"), "\nkept");
    EXPECT_EQ(text(readMime("Received: x\nSubject: s\n\nkept\nkept too\n"), u"content"), "\nkept\nkept too");
}

TEST(MimeReaderLinesTest, EveryKindOfLineEndGivesTheSameDictionary) {
    MimePart mail = MimePart::multipart(
        "mixed", {MimePart::text("plain", "one\n\ntwo"), MimePart::attachment("image/png", "a.png", Bytes(100, 7))});
    mail.header("Received", "x").header("Subject", "Hello\n World");
    auto withoutRaw = [](Dictionary d) {
        d.erase(u"RawContentString");
        return d;
    };
    const std::string lf = mail.build(MimePart::LineEnd::LF);
    const Dictionary expected = withoutRaw(readMime(lf));
    EXPECT_EQ(text(expected, u"Subject"), "Hello World");
    EXPECT_EQ(withoutRaw(readMime(mail.build(MimePart::LineEnd::CRLF))), expected);
    for (const std::string lineEnd : {"\r", "\xE2\x80\xA8", "\x0C"}) {
        std::string other;
        for (const char c : lf) other += c == '\n' ? lineEnd : std::string(1, c);
        EXPECT_EQ(withoutRaw(readMime(other)), expected);
    }
}

TEST(MimeReaderHeadersTest, FoldedLinesAreAppendedAsTheyStand) {
    const Dictionary mail = readMime("Received: x\nSubject: Hello\n World\nX-Tab: a\n\tb  \n c\n\n");
    EXPECT_EQ(text(mail, u"Subject"), "Hello World");
    EXPECT_EQ(text(mail, u"X-Tab"), "a\tb   c");
}

TEST(MimeReaderHeadersTest, NamesAsWrittenValuesTrimmedNotDecoded) {
    const Dictionary mail = readMime(
        "Received: x\nX-Custom :  value  \nno colon here\nX-Empty:\nX-Dup: 1\nX-Dup: 2\n"
        "Subject: =?utf-8?Q?caf=C3=A9?=\n\n");
    EXPECT_EQ(text(mail, u"X-Custom "), "value");
    EXPECT_EQ(text(mail, u"X-Empty"), "");
    EXPECT_EQ(text(mail, u"X-Dup"), "2");
    EXPECT_EQ(text(mail, u"Subject"), "=?utf-8?Q?caf=C3=A9?=");
    EXPECT_EQ(mail.keys(),
              (std::vector<icu::UnicodeString>{u"X-Custom ", u"X-Empty", u"X-Dup", u"Subject", u"RawContentString"}));
}

TEST(MimeReaderHeadersTest, AddressHeadersInTheirExactCaseBecomeAddressLists) {
    const Dictionary mail = readMime(
        "Received: x\nFrom: Ann <ann@example.com>\nTo: b@example.com, \"Doe, J\" <j@example.com>\n"
        "CC: c@example.com\nBCC: d@example.com\nCc: stays text\nfrom: stays text\n\n");
    for (const char16_t* key : {u"From", u"To", u"CC", u"BCC"}) EXPECT_TRUE(mail.get(key)->array()) << toUtf8(key);
    const Array& to = *mail.get(u"To")->array();
    ASSERT_EQ(to.size(), 2u);
    EXPECT_EQ(text(*to[1].dictionary(), u"Name"), "Doe, J");
    EXPECT_EQ(text(*to[1].dictionary(), u"Address"), "j@example.com");
    EXPECT_EQ(text(mail, u"Cc"), "stays text");
    EXPECT_EQ(text(mail, u"from"), "stays text");
}

TEST(MimeReaderHeadersTest, AHeaderStillOpenAtTheEndBecomesTheContent) {
    // Nothing flushes it: the value is kept as "content", the empty body as "uaContent".
    const Dictionary mail = readMime("Received: x\nSubject: s\n");
    EXPECT_FALSE(mail.contains(u"Subject"));
    EXPECT_EQ(text(mail, u"content"), "s");
    EXPECT_EQ(text(mail, u"uaContent"), "");
}

TEST(MimeReaderContentTypeTest, TypeFormatAndTheFirstParameterNameTwice) {
    struct Case {
        const char* value;
        const char* type;
        const char* format;
        const char* metaType;
        const char* metaData;
    };
    const Case cases[] = {
        {"text/plain; charset=\"utf-8\"", "text", "plain", "charset", "charset"},
        {" Text/HTML ", "text", "html", "(absent)", "(absent)"},
        {"application", "application", "(absent)", "(absent)", "(absent)"},
        {"a/B/c", "a", "b", "(absent)", "(absent)"},
        {"text/plain;", "text", "plain", "", "(absent)"},
        {"text/plain; format; charset=x", "text", "plain", "format", "(absent)"},
        {"text/plain; \"Charset\" = x", "text", "plain", "\"charset\"", "charset"},
        {"text/plain; =x", "text", "plain", "", "(absent)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.value);
        const Dictionary part = withHeader("content-TYPE", c.value);
        EXPECT_EQ(text(part, u"contentType"), c.type);
        EXPECT_EQ(text(part, u"contentFormat"), c.format);
        EXPECT_EQ(text(part, u"metaType"), c.metaType);
        EXPECT_EQ(text(part, u"metaData"), c.metaData);
        EXPECT_FALSE(part.contains(u"content-TYPE"));
    }
}

TEST(MimeReaderContentTypeTest, ParametersGiveTheBoundaryLineAndTheLastOtherPiece) {
    const Dictionary p = MIMEReader::setContentParameters(u"multipart/mixed; BOUNDARY = \" b 1 \" ; type=x");
    EXPECT_EQ(text(p, u"boundary"), "--b 1");
    EXPECT_EQ(text(p, u"type"), " type=x");
    EXPECT_EQ(text(MIMEReader::setContentParameters(u"multipart/mixed; boundary="), u"type"), " boundary=");
    EXPECT_FALSE(MIMEReader::setContentParameters(u"multipart/mixed; boundary=").contains(u"boundary"));
    EXPECT_EQ(text(MIMEReader::setContentParameters(u"a; boundary=x; boundary=y"), u"boundary"), "--y");
    EXPECT_EQ(text(MIMEReader::setContentParameters(u""), u"type"), "");
    using Keys = std::vector<icu::UnicodeString>;
    EXPECT_EQ(MIMEReader::setContentParameters(u"multipart/mixed; boundary=b").keys(), (Keys{u"type", u"boundary"}));
    EXPECT_EQ(MIMEReader::setContentParameters(u"boundary=b; x; y").keys(), (Keys{u"boundary", u"type"}));
}

TEST(MimeReaderContentTypeTest, TransferEncodingInThreeKinds) {
    const std::pair<const char*, const char*> cases[] = {{"BASE64", "base64"},
                                                         {" x-quoted-printable ", "quoted-printable"},
                                                         {"7bit", "text"},
                                                         {"quoted-printable, base64", "base64"},
                                                         {"", "text"}};
    for (const auto& [value, kind] : cases) {
        const Dictionary part = withHeader("Content-Transfer-Encoding", value);
        EXPECT_EQ(text(part, u"encodingType"), kind) << value;
        EXPECT_FALSE(part.contains(u"Content-Transfer-Encoding"));
    }
}

TEST(MimeReaderFileNameTest, DispositionGivesEverythingAfterFilenameLowerCased) {
    const std::pair<const char*, const char*> cases[] = {{"attachment; filename=\"Report.PDF\"", "report.pdf"},
                                                         {"attachment; filename=\"a.txt\"; size=10", "a.txt; size=10"},
                                                         {"attachment;\n FileName=X.doc", "x.doc"},
                                                         {"attachment; filename*=utf-8''a.txt", "(absent)"},
                                                         {"inline", "(absent)"}};
    for (const auto& [value, name] : cases)
        EXPECT_EQ(text(withHeader("Content-Disposition", value), u"fileName"), name) << value;
}

TEST(MimeReaderFileNameTest, DescriptionNamesOnlyAPartWithoutAName) {
    EXPECT_EQ(text(withHeader("Content-Description", "\"Quarterly Report\""), u"fileName"), "quarterly report");
    EXPECT_EQ(text(readMime("Received: x\nContent-Disposition: attachment; filename=a.pdf\n"
                            "Content-Description: b.pdf\n\n"),
                   u"fileName"),
              "a.pdf");
    EXPECT_EQ(text(readMime("Received: x\nContent-Description: b.pdf\n"
                            "Content-Disposition: attachment; filename=a.pdf\n\n"),
                   u"fileName"),
              "a.pdf");
    // Windows-1255 words are decoded (after lower-casing, so a payload whose
    // letters are all lower case survives): E1 E6 E0.
    EXPECT_EQ(text(withHeader("Content-Description", "=?windows-1255?B?4ebg?=.txt"), u"fileName"),
              "\u05D1\u05D6\u05D0.txt");
}

TEST(MimeReaderFileNameTest, AnEmptyDescriptionNamesThePartUndecodable) {
    EXPECT_EQ(text(withHeader("Content-Description", "=?windows-1255?B?\?="), u"fileName"), "UndecodableFilename");
    EXPECT_EQ(text(readMime("Received: x\nContent-Type: application/PDF\nContent-Description:\n\n"), u"fileName"),
              "UndecodableFilename.pdf");
}

TEST(MimeReaderContentIdTest, LowerCasedWithoutAngleBrackets) {
    const Dictionary part = withHeader("Content-ID", " <Image001.PNG@01D>> ");
    EXPECT_EQ(text(part, u"Content-Id"), "image001.png@01d");
    EXPECT_FALSE(part.contains(u"Content-ID"));
}

TEST(MimeReaderBodyTest, ContentLeavesOutBlankLinesUaContentKeepsThem) {
    const Dictionary mail = readMime("Received: x\nSubject: s\n\nline 1\n\nline 2\n\n");
    EXPECT_EQ(text(mail, u"content"), "\nline 1\nline 2");
    EXPECT_EQ(text(mail, u"uaContent"), "\n\nline 1\n\nline 2\n");
}

TEST(MimeReaderBodyTest, APartWithoutBodyLinesHasNeither) {
    const Dictionary mail = readMime("Received: x\nSubject: s\n\n\n\n");
    EXPECT_FALSE(mail.contains(u"content"));
    EXPECT_FALSE(mail.contains(u"uaContent"));
}

TEST(MimeReaderMultipartTest, PartsInTheOrderTheyFinish) {
    MimePart mail = MimePart::multipart(
        "mixed",
        {MimePart::multipart("alternative", {MimePart::text("plain", "Hello"), MimePart::text("html", "<p>Hi</p>")}),
         MimePart::attachment("application/pdf", "Report.PDF", Bytes(60, 0xA5)),
         MimePart::attachment("text/plain", "q.txt", Bytes(3, 'q'), MimePart::Encoding::QuotedPrintable)});
    mail.header("Received", "x").header("Subject", "s");
    for (const auto lineEnd : {MimePart::LineEnd::LF, MimePart::LineEnd::CRLF}) {
        const Dictionary top = readMime(mail.build(lineEnd));
        const std::vector<Dictionary> list = parts(top);
        EXPECT_EQ(column(list, u"contentFormat"),
                  (std::vector<std::string>{"plain", "html", "alternative", "pdf", "plain"}));
        EXPECT_EQ(column(list, u"fileName"),
                  (std::vector<std::string>{"(absent)", "(absent)", "(absent)", "report.pdf", "q.txt"}));
        EXPECT_EQ(column(list, u"encodingType"),
                  (std::vector<std::string>{"(absent)", "(absent)", "(absent)", "base64", "quoted-printable"}));
        EXPECT_EQ(text(list[0], u"content"), "\nHello");
        EXPECT_EQ(text(list[3], u"content"), "\n" + MimePart::base64Lines(Bytes(60, 0xA5)));
        EXPECT_EQ(text(top, u"contentFormat"), "mixed");
        EXPECT_EQ(text(top, u"Subject"), "s");
    }
}

TEST(MimeReaderMultipartTest, AnAttachedMessageKeepsItsBlankLines) {
    MimePart inner = MimePart::text("plain", "Inner body\n\nwith a gap");
    inner.header("Received", "by inner").header("Subject", "Inner");
    MimePart mail = MimePart::multipart("mixed", {MimePart::message(inner, "Inner.EML"), MimePart::message(inner)});
    mail.header("Received", "x");
    const std::vector<Dictionary> list = parts(readMime(mail.build()));
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(text(list[0], u"fileName"), "inner.eml");
    EXPECT_EQ(
        text(list[0], u"content"),
        "Received: by inner\nSubject: Inner\nContent-Type: text/plain; charset=utf-8\n\nInner body\n\nwith a gap");
    // Without the .eml name the blank lines are left out as in any part.
    EXPECT_EQ(text(list[1], u"content"),
              "\nReceived: by inner\nSubject: Inner\nContent-Type: text/plain; charset=utf-8\nInner body\nwith a gap");
}

TEST(MimeReaderMultipartTest, ThePieceAfterTheClosingBoundaryAddsNothing) {
    MimePart mail = MimePart::multipart("mixed", {MimePart::text("plain", "one"), MimePart::text("plain", "two")});
    mail.header("Received", "x").epilogue("epilogue text\n");
    EXPECT_EQ(parts(readMime(mail.build())).size(), 2u);
}

TEST(MimeReaderMultipartTest, ThePreambleIsTheMultipartsOwnContent) {
    MimePart mail = MimePart::multipart("mixed", {MimePart::text("plain", "one")});
    mail.header("Received", "x").preamble("This is a multi-part message.");
    EXPECT_EQ(text(readMime(mail.build()), u"content"), "\nThis is a multi-part message.");
}

TEST(MimeReaderMultipartTest, ReadingResumesWhereTheLineCountsOfThePiecesLead) {
    // Two parts: reading resumes one line before the closing boundary, so the
    // last line of the last part is read as a header of the whole message.
    const Dictionary mail = readMime(
        "Received: x\nContent-Type: multipart/mixed; boundary=b\n\n"
        "--b\nContent-Type: text/plain\n\none\n"
        "--b\nContent-Type: text/plain\n\ntwo\nNote: kept\n"
        "--b--\n");
    EXPECT_EQ(text(mail, u"Note"), "kept");
    EXPECT_EQ(column(parts(mail), u"content"), (std::vector<std::string>{"\none", "\ntwo\nNote: kept"}));
}

TEST(MimeReaderMultipartTest, ABoundaryMetAgainGivesItsPartsAgain) {
    const Dictionary mail =
        readMime("Received: x\nContent-Type: multipart/mixed; boundary=b\n\n--b\nX: 1\n--b\n--b--\n");
    EXPECT_EQ(column(parts(mail), u"content"), (std::vector<std::string>{"1", "1"}));
}

TEST(MimeReaderMultipartTest, TheBoundaryIsFoundInsideLinesToo) {
    // "x--by" holds the boundary: the first part's text ends there, on its
    // last line, which is never read.
    const std::vector<Dictionary> list =
        parts(readMime("Received: x\nContent-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: text/plain\n\nsee "
                       "x--by\n--b--\n"));
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(text(list[0], u"contentType"), "text");
    EXPECT_FALSE(list[0].contains(u"content"));
}

// A chain of multiparts, each holding the next, around one text part.
std::string nested(int multiparts) {
    MimePart part = MimePart::text("plain", "the leaf");
    for (int i = 0; i < multiparts; ++i) part = MimePart::multipart("mixed", {part});
    part.header("Received", "x");
    return part.build();
}

TEST(MimeReaderLimitsTest, MultipartsNestedBeyondTheLimitAreNotSplit) {
    const std::vector<Dictionary> deepest = parts(readMime(nested(mime::kMaxMultipartDepth)));
    ASSERT_EQ(deepest.size(), static_cast<std::size_t>(mime::kMaxMultipartDepth));
    EXPECT_EQ(text(deepest[0], u"content"), "\nthe leaf");
    const std::vector<Dictionary> tooDeep = parts(readMime(nested(mime::kMaxMultipartDepth + 1)));
    ASSERT_EQ(tooDeep.size(), static_cast<std::size_t>(mime::kMaxMultipartDepth));
    EXPECT_EQ(text(tooDeep[0], u"contentFormat"), "mixed");
    EXPECT_NE(text(tooDeep[0], u"content").find("the leaf"), std::string::npos);
}

TEST(MimeReaderEntryTest, NothingEmptyAndDecodedText) {
    EXPECT_FALSE(MIMEReader::initWithData(std::nullopt));
    EXPECT_TRUE(MIMEReader::initWithData(ByteView())->getDictionary().empty());
    // The raw text is the decoded message as it stands, CR LF included.
    const Dictionary mail = readMime("Received: x\r\nSubject: caf\xE9\r\n\r\n");
    EXPECT_EQ(text(mail, u"RawContentString"), "Received: x\r\nSubject: caf\xC3\xA9\r\n\r\n");
    EXPECT_EQ(text(mail, u"Subject"), "caf\xC3\xA9");
    EXPECT_FALSE(mail.contains(u"MailContent"));
}

TEST(MimeReaderEntryTest, EveryReadAddsToTheSamePartList) {
    MimePart mail = MimePart::multipart("mixed", {MimePart::text("plain", "one")});
    mail.header("Received", "x");
    const Bytes bytes = mail.bytes();
    auto reader = MIMEReader::initWithData(ByteView(bytes));
    EXPECT_EQ(reader->globalContentArray().size(), 1u);
    EXPECT_EQ(parts(reader->readMIMEMail(bytes)).size(), 2u);
}

TEST(MimeReaderEntryTest, InterpretMIMEReadsLinesFromAnIndex) {
    auto reader = MIMEReader::initWithData(ByteView());
    const std::vector<icu::UnicodeString> lines = {u"skipped", u"Subject: s", u"", u"body", u"STOP", u"after", u"last"};
    std::size_t index = 0;
    const auto part = reader->interpretMIME(&lines, icu::UnicodeString(u"STOP"), index);
    ASSERT_TRUE(part);
    EXPECT_EQ(text(*part, u"Subject"), "s");
    EXPECT_EQ(text(*part, u"content"), "\nbody");
    EXPECT_EQ(index, 3u);
    // A fresh call starts among headers: "after" has no colon and is passed over.
    index = 4;
    EXPECT_TRUE(reader->interpretMIME(&lines, std::nullopt, index)->empty());
    EXPECT_EQ(index, 5u);
    index = 7;
    EXPECT_TRUE(reader->interpretMIME(&lines, std::nullopt, index)->empty());
    EXPECT_EQ(index, 7u);
    EXPECT_FALSE(reader->interpretMIME(nullptr, std::nullopt, index));
    EXPECT_EQ(index, 8u);
}

TEST(MimeReaderEntryTest, TrimmedLower) {
    EXPECT_EQ(MIMEReader::trimmedLower(std::nullopt), u"");
    EXPECT_EQ(MIMEReader::trimmedLower(icu::UnicodeString(u" MiXeD Case\r\n")), u"mixed case");
}

}  // namespace
}  // namespace tessivo
